// Requests whose messages have the fields of their records: the shop's and the storage box's calls.
#pragma once

#include "comm/out/FieldCopy.h"
#include "comm/out/SendRecords.h"
#include "connector/RequestFrame.h"

// The words of one call.
struct CallWords {
    const char* pszLabel;         // in the line of a null argument
    const char* pszRequestLabel;  // in the line of the request
    const char* pszTimeout;
};

// The fields of each record as the line of the request shows them, behind the Req ID.
template <class Record>
void LogFields(const char* pszLabel, const RecordSend<Record>& record);

// kWords is a CallWords with static storage.
template <class Record, class RequestMessage, class AnswerMessage, const CallWords& kWords>
struct RecordCall : CallBase {
    using Request = RequestMessage;
    using Answer = AnswerMessage;
    static constexpr const char* kLabel = kWords.pszLabel;
    static constexpr const char* kTimeout = kWords.pszTimeout;

    explicit RecordCall(const Record* p) : pReq(p) {}

    bool HasNullArg() const { return pReq == nullptr; }
    RecordSend<Record> MakeRecord(int nReqID) const
    {
        RecordSend<Record> send{*pReq, nReqID};
        EndTexts(send.record);
        return send;
    }
    void LogRequest(const RecordSend<Record>& send) const { LogFields(kWords.pszRequestLabel, send); }

    const Record* pReq;
};
