// What an operator changes while games play.
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

class ChangeTest : public ClientTest {
protected:
    // The answer to "PATCH /users {...}", which must be good.
    Sandbox::Json Do(const std::string& strRequest)
    {
        const HttpAnswer answer = Send(strRequest);
        EXPECT_EQ(answer.nStatus, 200) << strRequest << answer.strBody;
        return answer.json;
    }
    HttpAnswer Send(const std::string& strRequest)
    {
        const std::size_t nPath = strRequest.find(' ') + 1, nBody = strRequest.find(' ', nPath);
        return Http(m_sandbox.HttpPort(), strRequest.substr(0, nPath - 1),
                    strRequest.substr(nPath, nBody - nPath),
                    nBody == std::string::npos ? "" : strRequest.substr(nBody + 1));
    }
};

}  // namespace

TEST_F(ChangeTest, UsersComeChangeAndGo)
{
    Do(R"(POST /users {"userId": "zoe", "userNo": "501", "billType": 2, "remainMinutes": 9, "ruvCoin": 50,
                       "coupons": [{"couponUseId": "Z", "couponCode": "C", "discountAmt": 5}]})");
    EXPECT_EQ(m_client.Ask("CheckIn strUserNo=501", "nResult nRemainMinutes"), "0,9");
    const auto before = m_sandbox.User("carol");
    EXPECT_EQ(Do(R"(PATCH /users {"user": "carol", "result": 0})"), before) << "nothing else";
    Do(R"(PATCH /users {"user": "zoe", "userNo": "502", "result": 17, "resultText": "No."})");
    EXPECT_EQ(m_client.Ask("CheckIn strUserNo=502", "nResult strErrorMsg"), "17,No.");
    EXPECT_EQ(m_client.Buy("zoe", "POTION", "vecUseCoupon={strCouponUseID=Z strCouponCode=C}"), "0,5");
    EXPECT_EQ(Do(R"(POST /balance {"user": "zoe", "change": -40})")["ruvCoin"], 5);
    EXPECT_EQ(m_client.CoinOf("zoe"), "5");

    Do("DELETE /users?user=zoe");
    EXPECT_EQ(Pick(*m_client.Receive<XS2C_BillingEventNotice>(), "strUserNo nEventCode"), "502,2");
    EXPECT_EQ(m_client.Ask("CheckIn strUserNo=502", "nResult"), "2");
    EXPECT_EQ(m_sandbox.Get("/orders").json["orders"].size(), 0u);
    Do(R"(POST /users {"userId": "zoe", "userNo": "501", "fillStorage": 2})");
    EXPECT_EQ(m_client.Box("zoe"), 2u);
}

TEST_F(ChangeTest, ShopsAndBranchesComeChangeAndGo)
{
    EXPECT_EQ(m_client.Buy("alice", "POTION"), "0,10");
    const auto before = m_sandbox.Get("/shop").json;
    const auto menu = [&] {
        std::string strMenu;
        const auto answer = m_client.Ask<XS2C_QueryMenuListAns>("QueryMenuList");
        for (const XMenuContents* pBranch : answer->vecMenu)
            strMenu += pBranch->strBranchName + ' ' + std::to_string(pBranch->nBranchDepth) + ' ';
        return strMenu;
    };
    const std::string strMenu = menu();
    Do(R"(POST /menu {"branchId": "HATS", "branchName": "Hats", "superBranchId": "GEAR", "sortOrder": 9})");
    Do(R"(PATCH /products {"productId": "POTION", "branchId": "HATS"})");
    EXPECT_TRUE(Contains(menu(), "Hats 2"));
    const auto list =
        m_client.Ask<XS2C_QueryProductListAns>("QueryProductList strBranchID=HATS nRow=9 nPage=1");
    EXPECT_EQ(list->nListValue1, 1);
    Do(R"(PATCH /menu {"branchId": "HATS", "branchName": "Caps"})");
    EXPECT_TRUE(Contains(menu(), "Caps 2"));
    const std::pair<const char*, int> kWrong[] = {
        {R"(POST /menu {"branchId": "HATS"})", 409},
        {R"(PATCH /menu {"branchId": "NONE", "branchName": "x"})", 404},
        {R"(PATCH /menu {"branchId": "GEAR", "superBranchId": "HATS"})", 400},
        {"DELETE /menu?branchId=HATS", 409},
        {"DELETE /menu?branchId=NONE", 404},
        {R"(POST /shop {"gameId": "DEMOGAME"})", 409},
        {R"(POST /shop {"gameId": "G2", "products": [{"productId": "X"}]})", 400},
        {"DELETE /shop?gameId=G2", 404},
    };
    for (const auto& [pszRequest, nStatus] : kWrong)
        EXPECT_EQ(Send(pszRequest).nStatus, nStatus) << pszRequest;
    Do(R"(PATCH /products {"productId": "POTION", "branchId": "SUPPLIES"})");
    Do("DELETE /menu?branchId=HATS");
    EXPECT_EQ(menu(), strMenu);
    EXPECT_EQ(m_sandbox.Get("/shop").json, before) << "what has been sold included";

    Do(R"(POST /shop {"gameId": "G2", "menu": [{"branchId": "ALL", "branchName": "All"}], "products": [{"productId": "X",
        "productName": "Ex", "branchId": "ALL", "price": 3, "children": [{"childProductId": "I"}]}]})");
    EXPECT_EQ(m_client.Buy("alice", "X", "strGameID=G2"), "0,3");
    Do("DELETE /shop?gameId=G2");
    EXPECT_EQ(m_client.Buy("alice", "X", "strGameID=G2"), "20,0");
    EXPECT_EQ(m_sandbox.Get("/orders?user=alice").json["orders"].size(), 2u);
}

TEST_F(ChangeTest, AStoppedTermIsOverForGameAndService)
{
    m_client.CheckIn("carol");
    Do(R"(POST /users/stop {"user": "carol"})");
    EXPECT_EQ(Pick(*m_client.Receive<XS2C_BillingEventNotice>(), "strUserID nEventCode"), "carol,0");
    EXPECT_EQ(m_sandbox.User("carol")["otherBillings"].size(), 2u);
    EXPECT_EQ(m_client.Ask("CheckIn strUserID=carol", "nResult"), "4");
    m_sandbox.Advance(1);
    m_sandbox.Advance(181'000);
    EXPECT_EQ(m_sandbox.Sessions(), "") << "the game has not checked the user out";
}

TEST_F(ChangeTest, CouponsProductsAndBoxes)
{
    const std::string strBuy = "vecUseCoupon={strCouponUseID=TEN strCouponCode=T}";
    Do(R"(POST /coupons {"user": "dave", "couponUseId": "TEN", "couponCode": "T", "discountRate": 10})");
    EXPECT_EQ(m_client.Buy("dave", "SWORD", strBuy), "0,990");
    Do(R"(PATCH /coupons {"couponUseId": "TEN", "used": false, "discountRate": 50})");
    Do(R"(PATCH /products {"productId": "SWORD", "price": 1000, "discounts": []})");
    EXPECT_EQ(m_client.Buy("dave", "SWORD", strBuy), "0,500");
    Do("DELETE /coupons?couponUseId=TEN");
    EXPECT_EQ(m_client.Buy("dave", "SWORD", strBuy), "40,0");
    EXPECT_EQ(m_sandbox.Get("/shop").json["shops"][0]["products"][0]["totalSellingCount"], 2) << "each once";

    Do(R"(POST /products {"productId": "HAT", "productName": "Hat", "branchId": "ARMOUR", "price": 3,
                          "children": [{"childProductId": "ITEM-HAT"}]})");
    EXPECT_EQ(m_client.Buy("dave", "HAT"), "0,3");
    Do("DELETE /products?productId=HAT");
    EXPECT_EQ(m_client.Buy("dave", "HAT"), "21,0");

    Do("DELETE /storage?user=dave");
    const int nSeq = Do(R"(POST /storage/entry {"user": "dave", "itemId": "GEM", "count": 7})")["storageSeq"];
    const std::string strEntry = R"(PATCH /storage/entry {"storageSeq": )" + std::to_string(nSeq);
    EXPECT_EQ(m_client.Ask("SearchStorage strUserID=dave", "strItemID nRemainCount"), "|GEM,7");
    Do(strEntry + R"(, "state": "used"})");
    EXPECT_EQ(m_client.Box("dave"), 0u);
    Do(strEntry + R"(, "state": "waiting", "itemName": "Gem"})");
    EXPECT_EQ(m_client.Ask("SearchStorage strUserID=dave", "strItemName nStorageSeq"),
              "|" + std::to_string(nSeq) + ",Gem");
    Do("DELETE /storage/entry?storageSeq=" + std::to_string(nSeq));
    EXPECT_EQ(m_sandbox.Get("/storage?user=dave").json["storage"].size(), 0u);
}

// The link stays open all the while, although its connector has been silent for hours.
TEST_F(ChangeTest, AllRulesFollowTheClock)
{
    m_client.CheckIn("expires-in-20s");
    m_client.CheckIn("alice");
    m_client.Move("To", "alice");
    const std::string strEntry =
        m_client.Ask("SearchStorage strUserID=dave cSearchType=I strSearchValue=FILLED-1", "nStorageSeq");
    const std::string strUse = " strUserID=dave strServerID=s strCharacterID=c ";
    m_client.Ask("RequestUseStorage" + strUse +
                 "vecStorageUse={strItemID=FILLED-1 nStorageSeq=" + strEntry.substr(1) + "}");
    EXPECT_EQ(m_client.Box("dave"), 24u);
    Do(R"(POST /clock {"seconds": 50})");
    EXPECT_EQ(m_sandbox.Sessions(), "expires-in-20s on g/s/w, alice on g/s/w moving");
    EXPECT_EQ(Do(R"(POST /clock {"seconds": 450})")["aheadSeconds"], 500);
    EXPECT_EQ(m_sandbox.Sessions(), "");
    EXPECT_EQ(Pick(*m_client.Receive<XS2C_BillingEventNotice>(), "strUserID nEventCode"), "expires-in-20s,2");
    EXPECT_EQ(m_client.Box("dave"), 25u);
    Do(R"(POST /clock {"to": "20980101000000"})");
    EXPECT_TRUE(Contains(m_client.CheckIn("alice")->strEndDate, "20980131"));
    EXPECT_EQ(Send(R"(POST /clock {"to": "20970101000000"})").nStatus, 409);
    EXPECT_EQ(Send(R"(POST /clock {"seconds": 1, "to": "20980101000001"})").nStatus, 400);
}

TEST_F(ChangeTest, MistakesChangeNothing)
{
    const auto users = m_sandbox.Get("/users").json, shop = m_sandbox.Get("/shop").json;
    const std::tuple<const char*, int, const char*> kCases[] = {
        {R"(POST /users {"userId": "alice", "userNo": "9"})", 409, "a user 'alice' already"},
        {R"(POST /users {"userId": "x", "userNo": "10001"})", 409, "'10001' belongs to 'alice'"},
        {R"(POST /users {"userId": "x", "userNo": "9", "coupons": [
            {"couponUseId": "ALICE-10", "couponCode": "C", "discountAmt": 5}]})",
         409, "'ALICE-10' of 'x' belongs to somebody"},
        {R"(PATCH /users {"user": "alice", "userNo": "10002"})", 409, "'10002' belongs to 'bob'"},
        {R"(PATCH /users {"user": "alice", "userId": "b"})", 400, "'userId': is not a known key"},
        {"DELETE /users?user=nobody", 404, "no user 'nobody'"},
        {"DELETE /users?user=alice&user=bob", 400, "given twice"},
        {R"(POST /balance?user=alice {"ruvCoin": 1})", 400, "belong into the body"},
        {R"(POST /balance {"user": "alice", "change": -5001})", 409, "has 5000 Ruv coin"},
        {R"(PATCH /coupons {"couponUseId": "ALICE-10", "discountRate": 0})", 400, "above 0 is expected"},
        {R"(PATCH /products {"productId": "SWORD", "children": []})", 400, "'children': one at least"},
        {R"(PATCH /storage/entry {"storageSeq": 1, "state": "lost"})", 400, "waiting, used or deleted"},
    };
    for (const auto& [pszRequest, nStatus, pszError] : kCases) {
        EXPECT_EQ(Send(pszRequest).nStatus, nStatus) << pszRequest;
        EXPECT_TRUE(Contains(Send(pszRequest).strBody, pszError)) << pszRequest;
    }
    EXPECT_EQ(m_sandbox.Get("/users").json, users);
    EXPECT_EQ(m_sandbox.Get("/shop").json, shop);
}
