#include "datapool/DataPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "VelkarConnector.h"

namespace {

TEST(DataNode, GivesBackEveryByteWhereverTheZerosStand)
{
    CDataNode<_STORAGE_INFO> node;
    std::vector<_STORAGE_INFO> vecAdded(400);
    std::minstd_rand random(1);
    for (auto& record : vecAdded) {
        auto* const p = reinterpret_cast<unsigned char*>(&record);
        // Runs of zeros and of others, of any length from one byte to the whole record.
        for (std::size_t n = 0, nRun; n < sizeof(record); n += nRun) {
            nRun = std::min<std::size_t>(1 + random() % (1u << random() % 12), sizeof(record) - n);
            std::memset(p + n, random() % 2 != 0 ? 0 : static_cast<int>(random() % 256), nRun);
        }
        node.Add(record);
    }
    ASSERT_EQ(node.GetSize(), vecAdded.size());
    for (std::size_t n = 0; n < vecAdded.size(); ++n) {
        _STORAGE_INFO record;
        std::memset(&record, 0x5A, sizeof(record));
        ASSERT_TRUE(node.Get(record, n));
        ASSERT_EQ(std::memcmp(&record, &vecAdded[n], sizeof(record)), 0) << n;
    }
    _STORAGE_INFO none;
    EXPECT_FALSE(node.Get(none, vecAdded.size()));
}

// What the game holds when the library is stopped must not be pulled from under its reader.
TEST(DataPool, AListThatIsBeingReadSurvivesTheEmptyingOfThePool)
{
    CDataPool pool;
    for (std::uint32_t n = 0; n < 200; ++n) {
        auto pNode = std::make_shared<CDataNode<_TAG_INFO>>();
        for (int i = 0; i < 100; ++i)
            pNode->Add({"0123456789"});
        pool.Insert(n, pNode);
    }
    std::atomic<bool> bReading{false};
    std::thread reader([&] {
        for (std::uint32_t n = 0; n < 200; ++n) {
            const auto pNode = pool.FindListOf<_TAG_INFO>(n);
            bReading = true;
            _TAG_INFO tag{};
            if (pNode != nullptr && pNode->Get(tag, 99)) {
                EXPECT_STREQ(tag.szTag, "0123456789");
            }
        }
    });
    while (!bReading)
        std::this_thread::yield();
    pool.Clear();
    reader.join();
    EXPECT_EQ(pool.GetCount(), 0u);
}

}  // namespace
