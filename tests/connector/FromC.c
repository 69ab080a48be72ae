/* A call as a game in C makes it: the record may be a null pointer, which no C++ caller can pass. */
#include "VelkarConnector.h"

bool SetUseCouponFromC(const _DATA_HANDLE* handle, const _USE_COUPON_INFO* pRecord, char* errorText,
                       size_t errorSize);
bool SetUseCouponFromC(const _DATA_HANDLE* handle, const _USE_COUPON_INFO* pRecord, char* errorText,
                       size_t errorSize)
{
    return SetUseCouponData(handle, pRecord, errorText, errorSize);
}
