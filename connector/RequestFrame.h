// What every request call has in common, told once. An export states its record, its messages and its
// texts; the frame does the rest.
#pragma once

#include "base/Logger.h"
#include "base/ModuleFlags.h"
#include "base/ReqIdGenerator.h"
#include "base/TextField.h"
#include "base/Times.h"
#include "comm/CommHandler.h"
#include "comm/ResWaiter.h"
#include "connector/ExceptionGuard.h"

// The failure head of a response record.
template <class Response>
void SetFailure(Response& res)
{
    if constexpr (requires { res.nResult; })
        res.nResult = -1;
    else
        res.bSuccess = 0;
}
template <class Response>
void SetFailure(Response& res, std::string_view text)
{
    SetFailure(res);
    CopyText(res.szError, text);
}

// What an export adds to the frame; a call overrides what it needs.
struct CallBase {
    static constexpr const char* kNullLog = "[Velkar Connector] %s request or response arg is NULL.";
    static constexpr const char* kNullText = "Request or response arg is NULL.";
    bool HasNullArg() const { return false; }
    // Once the library is known to be initialised, before there is a waiter: a text ends the call.
    const char* Refuse() { return nullptr; }
    // What lives from before the send until after OnEnd.
    template <class Record>
    int MakeScope(const Record&) const
    {
        return 0;
    }
    // The link has accepted the request, of which no byte has left yet. With the active link list locked, so
    // nothing may fail here.
    void OnAccepted() {}
    void OnSendFailed() {}
    template <class Response>
    void OnEnd(const Response&)  // after the wait, with the answer or the timeout's failure
    {
    }
};

// A service that has answered unasked may have stored lists already; they have no owner then and are freed.
template <class Response>
void PresetTimeout(ResponseWait<Response>& waiter, const char* pszTimeout)
{
    [[maybe_unused]] Response early;
    PresetResponse(waiter, [&](Response& response) {
        if constexpr (kHasLists<Response>) {
            early = response;
            ForgetLists(response);
        }
        SetFailure(response, pszTimeout);
    });
    if constexpr (kHasLists<Response>)
        DestroyLists(early);  // behind the lock
}

// A call has: the types Request (the message sent) and Answer (the one waited for); kLabel and kTimeout;
// MakeRecord(nReqID), the zeroed and filled argument of the sender; LogRequest(record).
template <class Call, class Response>
void RunInside(Call& call, Response& res)
{
    const unsigned int nLife = ModuleLife::Current();
    if (!InitializedFlag().IsSet())
        return SetFailure(res, "Velkar Connector is not initialized.");
    if (const char* const pszRefusal = call.Refuse())
        return SetFailure(res, pszRefusal);

    ResponseWait<Response> waiter(TagOf<typename Call::Answer, Response>());
    waiter.nReqID = static_cast<int>(ReqIdGenerator().GetNextReqId());
    WaiterAutoRemover waiterAutoRemover(waiter);
    if (!ResWaiterMap().AddWaiter(&waiter))
        return SetFailure(res, "Velkar Connector is being terminated.");

    const auto record = call.MakeRecord(waiter.nReqID);
    [[maybe_unused]] const auto scope = call.MakeScope(record);
    call.LogRequest(record);
    const RequestTimer<typename Call::Request> timer;
    // The timeout's failure stands before the first byte of the request leaves, so no answer can overtake it.
    const auto onAccepted = [&] {
        PresetTimeout(waiter, Call::kTimeout);
        call.OnAccepted();
    };
    if (!CommHandler().SendInLife<typename Call::Request>(nLife, onAccepted, record)) {
        const char* const pszMessage = typename Call::Request().GetMsgName();
        Log::ErrorFmt("[Velkar Connector] Failed to send a '%s' msg(Req ID: %d).", pszMessage, waiter.nReqID);
        SetFailure(res, std::string("Failed to send a '") + pszMessage + "' msg.");
        call.OnSendFailed();
        return;
    }
    waiter.hEvent.Wait(kAnswerTimeout);
    // From here on an answer is late, and its handler knows it: nothing can be stored behind the copy.
    waiterAutoRemover.Remove();
    timer.Count(waiter.hEvent.Wait(0));
    res = GetResponse(waiter);
    call.OnEnd(res);
}

template <class Call, class Response>
void RunRequest(Call call, Response* pRes) noexcept
{
    if (pRes == nullptr || call.HasNullArg()) {
        Log::ErrorFmt(Call::kNullLog, Call::kLabel);
        if (pRes != nullptr) {
            SetFailure(*pRes, Call::kNullText);
            ForgetLists(*pRes);
        }
        return;
    }
    SetFailure(*pRes);
    ForgetLists(*pRes);
    Guarded([&] { RunInside(call, *pRes); },
            [&] { SetFailure(*pRes, "There is an exception because of some reasons."); });
}
