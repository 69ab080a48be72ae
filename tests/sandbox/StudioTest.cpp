// Two sandboxes on one PostgreSQL database: one service for the games, whichever of them they are linked to.
#include "sandbox/store/Postgres.h"
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class StudioTest : public testing::Test {
protected:
    void Advance(std::int64_t ms)
    {
        m_here.Advance(ms);
        m_there.Advance(ms);
    }
    // Both sweep until the second one has no link of that connector any more.
    void WaitUntilGone(const std::string& strConnector)
    {
        EXPECT_TRUE(m_there.Shows(strConnector + "/s/w: closed"));
        Advance(0);
    }

    const std::string m_strUrl = NewPostgres();
    RunningSandbox m_here{{.strDb = m_strUrl}};
    RunningSandbox m_there{{.strDb = m_strUrl, .bSaveOnPurchase = true}};
    Client m_near{m_here.Port(), "near", 10};
    Client m_far{m_there.Port(), "far", 10};
};

}  // namespace

TEST_F(StudioTest, ASessionIsKnownToAllAndALaterSandboxChangesNothing)
{
    const std::string strAlice = m_near.CheckIn("alice")->strSeqNo;
    EXPECT_EQ(m_near.Buy("alice", "SWORD"), "0,1100");
    EXPECT_EQ(m_here
                  .Post("/products", R"({"productId": "NEW", "productName": "New", "branchId": "WEAPONS",
                                            "price": 1, "children": [{"childProductId": "NEW"}]})")
                  .json["error"],
              nullptr);
    const auto refused = m_far.CheckIn("alice");
    EXPECT_EQ(refused->nResult, 3);
    EXPECT_NE(m_far.CheckIn("bob")->strSeqNo, strAlice);
    EXPECT_TRUE(m_near.Move("To", "alice"));
    EXPECT_TRUE(m_far.Move("From", "alice"));

    RunningSandbox third({.strDb = m_strUrl});
    EXPECT_EQ(third.Get("/health").json["sandboxes"], 3);
    EXPECT_EQ(third.Get("/connectors").json["connectors"][0]["linked"], true);
    EXPECT_EQ(third.User("alice")["session"]["connector"], "far/s/w");
    EXPECT_EQ(third.User("alice")["ruvCoin"], 3900);
    Client late(third.Port(), "late");
    EXPECT_EQ(late.Buy("dave", "NEW"), "0,1");
    EXPECT_EQ(late.Box("dave"), 25u + 1u) << "filled once";
    third.Post("/clock", R"({"seconds": 100000})");
    m_far.Settle();
    for (int i = 0; i < 400 && m_here.Get("/clock").json["aheadSeconds"] == 0; ++i)
        usleep(5000);
    EXPECT_EQ(m_here.Get("/clock").json["aheadSeconds"], 100000);
    EXPECT_EQ(third.Post("/reset").nStatus, 200);
    EXPECT_TRUE(m_there.Shows("Reset by another sandbox."));
    EXPECT_EQ(m_near.CoinOf("alice"), "5000");
}

TEST_F(StudioTest, RacesForMoneyCouponsAndSingleGoodsHaveOneWinner)
{
    std::atomic<int> nSwords{0}, nCoupons{0}, nCrowns{0}, nIn{0}, nFailed{0};
    const std::string strRed = "vecUseOption={strOptionCode=COLOUR strOptionValue=RED}";
    const std::string strTen = "vecUseCoupon={strCouponUseID=ALICE-10 strCouponCode=SPRING10}";
    std::vector<std::jthread> vecLinks;
    for (int n = 0; n < 8; ++n) {
        vecLinks.emplace_back([&, n] {
            Client client(n % 2 == 0 ? m_here.Port() : m_there.Port(), "g" + std::to_string(n));
            const auto buy = [&](const char* pszUser, const char* pszProduct, const std::string& strMore) {
                const std::string strState = client.Buy(pszUser, pszProduct, strMore);
                nFailed += strState.starts_with("9,") ? 1 : 0;
                return strState.starts_with("0,") ? 1 : 0;
            };
            nIn += client.CheckIn("erin")->nResult == 0 ? 1 : 0;
            nCoupons += buy("alice", "SWORD", strTen);
            nCrowns += buy("dave", "CROWN", "");
            for (int i = 0; i < 3; ++i) {
                nSwords += buy("alice", "SWORD", strRed);
                buy(n < 4 ? "dave" : "alice", "POTION",
                    n < 4 ? "strRecvUserID=alice" : "strRecvUserID=dave");  // gifts that cross
            }
        });
    }
    vecLinks.clear();
    EXPECT_EQ(nFailed, 0);
    EXPECT_EQ(nIn, 1);
    EXPECT_EQ(nCoupons, 1);
    EXPECT_EQ(nCrowns, 1);
    int nSpent = 0, nEntries = 0;
    const auto orders = m_here.Get("/orders?user=alice&limit=1000").json["orders"];
    for (const auto& order : orders) {
        nSpent += order["price"].get<int>();
        nEntries += static_cast<int>(order["storageSeqs"].size());
    }
    EXPECT_EQ(m_near.CoinOf("alice"), std::to_string(5000 - nSpent));
    EXPECT_GE(nSwords, 3);
    EXPECT_GE(nEntries, nSwords * 2);
    EXPECT_EQ(m_far.Ask("QueryProductList strBranchID=WEAPONS nRow=9 nPage=1", "nTotalSellingCount"),
              "|" + std::to_string(nSwords + nCoupons));
}

TEST_F(StudioTest, WhatIsSentFindsTheConnectorWhereItIsLinked)
{
    m_far.CheckIn("erin");
    const auto event =
        m_here.Post("/trigger/billing-event", R"({"user": "erin", "eventCode": 1, "param": "Hi"})");
    EXPECT_EQ(event.json["connector"], "far/s/w") << event.strBody;
    EXPECT_EQ(Pick(*m_far.Receive<XS2C_BillingEventNotice>(), "strUserID strParam"), "erin,Hi");

    std::string strItems;  // more than a notification of the database can carry
    for (int i = 0; i < 500; ++i)
        strItems += (i > 0 ? "," : "") + std::string(R"({"itemId": "sword of the north", "count": 2})");
    auto asked = m_here.PostLater("/trigger/save-inventory",
                                  R"({"connector": "far/s/w", "inventory": [)" + strItems + "]}");
    const auto req = m_far.Receive<XS2C_SaveInventoryReq>();
    EXPECT_EQ(req->vecInventory.size(), 500u);
    XC2S_SaveInventoryAns ans;
    ans.nReqID = req->nReqID;
    ans.strMessage = "Kept \xFF" + std::string(20'000, 'x');
    m_far.Send(ans);
    EXPECT_TRUE(Contains(asked.get().json["fields"]["strMessage"], "Kept"));

    const auto late =
        m_here.Post("/trigger/query-game-money", R"({"connector": "far/s/w", "timeoutMs": 20})");
    EXPECT_EQ(late.nStatus, 504);
    EXPECT_TRUE(Contains(late.strBody, "within 20 ms"));
    m_far.Receive<XS2C_QueryGameMoneyReq>();

    EXPECT_EQ(m_near.Buy("alice", "SWORD", "strRecvUserID=erin"), "0,1100");
    EXPECT_EQ(Pick(*m_far.Receive<XS2C_NotifyStorageInfo>(), "strUserID nItemCnt"), "erin,2");
    m_here.Post("/users/stop", R"({"user": "erin"})");
    EXPECT_EQ(m_far.Receive<XS2C_BillingEventNotice>()->nEventCode, 0);

    Client(m_there.Port(), "gone").CheckIn("dave");
    WaitUntilGone("gone");
    m_here.ExpectRefused("/trigger/billing-event", {{R"({"eventCode": 1, "user": "dave"})", 409,
                                                     "The connector gone/s/w has no link."}});
}

TEST_F(StudioTest, FaultsAndOutagesCanBeOrderedForAll)
{
    const auto shows = [&](const char* pszRoute, std::size_t nCount) {
        std::size_t nSeen = nCount + 1;
        for (int i = 0; i < 4000 && nSeen != nCount; ++i, usleep(5000))
            nSeen = m_there.Get(std::string("/") + pszRoute).json[pszRoute + std::string("s")].size();
        return nSeen == nCount;
    };
    const char kRefuse[] =
        R"({"class": "XS2C_CheckInAns", "kind": "refuse", "code": 7, "user": "erin", "everywhere": true})";
    EXPECT_EQ(m_here.Post("/fault", kRefuse).nStatus, 200);
    EXPECT_TRUE(shows("fault", 1));
    EXPECT_EQ(m_far.CheckIn("erin")->nResult, 7);
    EXPECT_TRUE(shows("fault", 0)) << "used up there";
    EXPECT_EQ(m_here.Get("/fault").json["faults"].size(), 1u) << "and not here";
    EXPECT_EQ(m_far.CheckIn("dave")->nResult, 0);

    EXPECT_EQ(m_there.Post("/fault", R"({"class": "XS2C_ChargeAns", "kind": "drop"})").nStatus, 200);
    EXPECT_EQ(Http(m_here.HttpPort(), "DELETE", "/fault?id=1&everywhere=true").nStatus, 400);
    EXPECT_EQ(Http(m_here.HttpPort(), "DELETE", "/fault?everywhere=true").nStatus, 200);
    EXPECT_TRUE(shows("fault", 0));

    EXPECT_EQ(m_here.Post("/outage", R"({"kind": "cut", "everywhere": true})").nStatus, 200);
    m_far.ReadUntilClosed();
    m_here.ExpectRefused(
        "/outage", {{R"({"kind": "cut", "bytesPerSecond": 1, "everywhere": true})", 400, "bytesPerSecond"}});
}

TEST_F(StudioTest, AConnectorMayComeBackElsewhere)
{
    const std::string strErin = m_far.CheckIn("erin")->strSeqNo;
    m_there.Advance(5'000);  // the deadline of this registration is in 15 s
    Client moved(m_here.Port(), "far", 1000);
    EXPECT_TRUE(m_there.Shows("far/s/w: closed: replaced by a new link"));
    Advance(16'000);
    EXPECT_EQ(m_here.Sessions(), "erin on far/s/w") << "only the last registration's deadline counts";
    moved.SendList("UserListSync", {{"erin", strErin}});
    EXPECT_EQ(m_here.Post("/trigger/billing-event", R"({"user": "erin", "eventCode": 1})").nStatus, 200);
    moved.Receive<XS2C_BillingEventNotice>();
    m_far.ReadUntilClosed();

    // A connector that stays away is forgotten by all of them, once.
    Client(m_there.Port(), "gone").CheckIn("dave");
    WaitUntilGone("gone");
    m_near.Heartbeat();
    Advance(29'000);
    EXPECT_EQ(m_near.CheckIn("dave")->nResult, 3);
    Advance(272'000);
    EXPECT_EQ(Client(m_here.Port(), "other").CheckIn("dave")->nResult, 0);
}

TEST(Studio, TablesOfOthersAreRefusedAndLeftAlone)
{
    const auto errorOn = [](const std::string& strUrl) -> std::string {
        try {
            RunningSandbox sandbox({.strDb = strUrl, .strSeed = "none"});
            return "";
        } catch (const Sandbox::StartError& e) {
            return e.what();
        }
    };
    const std::string strOther = NewPostgres(), strNewer = NewPostgres();
    Sandbox::OpenPostgres(strOther)->Execute("CREATE TABLE diary (entry bigint)");
    EXPECT_TRUE(Contains(errorOn(strOther), "another program"));
    EXPECT_EQ(errorOn(strNewer), "");
    EXPECT_EQ(errorOn(strNewer), "");
    Sandbox::OpenPostgres(strNewer)->Execute("UPDATE studio SET version = 99");
    EXPECT_TRUE(Contains(errorOn(strNewer), "version 99"));
    EXPECT_TRUE(Contains(errorOn(strNewer + "nowhere"), "schema"));
}

TEST_F(StudioTest, ALostDatabaseIsWaitedFor)
{
    m_far.CheckIn("erin");
    StopPostgres();
    EXPECT_EQ(m_far.CheckIn("dave")->nResult, 9);
    EXPECT_EQ(m_near.Buy("alice", "SWORD"), "9,0");
    const auto health = m_here.Get("/health");
    EXPECT_EQ(health.nStatus, 500);
    EXPECT_TRUE(Contains(health.strBody, "The database has failed: "));
    StartPostgres();
    std::string strState;
    for (int i = 0; i < 4000 && (strState = m_near.Buy("alice", "SWORD")).starts_with("9"); ++i)
        usleep(5000);
    EXPECT_EQ(strState, "0,1100");
    EXPECT_EQ(m_near.CoinOf("alice"), "3900");
    EXPECT_EQ(m_here.Get("/health").nStatus, 200);
    EXPECT_TRUE(m_here.Shows("The database answers again."));
    HttpAnswer event;
    for (int i = 0; i < 40 && event.nStatus != 200; ++i, usleep(200'000))
        event = m_here.Post("/trigger/billing-event", R"({"user": "erin", "eventCode": 1})");
    EXPECT_EQ(event.nStatus, 200) << event.strBody;
    m_far.Send(*MakeRequest("CheckOut strUserID=erin"));
    auto ans = m_far.ReceiveAny();
    while (dynamic_cast<XS2C_BillingEventNotice*>(ans.get()) != nullptr)  // also those that came late
        ans = m_far.ReceiveAny();
    EXPECT_EQ(Pick(*ans, "bSuccess"), "1");
}
