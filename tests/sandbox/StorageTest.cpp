// Storage boxes: what is listed, and the two steps into an inventory.
#include <gtest/gtest.h>

#include "sandbox/service/Service.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class StorageTest : public testing::Test {
protected:
    StorageTest()
    {
        m_client.Register();
        m_nOrder = m_client.Buy("alice", "SWORD")->nOrderSeq;  // a sword and a whetstone
        const auto box = m_client.Box("alice");
        if (box->vecStorage.size() == 2) {
            m_nSword = box->vecStorage[0]->nStorageSeq;
            m_nStone = box->vecStorage[1]->nStorageSeq;
        }
    }

    template <class Req>
    void Fill(Req& req)
    {
        req.strGameID = kGame;
        req.strServerID = "s";
        req.strUserID = m_strUserID;
        req.strCharacterID = m_strCharacterID;
    }
    int Reserve(const std::vector<int>& vecSeqs)
    {
        XC2S_RequestUseStorageReq req;
        Fill(req);
        for (const int nSeq : vecSeqs) {
            XStorageUseInfo& use = req.vecStorageUse.Add();
            use.nStorageSeq = nSeq;
            use.nOrderSeq = m_nOrder;
            use.strItemID = nSeq == m_nSword ? "ITEM-SWORD" : "ITEM-WHETSTONE";
        }
        return m_client.Ask<XC2S_RequestUseStorageAns>(req)->nState;
    }
    template <class Req, class Ans>
    int End(const std::vector<int>& vecSeqs)
    {
        Req req;
        Fill(req);
        req.vecStorageSeq = vecSeqs;
        return m_client.Ask<Ans>(req)->nState;
    }
    int Confirm(const std::vector<int>& vecSeqs)
    {
        return End<XC2S_ConfirmUseStorageReq, XS2C_ConfirmUseStorageAns>(vecSeqs);
    }
    int Cancel(const std::vector<int>& vecSeqs)
    {
        return End<XC2S_CancelUseStorageReq, XS2C_CancelUseStorageAns>(vecSeqs);
    }
    int Read(int nSeq, bool bDelete)
    {
        XC2S_ConfirmReadStorageReq req;
        Fill(req);
        req.nStorageSeq = nSeq;
        req.bDelete = bDelete;
        return m_client.Ask<XS2C_ConfirmReadStorageAns>(req)->nState;
    }
    std::size_t Listed() { return m_client.Box("alice")->vecStorage.size(); }

    RunningSandbox m_sandbox;
    Client m_client{m_sandbox.Port()};
    int m_nOrder = 0, m_nSword = 0, m_nStone = 0;
    std::string m_strUserID = "alice", m_strCharacterID = "hero";
};

}  // namespace

TEST_F(StorageTest, ReservedEntriesAreConfirmedOrCancelled)
{
    EXPECT_EQ(Confirm({m_nSword}), 64) << "nothing is reserved yet";
    EXPECT_EQ(Reserve({m_nSword, m_nStone}), 0);
    EXPECT_EQ(Listed(), 0u);
    EXPECT_EQ(Reserve({m_nSword}), 62);
    EXPECT_EQ(Cancel({m_nStone}), 0);
    EXPECT_EQ(Listed(), 1u);
    EXPECT_EQ(Confirm({m_nSword, m_nStone}), 64) << "all or none";
    EXPECT_EQ(Confirm({m_nSword}), 0);
    EXPECT_EQ(Confirm({m_nSword}), 63);
    EXPECT_EQ(Cancel({m_nSword}), 63);
    EXPECT_EQ(Reserve({m_nSword}), 63);
    EXPECT_EQ(Reserve({m_nStone}), 0);
    const auto storage = m_sandbox.Get("/storage?user=alice").json["storage"];
    EXPECT_EQ(storage[0]["state"], "used");
    EXPECT_EQ(storage[0]["remainCount"], 0);
    EXPECT_EQ(storage[1]["state"], "reserved");
}

TEST_F(StorageTest, WhatDoesNotFitIsRefusedAsAWhole)
{
    EXPECT_EQ(Reserve({}), 28);
    EXPECT_EQ(Reserve(std::vector<int>(1001, m_nSword)), 28);
    EXPECT_EQ(Reserve({m_nStone, m_nStone}), 67);
    EXPECT_EQ(Reserve({m_nSword, 12345}), 60);
    EXPECT_EQ(Reserve({m_nSword, -1}), 60);
    ++m_nOrder;
    EXPECT_EQ(Reserve({m_nSword}), 61);
    --m_nOrder;
    std::swap(m_nSword, m_nStone);  // the items change places
    EXPECT_EQ(Reserve({m_nSword}), 61);
    std::swap(m_nSword, m_nStone);
    m_strUserID = "bob";
    EXPECT_EQ(Reserve({m_nSword}), 60);
    EXPECT_EQ(Read(m_nSword, true), 60);
    m_strUserID = "alice";
    EXPECT_EQ(Listed(), 2u);
    EXPECT_EQ(Reserve({m_nSword}), 0);
    m_strCharacterID = "thief";
    EXPECT_EQ(Confirm({m_nSword}), 65);
    EXPECT_EQ(Cancel({m_nSword}), 65);
}

TEST_F(StorageTest, AReservationThatNobodyEndsRunsOut)
{
    EXPECT_EQ(Reserve({m_nSword}), 0);
    m_client.Heartbeat();
    for (std::time_t s = 0; s < Sandbox::Service::kReserveSeconds; s += 10, m_client.Heartbeat()) {
        EXPECT_EQ(Listed(), 1u);
        m_sandbox.Advance(10'000);
    }
    m_sandbox.Advance(1'000);
    EXPECT_EQ(Listed(), 2u);
    EXPECT_EQ(Confirm({m_nSword}), 64);
    EXPECT_EQ(Reserve({m_nSword}), 0);
}

TEST_F(StorageTest, EntriesExpire)
{
    for (int nDay = 0; nDay < 31; ++nDay)
        m_sandbox.Advance(86'400'000);
    Client client(m_sandbox.Port());
    client.Register();
    XC2S_RequestUseStorageReq req;
    Fill(req);
    XStorageUseInfo& use = req.vecStorageUse.Add();
    use.nStorageSeq = m_nStone;
    use.nOrderSeq = m_nOrder;
    use.strItemID = "ITEM-WHETSTONE";
    EXPECT_EQ(client.Ask<XC2S_RequestUseStorageAns>(req)->nState, 66);
    use.nStorageSeq = m_nSword;
    use.strItemID = "ITEM-SWORD";
    EXPECT_EQ(client.Ask<XC2S_RequestUseStorageAns>(req)->nState, 0) << "a sword keeps";
}

TEST_F(StorageTest, ReadingMarksAndDeletes)
{
    EXPECT_EQ(Read(m_nSword, false), 0);
    const auto box = m_client.Box("alice");
    ASSERT_EQ(box->vecStorage.size(), 2u);
    EXPECT_TRUE(box->vecStorage[0]->bRead);
    EXPECT_FALSE(box->vecStorage[0]->bNew);
    EXPECT_TRUE(box->vecStorage[1]->bNew);
    EXPECT_EQ(Reserve({m_nSword}), 0);
    EXPECT_EQ(Read(m_nSword, true), 62);
    EXPECT_EQ(Read(m_nStone, true), 0);
    EXPECT_EQ(Read(m_nStone, true), 60);
    EXPECT_EQ(Cancel({m_nSword}), 0);
    EXPECT_EQ(Listed(), 1u);
}

TEST_F(StorageTest, TheBoxIsSearched)
{
    const struct {
        const char* pszServerID;
        const char* pszCharacterID;
        char cType;
        std::string strValue;
        std::size_t nFound;
    } kCases[] = {
        {"", "", '\0', "", 2},         {"s", "hero", 'A', "", 2},
        {"other", "", 'A', "", 0},     {"s", "thief", 'A', "", 0},
        {"", "", 'N', "WHETSTONE", 1}, {"", "", 'I', "ITEM-SWORD", 1},
        {"", "", 'I', "ITEM-SWOR", 0}, {"", "", 'O', std::to_string(m_nOrder), 2},
        {"", "", 'O', "0", 0},         {"", "", 'U', "", 1},
    };
    EXPECT_EQ(Read(m_nSword, false), 0);
    XC2S_SearchStorageReq req;
    for (const auto& test : kCases) {
        Fill(req);
        req.strServerID = test.pszServerID;
        req.strCharacterID = test.pszCharacterID;
        req.cSearchType = test.cType;
        req.strSearchValue = test.strValue;
        const auto ans = m_client.Ask<XS2C_SearchStorageAns>(req);
        EXPECT_EQ(ans->nState, 0);
        EXPECT_EQ(ans->vecStorage.size(), test.nFound) << test.cType << ' ' << test.strValue;
    }
    req.cSearchType = 'x';
    EXPECT_EQ(m_client.Ask<XS2C_SearchStorageAns>(req)->nState, 24);
}

TEST_F(StorageTest, ALargeBoxFitsIntoOneAnswer)
{
    EXPECT_EQ(m_sandbox.Post("/storage", R"({"user": "erin", "entries": 10000})").nStatus, 200);
    EXPECT_EQ(m_client.Box("erin")->vecStorage.size(), 10'000u);
    const struct {
        const char* pszBody;
        int nStatus;
    } kCases[] = {{R"({"user": "erin"})", 400},
                  {R"({"user": "erin", "entries": 0})", 400},
                  {R"({"user": "erin", "entries": 10001})", 400},
                  {R"({"user": "nobody", "entries": 1})", 404},
                  {R"({"user": "erin", "entries": 1, "gameId": "OTHER"})", 404},
                  {R"({"user": "erin", "entries": 1, "more": 1})", 400}};
    for (const auto& test : kCases)
        EXPECT_EQ(m_sandbox.Post("/storage", test.pszBody).nStatus, test.nStatus) << test.pszBody;
}
