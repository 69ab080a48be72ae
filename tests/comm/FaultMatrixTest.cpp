// Every call and every message, under everything that can happen to an answer and to a link. Time passes only
// where a test ends the waits of some length.
#include "base/ModuleFlags.h"
#include "comm/ResWaiter.h"
#include "datapool/DataPool.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/fakeplatform/LogicTest.h"
#include "tests/session/Users.h"
#include "tests/support/Ledger.h"
#include "tests/wirova/Filling.h"

namespace {

using std::chrono::milliseconds;
constexpr milliseconds kStill{100}, kReconnectCycle{1000}, kAnswer{5000}, kHeartbeatCycle{10000};

struct Outcome {
    bool bSuccess;
    std::string strText;
    bool IsTimeout() const { return !bSuccess && strText.ends_with("because of timeout."); }
};

// Finds where the lengths of texts and the counts of lists stand in a frame.
struct Lengths {
    template <class Field>
    void Walk(const Field& v)
    {
        if constexpr (requires { v.GetMsgID(); }) {
            VisitMessage(v, [this](const char*, const auto& field) { this->Walk(field); });
        } else if constexpr (requires { v.size(); }) {
            vecPlaces.push_back(nPlace);
            nPlace += 4;
            for (std::size_t n = 0; n < v.size(); ++n)
                Walk(v[n]);
        } else {
            nPlace += std::is_same_v<Field, Wirova::boolean> ? 1 : sizeof(v);
        }
    }
    std::size_t nPlace = 8;  // behind the frame's length and the message's id
    std::vector<std::size_t> vecPlaces;
};

class FaultMatrixTest : public LogicTest {
protected:
    struct Row {
        const char* pszName;
        std::function<Outcome()> call;
    };

    void SetUp() override
    {
        LogicTest::SetUp();
        Game().settings.nReconnectCycle = 1;
        Game().settings.nHeartbeatCycle = 10;
        EndWaits(kStill);
        AddSessionRows();
        AddShopRows();
        ASSERT_TRUE(Game().Start());
        Service().Expect<XC2S_Heartbeat>();
        Barrier();
    }
    void AddSessionRows()
    {
        Add<XC2S_CheckInReq>(&Checkin);
        Add<XC2S_CheckInExReq>(&CheckinEx);
        Add<XC2S_CheckOutReq>(&Checkout);
        Add<XC2S_QueryBillingInfoReq>(&QueryBillingInfo);
        Add<XC2S_QueryBillingInfoExReq>(&QueryBillingInfoEx);
        Add<XC2S_UserMoveToReq>(&UserMoveTo);
        Add<XC2S_UserMoveFromReq>(+[](const _USER_REQ* pReq, _RESULT_RES* pRes) {
            const _USER_MOVE_INFO info{};
            UserMoveFrom(pReq, &info, pRes);
        });
    }
    void AddShopRows()
    {
        Add<XC2S_QueryMenuListReq>(&QueryMenuList);
        Add<XC2S_QueryProductListReq>(&QueryProductList);
        Add<XC2S_QueryProductDetailReq>(&QueryProductDetailInfo);
        Add<XC2S_QueryDiscountReq>(&QueryDiscountList);
        Add<XC2S_QueryTagReq>(&QueryTagList);
        Add<XC2S_QueryCoupontReq>(&QueryCouponList);
        Add<XC2S_QuerySpecialProductListReq>(&QuerySpecialProductList);
        Add<XC2S_QuerySpecialProductReq>(&QuerySpecialProductInfo);
        Add<XC2S_QueryRuvcoinReq>(&QueryRuvCoinInfo);
        Add<XC2S_SearchStorageReq>(&QueryStorageInfo);
        Add<XC2S_ConfirmReadStorageReq>(&ReadStorageInfo);
        Add<XC2S_RequestUseStorageReq>(&WithList<&StorageToInventory, &GetHandleForUseStorageItemInfo>);
        Add<XC2S_ConfirmUseStorageReq>(
            &WithList<&ConfirmStorageToInventory, &GetHandleForConfirmUseStorageItemInfo>);
        Add<XC2S_CancelUseStorageReq>(
            &WithList<&CancelStorageToInventory, &GetHandleForCancelUseStorageItemInfo>);
        Add<XC2S_PurchaseProductReq>(&PurchaseProduct);
    }
    template <class Message, class Request, class Response>
    void Add(void (*pfnCall)(const Request*, Response*))
    {
        Serve<Message>();
        m_vecRows.push_back({Message().GetMsgName(), [this, pfnCall] {
                                 Request req{};
                                 if constexpr (requires { req.szUserID; })
                                     Put(req.szUserID, "abc");
                                 Response res = Game().Call(pfnCall, req);
                                 DestroyLists(res);
                                 if constexpr (requires { res.nResult; })
                                     return Outcome{res.nResult == 0, res.szError};
                                 else
                                     return Outcome{res.bSuccess == 1, res.szError};
                             }});
    }
    template <auto pfnCall, auto pfnMake>
    static void WithList(const _STORAGE_USE_REQ* pReq, _RESULT_RES* pRes)
    {
        _STORAGE_USE_REQ req = *pReq;
        req.hUseStorage = pfnMake(nullptr, 0);
        pfnCall(&req, pRes);
        DestroyHandle(req.hUseStorage);
    }
    // Each request is left to m_play, with its frames made.
    template <class Request>
    void Serve()
    {
        Service().On<Request>([this](const Request& req, auto& ans) {
            VisitMessage(ans, [](const char*, auto& v) {
                if constexpr (requires { v.Add(); })
                    v.Add(), v.Add();
                else if constexpr (
                    requires { v.push_back({}); } && !requires { v.c_str(); })
                    v.resize(2);
            });
            if constexpr (std::is_same_v<Request, XC2S_CheckOutReq>)
                m_ledger.CheckOut(req.strUserID, req.strSeqNo);
            if (req.nReqID < 0)  // the library does not wait for what it asks by itself
                return false;
            m_lengths = {};
            m_lengths.Walk(ans);
            m_strRight = FrameOf(ans);
            ans.nReqID += 1'000'000;
            m_strWrongID = FrameOf(ans);
            XS2C_UserMoveToAns move;
            XS2C_UserMoveFromAns arrive;
            move.nReqID = arrive.nReqID = req.nReqID;
            m_strOtherClass = FrameOf(move);
            if constexpr (std::is_same_v<Request, XC2S_UserMoveToReq>)
                m_strOtherClass = FrameOf(arrive);
            m_play();
            return false;
        });
    }
    Outcome Call(const Row& row)
    {
        UserInfoMap().AddUserInfo("abc", User("abc"));  // who leaves has to be in
        const Outcome outcome = row.call();
        Service().Settle();  // m_play has ended, also for a call that has not waited for it
        UserInfoMap().RemoveAllUserInfo();
        return outcome;
    }
    // What the service has sent is handled, and nothing of it is left.
    void Barrier()
    {
        Service().Ask(XS2C_QueryGameMoneyReq());
        Service().Forget();
        EXPECT_EQ(ResWaiterMap().GetCount(), 0u);
    }
    // The lists of a product's details are kept when nobody waits for them, until the library stops.
    void ExpectNoListBut(const Row& row)
    {
        Barrier();
        if (row.pszName == std::string("XC2S_QueryProductDetailReq")) {
            Game().Stop();
            EXPECT_EQ(DataPool().GetCount(), 0u);
            ASSERT_TRUE(Game().Init());
        }
        EXPECT_EQ(DataPool().GetCount(), 0u) << row.pszName;
    }
    // A call whose link is lost under it.
    void ExpectTimeoutAndComeBack(const Row& row)
    {
        auto call = Game().Later([&] { return Call(row); });
        Service().WaitForDisconnect();
        Service().Down();
        EndWaits(kAnswer);
        EXPECT_TRUE(call.get().IsTimeout()) << row.pszName;
        EXPECT_EQ(DataPool().GetCount(), 0u);
        ComeBack();
    }
    void ComeBack()
    {
        EndWaits(kReconnectCycle);  // no more the wait for the answer to the registration
        Service().Up();
        Service().Expect<XC2S_VelkarConnectReq>();
        EndWaits(kStill);
        Service().Expect<XC2S_Heartbeat>();  // follows every connection
        Barrier();
    }

    std::vector<Row> m_vecRows;
    // Of the request that has come last.
    std::string m_strRight, m_strWrongID, m_strOtherClass;
    Lengths m_lengths;
    std::function<void()> m_play;
    Ledger m_ledger;
};

TEST_F(FaultMatrixTest, EveryAnswerReachesItsCallerHoweverItComes)
{
    const std::function<void()> kPlays[] = {
        [this] { Service().SendRaw(m_strRight + m_strRight); },
        [this] { Service().SendRaw(m_strWrongID + m_strOtherClass + m_strRight); },
        [this] {
            for (const char c : m_strRight)
                Service().SendRaw({c});
        }};
    for (const Row& row : m_vecRows) {
        for (const auto& play : kPlays) {
            m_play = play;
            const Outcome outcome = Call(row);
            EXPECT_TRUE(outcome.bSuccess) << row.pszName << ": " << outcome.strText;
        }
        ExpectNoListBut(row);
    }
}

TEST_F(FaultMatrixTest, ALateAnswerChangesNothing)
{
    for (const Row& row : m_vecRows) {
        m_play = [] {};
        EndWaits(kAnswer);
        EXPECT_TRUE(Call(row).IsTimeout()) << row.pszName;
        EndWaits(kStill);
        m_play = [this] { Service().SendRaw(m_strRight); };
        Service().SendRaw(m_strRight + m_strRight);
        ExpectNoListBut(row);
        EXPECT_EQ(UserInfoMap().GetCount(), 0u) << row.pszName;
    }
}

// A damaged answer may be taken for one or dropped; the right one behind it stands in step, and nothing is
// left.
TEST_F(FaultMatrixTest, LengthsAndCountsThatLie)
{
    for (const Row& row : m_vecRows) {
        m_play = [this] { Service().SendRaw(m_strRight); };
        Call(row);
        const std::string strWhole = m_strRight;
        for (const std::size_t nPlace : std::vector(m_lengths.vecPlaces)) {
            const auto nTrue = static_cast<unsigned char>(strWhole[nPlace + 3]);
            for (const std::string& strLie :
                 {std::string(4, '\0'), std::string(4, '\xFF'), std::string("\x7F\xFF\xFF\xFF"),
                  std::string(3, '\0') + static_cast<char>(nTrue + 1)}) {
                // The lie goes into the answer to this very call, whose Req ID stands behind the message's
                // id.
                m_play = [&] {
                    std::string strDamaged = m_strRight;
                    Service().SendRaw(strDamaged.replace(nPlace, 4, strLie) + m_strRight);
                };
                EXPECT_FALSE(Call(row).IsTimeout()) << row.pszName << " at " << nPlace;
            }
        }
        ExpectNoListBut(row);
    }
}

TEST_F(FaultMatrixTest, TheLinkIsLostInsideEveryAnswer)
{
    for (const Row& row : m_vecRows) {
        std::size_t nSize = 1;
        for (std::size_t nCut = 0; nCut < nSize; ++nCut) {
            m_play = [&] {
                nSize = m_strRight.size();
                Service().SendRaw(m_strRight.substr(0, nCut));
                Service().Drop();
            };
            ExpectTimeoutAndComeBack(row);
        }
    }
}

// Also inside what the service sends unasked.
TEST_F(FaultMatrixTest, TheLinkIsLostInsideEveryRequestOfTheService)
{
    for (const Wirova::ClassInfo& info : Wirova::AllClasses()) {
        const std::string_view name = info.pszName;
        if (!name.starts_with("XS2C_") || name.ends_with("Ans"))
            continue;
        const std::string strFrame = FrameOf(*MakeFilled(info));
        for (std::size_t nCut = 0; nCut <= strFrame.size(); ++nCut) {
            Service().SendRaw(strFrame.substr(0, nCut));
            Service().Drop();
            Service().WaitForDisconnect();
            ComeBack();
        }
        EXPECT_EQ(DataPool().GetCount(), 0u) << name;
    }
}

// A checkout is told to the service in any case, once the link has come back.
TEST_F(FaultMatrixTest, TheLinkIsLostInsideEveryRequest)
{
    Service().AllowBrokenFrames();
    Service().See<XC2S_FailedCheckOutReq>([this](const auto& req) {
        for (const auto* pUser : req.vecCheckOutInfo)
            m_ledger.CheckOut(pUser->strUserID, pUser->strSeqNo);
    });
    for (const Row& row : m_vecRows) {
        std::size_t nSize = 1;
        m_play = [&] { nSize = 0; };  // the whole request has come
        for (std::size_t nCut = 0; nCut <= nSize; ++nCut) {
            nSize = nCut + 1;
            m_ledger = {};
            BreakWriting(nCut);
            ExpectTimeoutAndComeBack(row);
            if (row.pszName == std::string("XC2S_CheckOutReq")) {
                EXPECT_GE(m_ledger.Checkouts("1"), 1) << nCut;
            }
        }
    }
}

TEST_F(FaultMatrixTest, ADayWithoutTheServiceLosesNoCheckoutAndDoublesNone)
{
    constexpr int kUsers = 100'000;
    Service().Down();
    Service().WaitForDisconnect();
    while (Alive().contains("links"))
        std::this_thread::yield();
    for (int n = 1; n <= kUsers; ++n) {
        const std::string strUser = "u" + std::to_string(n);
        UserInfoMap().AddUserInfo(strUser, User(strUser, "10.0.0.1", std::to_string(n)));
        ASSERT_STREQ(Game().Checkout(strUser).szError, "Failed to send a 'XC2S_CheckOutReq' msg.");
        if (n % 1000 == 0)
            Journal::Clear();
    }
    Service().Up();
    EndWaits(kReconnectCycle);
    while (FailedCheckOutVector().GetSentCount() == 0)  // longer than an Expect waits, on a busy machine
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const auto list = Service().Expect<XC2S_FailedCheckOutReq>();
    EndWaits(kHeartbeatCycle);
    while (FailedCheckOutVector().GetCount() + FailedCheckOutVector().GetSentCount() != 0)
        std::this_thread::yield();
    EndWaits(kStill);
    for (const auto* pUser : list->vecCheckOutInfo)
        m_ledger.CheckOut(pUser->strUserID, pUser->strSeqNo);
    ASSERT_EQ(list->vecCheckOutInfo.size(), std::size_t{kUsers});
    for (int n = 1; n <= kUsers; ++n)
        ASSERT_EQ(m_ledger.Checkouts(std::to_string(n)), 1);
    Service().ExpectNothing();
}

TEST_F(FaultMatrixTest, AThousandStarts)
{
    m_play = [this] { Service().SendRaw(m_strRight); };
    for (int n = 0; n < 1000; ++n) {
        Game().Stop();
        ASSERT_TRUE(Game().Init()) << Game().LastError();
        ASSERT_TRUE(m_vecRows[0].call().bSuccess) << n;
    }
    EXPECT_EQ(UserInfoMap().GetCount(), 1u);
}

// A term ends once, however often the local time jumps over its end; a call does not look at the local time.
TEST_F(FaultMatrixTest, ClockJumps)
{
    Game().Stop();
    Game().settings.products = {{kProductID, "Gold", 3}};
    ASSERT_TRUE(Game().Start());
    m_play = [this] {
        HostProcess::SetLocalTime({1970, 1, 1, 0, 0, 0, 0});
        Service().SendRaw(m_strRight);
    };
    EXPECT_TRUE(m_vecRows[0].call().bSuccess);
    for (const int nYear : {1970, 2100, 1970, 2100}) {
        HostProcess::SetLocalTime({nYear, 1, 1, 0, 0, 0, 0});
        _RESULT_RES res;
        Charge(&res);
        EXPECT_EQ(Game().Got<BillingEvent>().size(), UserInfoMap().HasUserInfo("abc") ? 0u : 1u) << nYear;
    }
    Barrier();
    EXPECT_EQ(m_ledger.Checkouts("1"), 1);
}

}  // namespace
