// A stream of received bytes into the frame loop and the whole set of handlers.
#include <cstddef>
#include <cstdint>

#include "VelkarConnector.h"
#include "comm/FrameLoop.h"
#include "comm/ResWaiter.h"
#include "comm/in/HandlerTable.h"
#include "connector/RequestFrame.h"
#include "datapool/DataPool.h"
#include "platform/KernovaXtl.h"
#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "wirova/messages/SessionMessages.h"
#include "wirova/messages/ShopMessages.h"
#include "wirova/messages/StorageMessages.h"

namespace {

const Wirova::CMsgHandlerTable& Table()
{
    static const auto s_table = [] {
        Wirova::CMsgHandlerTable table;
        RegisterHandlers(table);
        return table;
    }();
    return s_table;
}

// Callers under the small Req IDs that the corpus uses, one for each kind of answer.
template <class Answer, class Response>
struct Waiting {
    explicit Waiting(int nReqID) : waiter(TagOf<Answer, Response>())
    {
        waiter.nReqID = nReqID;
        ResWaiterMap().AddWaiter(&waiter);
    }
    ~Waiting()
    {
        ForEachList(waiter.stResponse, [](_DATA_HANDLE* pHandle) { DestroyHandle(pHandle); });
    }
    ResponseWait<Response> waiter;
    WaiterAutoRemover remover{waiter};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const Waiting<XS2C_CheckInAns, _CHECKIN_RES> checkin(1);
    const Waiting<XS2C_CheckOutAns, _RESULT_RES> checkout(2);
    Waiting<XS2C_CheckInExAns, _CHECKIN_EX_RES> checkinEx(3);
    Waiting<XS2C_QueryBillingInfoExAns, _CHECKIN_EX_RES> billingEx(4);
    Waiting<XS2C_QueryMenuListAns, _LIST_RES> menu(5);
    Waiting<XS2C_QueryProductListAns, _PRODUCT_LIST_RES> products(6);
    Waiting<XS2C_QueryProductDetailAns, _PRODUCT_DETAIL_RES> detail(7);
    Waiting<XS2C_SearchStorageAns, _LIST_RES> storage(8);
    Waiting<XS2C_PurchaseProductAns, _PURCHASE_RES> purchase(9);
    Waiting<XS2C_UserMoveToAns, _RESULT_RES> move(10);

    // The bytes arrive in two pieces, the first byte says where the cut is.
    Strova::_THandle* const pStream = Strova::CreateHandle();
    const std::size_t nCut = nSize == 0 ? 0 : pData[0] % (nSize + 1);
    Strova::Write(pStream, pData, static_cast<int>(nCut));
    if (HandleFrames(Table(), pStream, nullptr)) {
        Strova::Write(pStream, pData + nCut, static_cast<int>(nSize - nCut));
        HandleFrames(Table(), pStream, nullptr);
    }
    Strova::DestroyHandle(pStream);
    UserInfoMap().RemoveAllUserInfo();
    FailedCheckOutVector().RemoveAll();
    DataPool().Clear();  // the lists of late details
    return 0;
}
