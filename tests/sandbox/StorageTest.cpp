// Storage boxes: what is listed, and the two steps into an inventory.
#include <cstdio>

#include "sandbox/service/Service.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

// alice has bought a sword, with which comes a whetstone.
class StorageTest : public ClientTest {
protected:
    StorageTest()
    {
        m_nOrder = m_client.Ask<XS2C_PurchaseProductAns>(Purchase("alice", "SWORD"))->nOrderSeq;
        const std::string strSeqs = m_client.Ask("SearchStorage strUserID=alice", "nStorageSeq");
        std::sscanf(strSeqs.c_str(), "|%d|%d", &m_nSword, &m_nStone);
    }

    // The state of the answer.
    std::string Ask(const std::string& strName, const std::string& strFields)
    {
        return m_client.Ask(strName + " strServerID=s strUserID=" + m_strUserID +
                                " strCharacterID=" + m_strCharacterID + strFields,
                            "nState");
    }
    // strName is "Request", "Confirm" or "Cancel".
    std::string Use(const std::string& strName, const std::vector<int>& vecSeqs)
    {
        std::string strSeqs;
        for (const int nSeq : vecSeqs) {
            const std::string strSeq = "torageSeq=" + std::to_string(nSeq);
            strSeqs += strName != "Request"
                           ? " vecS" + strSeq
                           : " vecStorageUse={nS" + strSeq + " nOrderSeq=" + std::to_string(m_nOrder) +
                                 " strItemID=ITEM-" + (nSeq == m_nSword ? "SWORD}" : "WHETSTONE}");
        }
        return Ask(strName + "UseStorage", strSeqs);
    }
    std::string Reserve(const std::vector<int>& vecSeqs) { return Use("Request", vecSeqs); }
    std::string Confirm(const std::vector<int>& vecSeqs) { return Use("Confirm", vecSeqs); }
    std::string Cancel(const std::vector<int>& vecSeqs) { return Use("Cancel", vecSeqs); }
    std::string Read(int nSeq, const std::string& strDelete)
    {
        return Ask("ConfirmReadStorage", " bDelete=" + strDelete + " nStorageSeq=" + std::to_string(nSeq));
    }

    int m_nOrder = 0, m_nSword = 0, m_nStone = 0;
    std::string m_strUserID = "alice", m_strCharacterID = "hero";
};

}  // namespace

TEST_F(StorageTest, ReservedEntriesAreConfirmedOrCancelled)
{
    EXPECT_EQ(Confirm({m_nSword}), "64") << "nothing is reserved yet";
    EXPECT_EQ(Reserve({m_nSword, m_nStone}), "0");
    EXPECT_EQ(m_client.Box("alice"), 0u);
    EXPECT_EQ(Reserve({m_nSword}), "62");
    EXPECT_EQ(Cancel({m_nStone}), "0");
    EXPECT_EQ(m_client.Box("alice"), 1u);
    EXPECT_EQ(Confirm({m_nSword, m_nStone}), "64") << "all or none";
    EXPECT_EQ(Confirm({m_nSword}), "0");
    EXPECT_EQ(Confirm({m_nSword}), "63");
    EXPECT_EQ(Cancel({m_nSword}), "63");
    EXPECT_EQ(Reserve({m_nSword}), "63");
    EXPECT_EQ(Reserve({m_nStone}), "0");
    const auto storage = m_sandbox.Get("/storage?user=alice").json["storage"];
    EXPECT_EQ(storage[0]["state"], "used");
    EXPECT_EQ(storage[0]["remainCount"], 0);
}

TEST_F(StorageTest, WhatDoesNotFitIsRefusedAsAWhole)
{
    EXPECT_EQ(Reserve({}), "28");
    EXPECT_EQ(Reserve(std::vector<int>(1001, m_nSword)), "28");
    EXPECT_EQ(Reserve({m_nStone, m_nStone}), "67");
    EXPECT_EQ(Reserve({m_nSword, -1}), "60");
    ++m_nOrder;
    EXPECT_EQ(Reserve({m_nSword}), "61");
    --m_nOrder;
    std::swap(m_nSword, m_nStone);  // the items change places
    EXPECT_EQ(Reserve({m_nSword}), "61");
    std::swap(m_nSword, m_nStone);
    m_strUserID = "bob";
    EXPECT_EQ(Reserve({m_nSword}), "60");
    EXPECT_EQ(Read(m_nSword, "1"), "60");
    m_strUserID = "alice";
    EXPECT_EQ(m_client.Box("alice"), 2u);
    EXPECT_EQ(Reserve({m_nSword}), "0");
    m_strCharacterID = "thief";
    EXPECT_EQ(Confirm({m_nSword}), "65");
    EXPECT_EQ(Cancel({m_nSword}), "65");
}

TEST_F(StorageTest, ReservationsAndEntriesRunOut)
{
    EXPECT_EQ(Reserve({m_nSword}), "0");
    m_sandbox.Advance(Sandbox::Service::kReserveSeconds * 1000);
    EXPECT_EQ(m_client.Box("alice"), 1u);
    m_sandbox.Advance(1'000);
    EXPECT_EQ(m_client.Box("alice"), 2u);
    EXPECT_EQ(Confirm({m_nSword}), "64");
    m_client.Register("g", 1'000'000);
    m_sandbox.Advance(31 * 86'400'000LL);
    EXPECT_EQ(Reserve({m_nStone}), "66");
    EXPECT_EQ(Reserve({m_nSword}), "0") << "a sword keeps";
}

TEST_F(StorageTest, ReadingMarksAndDeletes)
{
    EXPECT_EQ(Read(m_nSword, "0"), "0");
    ExpectAnswers({{"SearchStorage strUserID=alice", "bRead bNew", "|1,0|0,1"}});
    EXPECT_EQ(Reserve({m_nSword}), "0");
    EXPECT_EQ(Read(m_nSword, "1"), "62");
    EXPECT_EQ(Read(m_nStone, "1"), "0");
    EXPECT_EQ(Read(m_nStone, "1"), "60");
    EXPECT_EQ(Cancel({m_nSword}), "0");
    EXPECT_EQ(m_client.Box("alice"), 1u);
}

TEST_F(StorageTest, TheBoxIsSearched)
{
    EXPECT_EQ(Read(m_nSword, "0"), "0");
    ExpectAnswers({
        {"SearchStorage strUserID=alice", "nState", "0||"},
        {"SearchStorage strUserID=alice strServerID=s strCharacterID=hero cSearchType=A", "nState", "0||"},
        {"SearchStorage strUserID=alice strServerID=other cSearchType=A", "nState", "0"},
        {"SearchStorage strUserID=alice strServerID=s strCharacterID=thief cSearchType=A", "nState", "0"},
        {"SearchStorage strUserID=alice cSearchType=N strSearchValue=WHETSTONE", "nState", "0|"},
        {"SearchStorage strUserID=alice cSearchType=I strSearchValue=ITEM-SWORD", "nState", "0|"},
        {"SearchStorage strUserID=alice cSearchType=O strSearchValue=" + std::to_string(m_nOrder), "nState",
         "0||"},
        {"SearchStorage strUserID=alice cSearchType=O strSearchValue=0", "nState", "0"},
        {"SearchStorage strUserID=alice cSearchType=U", "nState", "0|"},
        {"SearchStorage strUserID=alice cSearchType=x", "nState", "24"},
    });
}

TEST_F(StorageTest, ALargeBoxFitsIntoOneAnswer)
{
    m_sandbox.Post("/storage", R"({"user": "erin", "entries": 10000})");
    EXPECT_EQ(m_client.Box("erin"), 10'000u);
    m_sandbox.ExpectRefused("/storage",
                            {{R"({"user": "erin", "entries": 0})", 400, "'entries'"},
                             {R"({"user": "erin", "entries": 10001})", 400, "'entries'"},
                             {R"({"user": "nobody", "entries": 1})", 404, "nobody"},
                             {R"({"user": "erin", "entries": 1, "gameId": "OTHER"})", 404, "OTHER"},
                             {R"({"user": "erin", "entries": 1, "more": 1})", 400, "'more'"}});
}
