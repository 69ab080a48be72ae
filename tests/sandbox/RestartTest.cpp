// What a database keeps.
#include "sandbox/store/Sqlite.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

// A connector at a sandbox with that file.
struct Started {
    explicit Started(const std::string& strDb) : sandbox({.strDb = strDb}) {}
    RunningSandbox sandbox;
    Client client{sandbox.Port(), "g", 10};
};

class RestartTest : public testing::Test {
protected:
    // The text with which a sandbox refuses to start on that file; empty if it starts.
    static std::string StartErrorOn(const std::string& strDb)
    {
        try {
            RunningSandbox sandbox({.strDb = strDb, .strSeed = "none"});
            return "";
        } catch (const Sandbox::StartError& e) {
            return e.what();
        }
    }
    TempDir m_dir;
    std::string m_strDb = m_dir.NewDb();
};

}  // namespace

TEST_F(RestartTest, SessionsNumbersMinutesAndGoodsStay)
{
    std::string strAlice, strBob;
    {
        Started started(m_strDb);
        strAlice = started.client.CheckIn("alice")->strSeqNo;
        started.client.CheckIn("carol");
        strBob = started.client.CheckIn("bob")->strSeqNo;
        started.client.Ask("Charge nPID=1002 vecChargeInfo={strUserID=bob}");
        started.client.CheckOut("bob");
        EXPECT_EQ(started.client.Buy("alice", "SWORD"), "0,1100");
    }
    Started started(m_strDb);
    Client other(started.sandbox.Port(), "other");
    EXPECT_EQ(other.CheckIn("alice")->nResult, 3) << "she is still checked in, though her connector was away";
    const auto bob = other.CheckIn("bob");
    EXPECT_EQ(std::stoll(bob->strSeqNo), std::stoll(strBob) + 1);
    EXPECT_EQ(bob->nRemainMinutes, 599) << "seeds give nothing back";
    EXPECT_EQ(other.CoinOf("alice"), "3900");
    EXPECT_EQ(other.Box("alice") + other.Box("dave"), 2u + 25u) << "filled once";
    started.client.SendList("UserListSync", {{"alice", strAlice}});
    started.sandbox.Advance(20'001);
    EXPECT_EQ(started.sandbox.Sessions(), "alice on g/s/w, bob on other/s/w");
    EXPECT_TRUE(started.client.CheckOut("alice", strAlice));
}

TEST_F(RestartTest, ConnectorsThatDoNotComeBackAreForgotten)
{
    Started(m_strDb).client.CheckIn("alice");
    RunningSandbox sandbox({.strDb = m_strDb});
    sandbox.Advance(300'000);
    EXPECT_EQ(sandbox.Sessions(), "alice on g/s/w");
    sandbox.Advance(1'000);
    EXPECT_TRUE(sandbox.Server().Invoke([&] { return sandbox.Server().GetStore().GetConnectors().empty(); }));
    EXPECT_EQ(Client(sandbox.Port(), "other").CheckIn("alice")->nResult, 0);
}

// Files of the time before the shop.
TEST_F(RestartTest, OlderFilesGetAShop)
{
    Started(m_strDb).client.CheckIn("alice");
    {
        Sandbox::SqliteDatabase db(m_strDb);
        for (const std::string strTable :
             {"game", "menu", "branch_in", "product", "child", "condition", "option", "discount",
              "product_tag", "tag", "group", "group_product", "order", "sold"})
            db.Execute("DROP TABLE shop_" + strTable);
        db.Execute("DROP TABLE wallet; DROP TABLE coupon; DROP TABLE storage");
        db.Execute("PRAGMA user_version = 1");
    }
    Started started(m_strDb);
    EXPECT_EQ(started.sandbox.Sessions(), "alice on g/s/w");
    EXPECT_EQ(started.client.Buy("alice", "SWORD"), "0,1100");
}

// Files of the time when what is sold was counted order by order.
TEST_F(RestartTest, OlderFilesKeepWhatWasSold)
{
    EXPECT_EQ(Started(m_strDb).client.Buy("alice", "SWORD"), "0,1100");
    {
        Sandbox::SqliteDatabase db(m_strDb);
        db.Execute(
            "DROP TRIGGER shop_order_added; DROP TRIGGER shop_order_removed; DROP TABLE shop_sold;"
            "PRAGMA user_version = 2");
    }
    Started started(m_strDb);
    EXPECT_EQ(started.client.Buy("alice", "SWORD"), "0,1100");
    EXPECT_EQ(started.client.Ask("QueryProductList strBranchID=WEAPONS nRow=9 nPage=1", "nTotalSellingCount"),
              "|2");
}

TEST_F(RestartTest, FilesThatCannotServeAreRefusedAndLeftAlone)
{
    const std::string strText = "Dear diary, this is not a database but quite long enough to be looked at.";
    const std::string strDiary = WriteFile(m_dir / "diary.txt", strText), strOther = m_dir / "other.db",
                      strNewer = m_dir / "newer.db", strNowhere = m_dir / "no/such/directory.db";
    Sandbox::SqliteDatabase(strOther).Execute("CREATE TABLE diary (text)");
    const std::string strBefore = ReadFile(strOther);
    EXPECT_EQ(StartErrorOn(strNewer), "");
    Sandbox::SqliteDatabase(strNewer).Execute("PRAGMA user_version = 99");
    EXPECT_EQ(StartErrorOn(m_strDb), "");
    const RunningSandbox sandbox({.strDb = m_strDb, .strSeed = "none"});
    const std::pair<std::string, std::string> kCases[] = {{strDiary, strDiary},
                                                          {strOther, "another program"},
                                                          {strNewer, "version 99"},
                                                          {strNowhere, strNowhere},
                                                          {m_strDb, "locked"}};  // one sandbox a file
    for (const auto& [strDb, strError] : kCases)
        EXPECT_NE(StartErrorOn(strDb).find(strError), std::string::npos) << StartErrorOn(strDb);
    EXPECT_EQ(ReadFile(strDiary), strText);
    EXPECT_EQ(ReadFile(strOther), strBefore);
}
