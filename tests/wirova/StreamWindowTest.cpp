#include "wirova/StreamWindow.h"

#include <gtest/gtest.h>

#include "tests/wirova/ByteStream.h"

namespace {

TEST(StreamWindow, ReadsNothingBehindItsEndAndLeavesWhatIsNotTaken)
{
    const ByteStream stream("abcdef");
    Wirova::StreamWindow window(stream, 4);
    EXPECT_EQ(nullptr, window.Take(5));
    EXPECT_EQ('a', *window.Take(1));
    EXPECT_EQ("abcdef", stream.Bytes()) << "it is taken at the end";
    EXPECT_FALSE(window.Skip(4));
    EXPECT_TRUE(window.Skip(2));
    EXPECT_EQ(1U, window.GetLeft());
    EXPECT_TRUE(window.Close());
    EXPECT_EQ("def", stream.Bytes());
    EXPECT_EQ('d', *window.Take(1));
    EXPECT_EQ(nullptr, window.Take(1));
}

TEST(StreamWindow, MovesOnOverALongStream)
{
    std::string bytes(100'000, '\0');
    for (std::size_t n = 0; n < bytes.size(); ++n)
        bytes[n] = static_cast<char>(n * n / 7);
    const ByteStream stream(bytes);
    Wirova::StreamWindow window(stream, 90'000);
    std::size_t n = 0;
    for (std::size_t nSize = 1; window.GetLeft() >= nSize; nSize = nSize % 4096 * 3 + 1) {
        if (nSize > Wirova::StreamWindow::kMostTaken) {
            ASSERT_TRUE(window.Skip(nSize));
        } else {
            const auto* const p = window.Take(nSize);
            ASSERT_NE(nullptr, p);
            ASSERT_EQ(bytes.substr(n, nSize), std::string_view(reinterpret_cast<const char*>(p), nSize));
        }
        n += nSize;
    }
    EXPECT_TRUE(window.Close());
    EXPECT_EQ(bytes.substr(n), stream.Bytes());
}

}  // namespace
