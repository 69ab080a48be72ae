// The lists that a response record brings.
#pragma once

#include <utility>

#include "VelkarConnector.h"
#include "datapool/DataPool.h"

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

// clang-format off
template <class Response>
inline constexpr bool kHasLists = requires(Response& res) { res.hBillingData; } ||
                                  requires(Response& res) { res.hData; } ||
                                  requires(Response& res) { res.hChildProduct; };
// clang-format on

// They are null in every response of failure.
template <class Response>
void ForgetLists(Response& res)
{
    ForEachList(res, [](_DATA_HANDLE*& hList) { hList = nullptr; });
}
template <class Response>
void DestroyLists(Response& res)
{
    ForEachList(res, [](_DATA_HANDLE*& hList) { FreeHandle(std::exchange(hList, nullptr)); });
}
