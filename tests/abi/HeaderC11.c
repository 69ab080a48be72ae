/* The public header alone, as C11. */
#include "VelkarConnector.h"

void CallFromC(const _USER_REQ* pReq, _CHECKIN_RES* pRes, bool* pStarted);
void CallFromC(const _USER_REQ* pReq, _CHECKIN_RES* pRes, bool* pStarted)
{
    _CONNECTOR_ID id = {{0}, {0}, {0}};
    _CONNECTOR_CALLBACKS callbacks = {0};
    char szError[1025];
    *pStarted = InitModule(&id, &callbacks, szError, (int)sizeof(szError));
    Checkin(pReq, pRes);
    _USE_COUPON_INFO coupon = {{0}, {0}};
    _DATA_HANDLE* pHandle = GetHandleForUseCouponInfo(szError, sizeof(szError));
    *pStarted = *pStarted && SetUseCouponData(pHandle, &coupon, szError, sizeof(szError));
    DestroyHandle(pHandle);
    UninitModule();
}
