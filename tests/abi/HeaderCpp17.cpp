// The public header alone, as C++17.
#include "VelkarConnector.h"

static_assert(__cplusplus < 202002L, "this file checks the older standard");

_RESULT_RES CallFromCpp17(const _USER_REQ& req);
_RESULT_RES CallFromCpp17(const _USER_REQ& req)
{
    _RESULT_RES res{};
    Checkout(&req, &res);
    res.bSuccess = SetCharacterData(nullptr, _CHARACTER_INFO{}, res.szError, sizeof(res.szError));
    return res;
}
