// What a database file keeps.
#include <gtest/gtest.h>

#include "sandbox/store/Sqlite.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class RestartTest : public testing::Test {
protected:
    // The text with which a sandbox refuses to start on that file; empty if it starts.
    std::string StartErrorOn(const std::string& strDb)
    {
        try {
            RunningSandbox sandbox(strDb, "none");
            return "";
        } catch (const Sandbox::StartError& e) {
            return e.what();
        }
    }
    TempDir m_dir;
    std::string m_strDb = m_dir / "sandbox.db";
};

}  // namespace

TEST_F(RestartTest, SessionsAndNumbersGoOn)
{
    std::string strAlice, strBob;
    {
        RunningSandbox sandbox(m_strDb);
        Client client(sandbox.Port());
        client.Register();
        strAlice = client.CheckIn("alice")->strSeqNo;
        client.CheckIn("carol");
        strBob = client.CheckIn("bob")->strSeqNo;
        client.CheckOut("bob", strBob);
    }
    RunningSandbox sandbox(m_strDb);
    Client other(sandbox.Port());
    other.Register("other");
    EXPECT_EQ(other.CheckIn("alice")->nResult, 3) << "she is still checked in, though her connector is away";
    EXPECT_EQ(std::stoll(other.CheckIn("bob")->strSeqNo), std::stoll(strBob) + 1);
    Client client(sandbox.Port());
    client.Register();
    client.SendList<XC2S_UserListSyncReq>({{"alice", strAlice}});
    other.Heartbeat();
    sandbox.Advance(20'001);
    EXPECT_EQ(sandbox.Sessions(), (std::vector<std::string>{"alice on g/s/w", "bob on other/s/w"}));
    EXPECT_EQ(client.CheckOut("alice", strAlice)->bSuccess.nByte, 1);
}

TEST_F(RestartTest, ConnectorsThatDoNotComeBackAreForgotten)
{
    {
        RunningSandbox sandbox(m_strDb);
        Client client(sandbox.Port());
        client.Register("stays-away");
        client.CheckIn("alice");
    }
    RunningSandbox sandbox(m_strDb);
    sandbox.Advance(300'000);
    EXPECT_EQ(sandbox.Sessions().size(), 1u);
    sandbox.Advance(1);
    EXPECT_TRUE(sandbox.Server().Invoke([&] { return sandbox.Server().GetStore().GetConnectors().empty(); }));
    Client client(sandbox.Port());
    client.Register();
    EXPECT_EQ(client.CheckIn("alice")->nResult, 0);
}

TEST_F(RestartTest, MinutesStayUsedAndSeedsDoNotGiveThemBack)
{
    {
        RunningSandbox sandbox(m_strDb);
        Client client(sandbox.Port());
        client.Register();
        XC2S_ChargeReq req;
        req.nPID = 1002;
        req.vecChargeInfo.Add().strSeqNo = client.CheckIn("bob")->strSeqNo;
        client.Ask<XS2C_ChargeAns>(req);
    }
    RunningSandbox sandbox(m_strDb);
    Client client(sandbox.Port());
    client.Register();
    EXPECT_EQ(client.CheckIn("bob")->nRemainMinutes, 599);
}

TEST_F(RestartTest, WhatWasBoughtStaysAndSeedsDoNotGiveItBack)
{
    {
        RunningSandbox sandbox(m_strDb);
        Client client(sandbox.Port());
        client.Register();
        EXPECT_EQ(client.Buy("alice", "SWORD")->nState, 0);
    }
    RunningSandbox sandbox(m_strDb);
    Client client(sandbox.Port());
    client.Register();
    EXPECT_EQ(client.CoinOf("alice"), 3900);
    EXPECT_EQ(client.Box("alice")->vecStorage.size(), 2u);
    EXPECT_EQ(client.Box("dave")->vecStorage.size(), 25u) << "filled once";
}

// Files of the time before the shop.
TEST_F(RestartTest, OlderFilesGetAShop)
{
    {
        RunningSandbox sandbox(m_strDb);
        Client client(sandbox.Port());
        client.Register();
        client.CheckIn("alice");
    }
    {
        Sandbox::Database db(m_strDb);
        for (const char* const pszTable :
             {"shop_game", "shop_menu", "shop_branch_in", "shop_product", "shop_child", "shop_condition",
              "shop_option", "shop_discount", "shop_product_tag", "shop_tag", "shop_group",
              "shop_group_product", "wallet", "coupon", "storage", "shop_order"})
            db.Execute(std::string("DROP TABLE ") + pszTable);
        db.Execute("PRAGMA user_version = 1");
    }
    RunningSandbox sandbox(m_strDb);
    EXPECT_EQ(sandbox.Sessions().size(), 1u);
    Client client(sandbox.Port());
    client.Register();
    EXPECT_EQ(client.Buy("alice", "SWORD")->nState, 0);
}

TEST_F(RestartTest, OtherFilesAreRefusedAndLeftAlone)
{
    const std::string strText = "Dear diary, this is not a database but quite long enough to be looked at.";
    WriteFile(m_strDb, strText);
    EXPECT_NE(StartErrorOn(m_strDb).find(m_strDb), std::string::npos);
    EXPECT_EQ(ReadFile(m_strDb), strText);

    const std::string strOther = m_dir / "other.db";
    Sandbox::Database(strOther).Execute("CREATE TABLE diary (text)");
    const std::string strBefore = ReadFile(strOther);
    EXPECT_NE(StartErrorOn(strOther).find("another program"), std::string::npos) << StartErrorOn(strOther);
    EXPECT_EQ(ReadFile(strOther), strBefore);

    const std::string strNewer = m_dir / "newer.db";
    EXPECT_EQ(StartErrorOn(strNewer), "");
    Sandbox::Database(strNewer).Execute("PRAGMA user_version = 99");
    EXPECT_NE(StartErrorOn(strNewer).find("version 99"), std::string::npos) << StartErrorOn(strNewer);

    EXPECT_NE(StartErrorOn(m_dir / "no/such/directory.db"), "");
}

TEST_F(RestartTest, OneSandboxAFile)
{
    EXPECT_EQ(StartErrorOn(m_strDb), "");
    const RunningSandbox sandbox(m_strDb, "none");
    EXPECT_NE(StartErrorOn(m_strDb).find("locked"), std::string::npos) << StartErrorOn(m_strDb);
}
