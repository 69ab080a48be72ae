// Every file of a seed corpus through its fuzz target, as ordinary tests.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize);

namespace {

TEST(SeedCorpus, IsHandledWithoutAFinding)
{
    int nFiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VELKAR_CORPUS)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string strInput{std::istreambuf_iterator<char>(file), {}};
        SCOPED_TRACE(entry.path().filename().string());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(strInput.data()), strInput.size());
        ++nFiles;
    }
    EXPECT_GE(nFiles, 10);
}

}  // namespace
