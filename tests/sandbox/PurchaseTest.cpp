// Purchases: their price, what they are refused for, and where the goods go.
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

using PurchaseTest = ClientTest;

const std::string kTen = " vecUseCoupon={strCouponUseID=ALICE-10 strCouponCode=SPRING10}";
const std::string kSword = " vecUseCoupon={strCouponUseID=ALICE-SWORD strCouponCode=SWORD200}";
const std::string kGreen = " vecUseOption={strOptionCode=COLOUR strOptionValue=GREEN}";
const std::string kRed = " vecUseOption={strOptionCode=COLOUR strOptionValue=RED}";

}  // namespace

TEST_F(PurchaseTest, GoodsAreInTheBoxAndThePriceIsTaken)
{
    const std::string strRune = " vecUseOption={strOptionCode=RUNE strOptionValue=FROST}";
    EXPECT_EQ(m_client.Buy("alice", "SWORD", "nCount=2" + kRed + strRune), "0,2200");
    EXPECT_EQ(m_client.CoinOf("alice"), "2800");
    const auto box = m_client.Ask<XS2C_SearchStorageAns>("SearchStorage strUserID=alice");
    ASSERT_EQ(box->vecStorage.size(), 2u);
    const XStorageInfo &sword = *box->vecStorage[0], &stone = *box->vecStorage[1];
    EXPECT_EQ(sword.nOrderSeq, m_sandbox.Get("/orders").json["orders"][0]["orderSeq"]);
    EXPECT_EQ(Pick(sword,
                   "strItemID strItemName strUserID strServerID strCharacterID nCount strOptionCode "
                   "strOptionValue bRead bNew"),
              "ITEM-SWORD,Sword of the North,alice,s,hero,2,COLOUR,RUNE,RED,FROST,0,1");
    EXPECT_EQ(Pick(stone, "bBonus nCount"), "1,6") << "three with each";
    EXPECT_GT(stone.strValidDate, stone.strBuyDate);
    EXPECT_LT(stone.strValidDate, sword.strValidDate);
}

TEST_F(PurchaseTest, CouponsTakeOffWhatTheySayOnce)
{
    EXPECT_EQ(m_client.Buy("alice", "SWORD", kTen + kSword), "0,790") << "1100 - 110 - 200";
    EXPECT_EQ(m_client.CoinOf("alice"), "4210");
    EXPECT_EQ(m_client.Buy("alice", "SWORD", kTen), "41,0");
    EXPECT_EQ(m_client.CoinOf("alice"), "4210");
}

// A connector that is given both lists sends the coupons as both.
TEST_F(PurchaseTest, EqualListsAreCouponsOrOptions)
{
    const auto coupons = [](const std::string& strColour) {
        return kTen + " vecUseCoupon={strCouponUseID=COLOUR strCouponCode=" + strColour + "}";
    };
    const std::string strTen = " vecUseOption={strOptionCode=ALICE-10 strOptionValue=SPRING10}";
    EXPECT_EQ(m_client.Buy("alice", "SWORD", coupons("GREEN") + strTen + kGreen), "37,0");
    EXPECT_EQ(m_client.Buy("alice", "SWORD", coupons("RED") + kRed), "40,0")
        << "an option is no coupon when the lists differ";
    EXPECT_EQ(m_client.Buy("alice", "SWORD", coupons("RED") + strTen + kRed), "0,990");
    ExpectAnswers({{"SearchStorage strUserID=alice cSearchType=I strSearchValue=ITEM-SWORD", "strOptionCode",
                    "|COLOUR"}});
}

TEST_F(PurchaseTest, RefusalsChangeNothing)
{
    std::string strManyCoupons;
    for (int i = 0; i < 21; ++i)
        strManyCoupons += " vecUseCoupon={strCouponUseID= strCouponCode=}";
    const std::tuple<std::string, const char*, const char*, std::string> kCases[] = {
        {"20", "alice", "SWORD", "strGameID="},
        {"21", "alice", "NOTHING", ""},
        {"2", "nobody", "SWORD", ""},
        {"7", "", "SWORD", ""},
        {"26", "alice", "SWORD", "strRecvUserID=nobody"},
        {"27", "alice", "SWORD", "strGiftMessage=" + std::string(201, 'x')},
        {"28", "alice", "SWORD", strManyCoupons},
        {"30", "alice", "LANTERN", ""},
        {"31", "alice", "SWORD", "nCount=0"},
        {"32", "alice", "SWORD", "nLevel=9"},
        {"33", "alice", "SHIELD", "nLevel=61"},
        {"33", "alice", "TICKET", "nLevel=4"},
        {"34", "alice", "CROWN", "strRecvUserID=bob"},
        {"35", "alice", "CROWN", "nCount=2"},
        {"36", "bob", "POTION", ""},
        {"36", "bob", "POTION", "strPassWD=bobs-Secret"},
        {"37", "alice", "SWORD", kGreen},
        {"67", "alice", "SWORD", kRed + " vecUseOption={strOptionCode=COLOUR strOptionValue=BLUE}"},
        {"40", "alice", "SWORD", "vecUseCoupon={strCouponUseID=ALICE-10 strCouponCode=WRONG}"},
        {"40", "dave", "SWORD", kTen},
        {"42", "alice", "SWORD", "vecUseCoupon={strCouponUseID=ALICE-OLD strCouponCode=XMAS50}"},
        {"43", "alice", "POTION", kSword},
        {"44", "alice", "CROWN", kTen},
        {"67", "alice", "SWORD", kTen + kTen},
        {"50", "carol", "SWORD", ""},
        {"51", "dave", "SWORD", "nCount=2147483647"},
    };
    const auto before = m_sandbox.Get("/users").json;
    for (const auto& [strState, pszUserID, pszProductID, strMore] : kCases) {
        const auto ans = m_client.Ask<XS2C_PurchaseProductAns>(Purchase(pszUserID, pszProductID, strMore));
        EXPECT_EQ(Pick(*ans, "nState nOrderSeq"), strState + ",0") << ans->strMessage << strMore;
        EXPECT_NE(ans->strMessage, "");
    }
    EXPECT_EQ(m_sandbox.Get("/orders").json["orders"].size(), 0u);
    EXPECT_EQ(m_sandbox.Get("/users").json, before);
    EXPECT_EQ(m_client.Buy("bob", "POTION", "strPassWD=bobs-secret"), "0,10");
}

TEST_F(PurchaseTest, ManyLinksDoNotOverdrawAPurse)
{
    std::atomic<int> nBought{0};
    std::vector<std::jthread> vecLinks;
    for (int n = 0; n < 8; ++n) {
        vecLinks.emplace_back([&, n] {
            Client client(m_sandbox.Port(), "g" + std::to_string(n));
            for (int i = 0; i < 3; ++i)
                nBought += client.Buy("alice", "SWORD", kRed) == "0,1100" ? 1 : 0;
        });
    }
    vecLinks.clear();
    EXPECT_EQ(nBought, 4);
    EXPECT_EQ(m_client.CoinOf("alice"), "600");
    EXPECT_EQ(m_sandbox.Get("/orders").json["orders"].size(), 4u);
}

TEST_F(PurchaseTest, AGiftIsAnnouncedWhereTheReceiverIs)
{
    Client other(m_sandbox.Port(), "other");
    EXPECT_EQ(other.Ask("CheckIn strUserNo=10005", "nResult"), "0");
    EXPECT_EQ(
        m_client.Buy("alice", "SWORD", "strRecvUserID=erin strRecvCharacterID=elf strGiftMessage=Yours."),
        "0,1100");
    EXPECT_EQ(Pick(*other.Receive<XS2C_NotifyStorageInfo>(), "strUserID strUserNo strCharacterID nItemCnt"),
              ",10005,elf,2")
        << "as her connector names her";
    EXPECT_EQ(m_client.Ask("SearchStorage strUserID=erin cSearchType=I strSearchValue=ITEM-SWORD",
                           "strSenderUserID strUserID strServerID strGiftMessage"),
              "|alice,erin,,Yours.")
        << "the buyer's server is not hers";
    EXPECT_EQ(m_client.Box("alice"), 0u);
}

TEST_F(PurchaseTest, UsersAreNamedByNumberToo)
{
    EXPECT_EQ(m_client.Buy("", "POTION", "strUserNo=10001 strRecvUserNo=10003"), "0,10");
    EXPECT_EQ(m_client.CoinOf("alice"), "4990");
    EXPECT_EQ(
        m_client.Ask("SearchStorage strUserNo=10003", "strSenderUserID strSenderUserNo strUserID strUserNo"),
        "|,10001,,10003");
}

TEST_F(PurchaseTest, TheGameSavesWhatTheProductSays)
{
    m_client.CheckIn("alice");
    for (const int nState : {0, -1}) {
        m_client.Buy("alice", "TICKET");
        const auto req = m_client.Receive<XS2C_SaveInventoryReq>();
        EXPECT_EQ(Pick(*req, "strUserID nPrice"), "alice,50|");
        EXPECT_EQ(m_client.Box("alice"), 0u) << "reserved until the game has answered";
        XC2S_SaveInventoryAns ans;
        ans.nReqID = req->nReqID;
        ans.nState = nState;
        ans.strMessage = "No room.";
        m_client.Send(ans);
        EXPECT_EQ(m_client.Box("alice"), nState == 0 ? 0u : 1u) << "what is not saved waits in the box";
    }
    EXPECT_TRUE(m_sandbox.Shows("No room."));
}

TEST_F(PurchaseTest, ALostLinkLeavesTheGoodsInTheBox)
{
    RunningSandbox sandbox({.bSaveOnPurchase = true});
    Client client(sandbox.Port(), "buyer");
    {
        Client other(sandbox.Port(), "receiver");
        other.CheckIn("erin");
        EXPECT_EQ(client.Buy("dave", "POTION", "strRecvUserID=erin"), "0,10");
        other.Receive<XS2C_SaveInventoryReq>();
    }
    EXPECT_TRUE(sandbox.Shows("waits in the storage box"));
    EXPECT_EQ(client.Box("erin"), 1u);
}
