// The result lists that a response record of the public header carries as handles. Request frame and waiters
// treat all records alike: the templates here look for the handle fields by name.
#pragma once

#include <utility>

#include "VelkarConnector.h"
#include "datapool/DataPool.h"

// Calls visit(handle) for each handle field of the record, null handles included. A record type without a
// handle field is not visited.
template <class Response, class Visit>
void ForEachList(Response& res, Visit visit)
{
    if constexpr (requires { res.hBillingData; })
        visit(res.hBillingData);
    if constexpr (requires { res.hData; })
        visit(res.hData);
    if constexpr (requires { res.hChildProduct; }) {
        visit(res.hChildProduct);
        visit(res.hCondition);
        visit(res.hOption);
    }
}

// Whether the record type has a handle field at all. Has to name the same fields as ForEachList.
// clang-format off
template <class Response>
inline constexpr bool kHasLists = requires(Response& res) { res.hBillingData; } ||
                                  requires(Response& res) { res.hData; } ||
                                  requires(Response& res) { res.hChildProduct; };
// clang-format on

// Nulls the handles and frees nothing: for a caller's record that holds arbitrary bytes before the call. A
// response of failure has only null handles.
template <class Response>
void ForgetLists(Response& res)
{
    ForEachList(res, [](_DATA_HANDLE*& hList) { hList = nullptr; });
}

// Frees the lists of a response that no caller will get, and nulls the handles.
template <class Response>
void DestroyLists(Response& res)
{
    ForEachList(res, [](_DATA_HANDLE*& hList) { FreeHandle(std::exchange(hList, nullptr)); });
}
