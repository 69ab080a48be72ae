// The bytes of an answer may arrive in any two pieces.
#include "comm/ResponseLists.h"
#include "session/UserInfoMap.h"
#include "tests/fakeplatform/LogicTest.h"
#include "tests/session/Users.h"

namespace {

class CutAnswersTest : public LogicTest {
protected:
    // Each cut is a call of its own; the lists of the answer have a row.
    template <class Message, class Request, class Response>
    void CutEverywhere(void (*pfnCall)(const Request*, Response*), const Request& req = {})
    {
        std::size_t nCut = 1, nSize = 2;
        Service().On<Message>([&](const auto&, auto& ans) {
            std::remove_reference_t<decltype(ans)>::ForEachField(ans, [](const char*, auto& field) {
                if constexpr (requires { field.Add(); })
                    field.Add();
                else if constexpr (requires { field.emplace_back(); })
                    field.emplace_back();
                return true;
            });
            nSize = FrameOf(ans).size();
            Service().SendCut(nCut, ans);
            return false;
        });
        for (; nCut < nSize; ++nCut) {
            UserInfoMap().AddUserInfo("abc", User("abc"));
            Response res = Game().Call(pfnCall, req);
            if constexpr (requires { res.nResult; })
                EXPECT_EQ(res.nResult, 0) << Message().GetMsgName() << " cut at " << nCut;
            else
                EXPECT_EQ(res.bSuccess, 1) << Message().GetMsgName() << " cut at " << nCut;
            DestroyLists(res);
        }
        Service().SayNothing();
    }
    template <class Message>
    void CutMove(void (*pfnCall)(const _STORAGE_USE_REQ*, _RESULT_RES*), _DATA_HANDLE* pHandle)
    {
        _STORAGE_USE_REQ req{};
        req.hUseStorage = pHandle;
        CutEverywhere<Message>(pfnCall, req);
        DestroyHandle(pHandle);
    }
    static void MoveFrom(const _USER_REQ* pReq, _RESULT_RES* pRes)
    {
        const _USER_MOVE_INFO info{};
        UserMoveFrom(pReq, &info, pRes);
    }
};

TEST_F(CutAnswersTest, EveryKindOfAnswerCutAtEveryByteReachesItsCaller)
{
    SetSecond(std::chrono::seconds(1));  // a busy machine answers in time, too
    ASSERT_TRUE(Game().Start());
    const _USER_REQ user = Game().User("abc");
    CutEverywhere<XC2S_CheckInReq>(&Checkin, user);
    CutEverywhere<XC2S_CheckInExReq>(&CheckinEx, user);
    CutEverywhere<XC2S_CheckOutReq>(&Checkout, user);
    CutEverywhere<XC2S_QueryBillingInfoReq>(&QueryBillingInfo, user);
    CutEverywhere<XC2S_QueryBillingInfoExReq>(&QueryBillingInfoEx, user);
    CutEverywhere<XC2S_UserMoveToReq>(&UserMoveTo, user);
    CutEverywhere<XC2S_UserMoveFromReq>(&MoveFrom, user);
    CutEverywhere<XC2S_QueryMenuListReq>(&QueryMenuList);
    CutEverywhere<XC2S_QueryProductListReq>(&QueryProductList);
    CutEverywhere<XC2S_QueryProductDetailReq>(&QueryProductDetailInfo);
    CutEverywhere<XC2S_QueryDiscountReq>(&QueryDiscountList);
    CutEverywhere<XC2S_QueryTagReq>(&QueryTagList);
    CutEverywhere<XC2S_QueryCoupontReq>(&QueryCouponList);
    CutEverywhere<XC2S_QuerySpecialProductListReq>(&QuerySpecialProductList);
    CutEverywhere<XC2S_QuerySpecialProductReq>(&QuerySpecialProductInfo);
    CutEverywhere<XC2S_QueryRuvcoinReq>(&QueryRuvCoinInfo);
    CutEverywhere<XC2S_SearchStorageReq>(&QueryStorageInfo);
    CutEverywhere<XC2S_ConfirmReadStorageReq>(&ReadStorageInfo);
    CutEverywhere<XC2S_PurchaseProductReq>(&PurchaseProduct);
    CutMove<XC2S_RequestUseStorageReq>(&StorageToInventory, GetHandleForUseStorageItemInfo(nullptr, 0));
    CutMove<XC2S_ConfirmUseStorageReq>(&ConfirmStorageToInventory,
                                       GetHandleForConfirmUseStorageItemInfo(nullptr, 0));
    CutMove<XC2S_CancelUseStorageReq>(&CancelStorageToInventory,
                                      GetHandleForCancelUseStorageItemInfo(nullptr, 0));
}

}  // namespace
