// Sixty-four threads shopping at a service that delays, drops, cuts and refuses: every call ends in time with
// its own answer, and the money adds up.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "comm/ResWaiter.h"
#include "datapool/DataPool.h"
#include "sandbox/seed/Seed.h"
#include "tests/sandbox/SandboxFixture.h"
#include "tests/support/GameServer.h"

namespace {

using namespace Support;
using Clock = std::chrono::steady_clock;

constexpr int kCallers = 64;
constexpr long kEnoughGood = 30 * kCallers;
constexpr int kCoin = 1'000'000;
constexpr std::chrono::seconds kMoreTime{60};
constexpr std::chrono::seconds kShopping{VELKAR_SHOPPING_SECONDS};
// A call waits five seconds; what is above that is the machine's, which is much with sanitizers and two
// processors. How long the machine itself has stood still is measured and comes on top.
constexpr std::chrono::milliseconds kLongestCall{VELKAR_LONGEST_CALL};

// Two shoppers share a purse.
std::string UserOf(int n) { return "shopper" + std::to_string(n / 2); }

// The demo's shop with users of our own.
std::string WriteSeed(const std::string& strPath)
{
    Sandbox::Json seed = Sandbox::Json::parse(Sandbox::kDemoSeed);
    for (int n = 0; n < kCallers; n += 2)
        seed["users"].push_back({{"userId", UserOf(n)}, {"userNo", UserOf(n)}, {"ruvCoin", kCoin}});
    return SandboxTest::WriteFile(strPath, seed.dump());
}

long MillisecondsOf(Clock::duration time)
{
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

struct Counts {
    std::atomic<long> nGood{0}, nLateDetails{0};
    std::atomic<long> nLongest{0};  // milliseconds
};

// One player: random visits, each with what it has to bring.
class Shopper {
public:
    Shopper(int n, Counts& counts)
        : m_strUser(UserOf(n)), m_counts(counts), m_random(static_cast<unsigned int>(n))
    {
    }

    // Until then, and on a slow machine until all together have had enough.
    void Shop(Clock::time_point end)
    {
        void (Shopper::*const kVisits[])() = {&Shopper::Detail, &Shopper::Detail, &Shopper::Buy,
                                              &Shopper::Box};
        while (Clock::now() < end || (m_counts.nGood < kEnoughGood && Clock::now() < end + kMoreTime))
            (this->*kVisits[m_random() % std::size(kVisits)])();
    }

private:
    // Runs one call and counts how it ended. True if it was answered with success.
    template <class Request, class Response>
    bool Call(void (*pfnCall)(const Request*, Response*), const Request& req, Response& res)
    {
        const auto begin = Clock::now();
        pfnCall(&req, &res);
        const long nTaken = MillisecondsOf(Clock::now() - begin);
        for (long nLongest = m_counts.nLongest;
             nTaken > nLongest && !m_counts.nLongest.compare_exchange_weak(nLongest, nTaken);) {
        }
        if (std::strstr(res.szError, "Failed to send") != nullptr) {  // the link has been cut and comes back
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            return false;
        }
        if constexpr (requires { res.hChildProduct; })
            m_counts.nLateDetails += std::strstr(res.szError, "because of timeout.") != nullptr;
        m_counts.nGood += res.bSuccess == 1;
        return res.bSuccess == 1;
    }
    template <class Request>
    Request Req() const
    {
        Request req{};
        if constexpr (requires { req.szGameID; })
            Put(req.szGameID, SandboxTest::kGame);
        if constexpr (requires { req.szUserID; })
            Put(req.szUserID, m_strUser);
        if constexpr (requires { req.szCharacterID; })
            Put(req.szCharacterID, "hero");
        return req;
    }
    std::string AnyProduct()
    {
        return std::vector{"SWORD", "SHIELD", "CROWN", "POTION", "TICKET"}[m_random() % 5];
    }

    void Detail()
    {
        auto req = Req<_PRODUCT_DETAIL_REQ>();
        Put(req.szProductID, AnyProduct());
        _PRODUCT_DETAIL_RES res{};
        if (!Call(&QueryProductDetailInfo, req, res))
            return;
        EXPECT_STREQ(res.szProductID, req.szProductID);
        for (_DATA_HANDLE* pHandle : {res.hChildProduct, res.hCondition, res.hOption})
            DestroyHandle(pHandle);
    }
    void Buy()
    {
        auto req = Req<_PURCHASE_REQ>();
        Put(req.szProductID, AnyProduct());
        req.nLevel = 99;
        req.nCount = 1 + static_cast<int>(m_random() % 3);
        _PURCHASE_RES res{};
        Call(&PurchaseProduct, req, res);
    }
    // Looks into the box and moves one entry, or gives it back.
    void Box()
    {
        _LIST_RES list{};
        if (!Call(&QueryStorageInfo, Req<_STORAGE_SEARCH_REQ>(), list))
            return;
        _STORAGE_INFO entry{};
        EXPECT_TRUE(GetStorageItemData(list.hData, m_random() % GetDataSize(list.hData, nullptr, 0), &entry,
                                       nullptr, 0));
        EXPECT_EQ(entry.szUserID, m_strUser);
        DestroyHandle(list.hData);
        _USE_STORAGE_INFO use{};
        use.nStorageSeq = entry.nStorageSeq;
        use.nOrderSeq = entry.nOrderSeq;
        std::memcpy(use.szItemID, entry.szItemID, sizeof(use.szItemID));
        auto req = Req<_STORAGE_USE_REQ>();
        _RESULT_RES res{};
        req.hUseStorage = GetHandleForUseStorageItemInfo(nullptr, 0);
        EXPECT_TRUE(SetUseStorageItemData(req.hUseStorage, use, nullptr, 0));
        const bool bReserved = Call(&StorageToInventory, req, res);
        DestroyHandle(req.hUseStorage);
        if (!bReserved)
            return;
        const bool bConfirm = m_random() % 2 == 0;
        req.hUseStorage = bConfirm ? GetHandleForConfirmUseStorageItemInfo(nullptr, 0)
                                   : GetHandleForCancelUseStorageItemInfo(nullptr, 0);
        EXPECT_TRUE((bConfirm ? &SetConfirmUseStorageItemData : &SetCancelUseStorageItemData)(
            req.hUseStorage, use.nStorageSeq, nullptr, 0));
        Call(bConfirm ? &ConfirmStorageToInventory : &CancelStorageToInventory, req, res);
        DestroyHandle(req.hUseStorage);
    }

    const std::string m_strUser;
    Counts& m_counts;
    std::mt19937 m_random;
};

void OrderFaults(SandboxTest::RunningSandbox& sandbox)
{
    const std::pair<const char*, const char*> kKinds[] = {
        {R"("kind": "delay", "ms": 300)", "0.05"},
        {R"("kind": "delay", "ms": 6000)", "0.003"},
        {R"("kind": "drop")", "0.002"},
        {R"("kind": "refuse", "code": 99, "text": "not now")", "0.05"},
        {R"("kind": "split", "bytes": 40)", "0.01"},
        {R"("kind": "coalesce", "ms": 50)", "0.05"},
        {R"("kind": "cut", "bytes": 6)", "0.00005"}};
    for (const std::string strClass :
         {"XS2C_QueryProductDetailAns", "XS2C_PurchaseProductAns", "XS2C_SearchStorageAns",
          "XC2S_RequestUseStorageAns", "XS2C_ConfirmUseStorageAns", "XS2C_CancelUseStorageAns"}) {
        for (const auto& [pszKind, pszProbability] : kKinds) {
            const std::string strFault = R"({"class": ")" + strClass + "\", " + pszKind +
                                         R"(, "count": 0, "probability": )" + pszProbability + "}";
            EXPECT_EQ(sandbox.Post("/fault", strFault).nStatus, 200) << strFault;
        }
    }
}

// What each user has and has paid is what he began with.
void CheckMoney(SandboxTest::RunningSandbox& sandbox)
{
    std::size_t nOrders = 0;
    for (int n = 0; n < kCallers; n += 2) {
        const auto orders = sandbox.Get("/orders?user=" + UserOf(n) + "&limit=100000").json["orders"];
        long nHasAndPaid = sandbox.User(UserOf(n))["ruvCoin"].get<long>();
        for (const auto& order : orders)
            nHasAndPaid += order["price"].get<long>();
        EXPECT_EQ(nHasAndPaid, kCoin) << UserOf(n);
        nOrders += orders.size();
    }
    EXPECT_GT(nOrders, static_cast<std::size_t>(kCallers));
}

TEST(Shopping, SixtyFourThreadsAtAServiceWithFaults)
{
    const SandboxTest::TempDir dir;
    SandboxTest::RunningSandbox sandbox({.strSeed = WriteSeed(dir / "seed.json")});
    GameServer game(sandbox.Port());
    game.settings.nReconnectCycle = 1;
    ASSERT_TRUE(game.Start());
    OrderFaults(sandbox);
    Counts counts;
    long nStill = 0;  // milliseconds
    std::vector<std::thread> vecCallers;
    const auto begin = Clock::now();
    for (int n = 0; n < kCallers; ++n)
        vecCallers.emplace_back([&, n] { Shopper(n, counts).Shop(begin + kShopping); });
    std::atomic<bool> bEnough{false};
    // Moves the sandbox's clock as the real one goes, and sees by how much the machine oversleeps.
    std::thread hand([&] {
        constexpr std::chrono::milliseconds kTick{10};
        for (auto last = begin; !bEnough;) {
            const auto asleep = Clock::now();
            std::this_thread::sleep_for(kTick);
            const auto now = Clock::now();
            nStill = std::max(nStill, MillisecondsOf(now - asleep - kTick));
            sandbox.Advance(MillisecondsOf(now - last));
            last = now;
        }
    });
    for (auto& caller : vecCallers)
        caller.join();
    std::this_thread::sleep_for(std::chrono::seconds(7));  // what was delayed the longest has come
    bEnough = true;
    hand.join();
    std::printf("%ld successful calls, the longest took %ld ms; the machine stood still for %ld\n",
                counts.nGood.load(), counts.nLongest.load(), nStill);
    EXPECT_LT(counts.nLongest, kLongestCall.count() + nStill);
    EXPECT_GE(counts.nGood, kEnoughGood);
    EXPECT_EQ(ResWaiterMap().GetCount(), 0u);
    // Only late details may have left their lists, at most three each.
    EXPECT_LE(DataPool().GetCount(), 3u * static_cast<std::size_t>(counts.nLateDetails));
    CheckMoney(sandbox);
    game.Stop();
    EXPECT_EQ(DataPool().GetCount(), 0u);
}

}  // namespace
