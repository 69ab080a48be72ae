// The calls of the shop and the storage box for the request frame. Their messages consist of the fields of
// their records, so a call is fully described by the two message classes and its texts.
#pragma once

#include "comm/out/FieldCopy.h"
#include "comm/out/SendRecords.h"
#include "connector/RequestFrame.h"

// The texts of one call.
struct CallWords {
    const char* pszLabel;         // in the line of a null argument
    const char* pszRequestLabel;  // in the line of the request
    const char* pszTimeout;       // what the game reads in szError after 5000 milliseconds without an answer
};

// Writes the log line of a request: the call's name, the Req ID and the fields of the record. One
// specialisation for each record, in ShopCalls.cpp and StorageCalls.cpp.
template <class Record>
void LogFields(const char* pszLabel, const RecordSend<Record>& record);

// The request frame's view of such a call. The caller's record has to outlive the call; it is only read.
template <class Record, class RequestMessage, class AnswerMessage, const CallWords& kWords>
struct RecordCall : CallBase {
    using Request = RequestMessage;
    using Answer = AnswerMessage;
    static constexpr const char* kLabel = kWords.pszLabel;
    static constexpr const char* kTimeout = kWords.pszTimeout;

    explicit RecordCall(const Record* p) : pReq(p) {}

    bool HasNullArg() const { return pReq == nullptr; }
    // A copy of the caller's record; its texts end in a NUL even where the game has filled a field to its
    // end.
    RecordSend<Record> MakeRecord(int nReqID) const
    {
        RecordSend<Record> send{*pReq, nReqID};
        EndTexts(send.record);
        return send;
    }
    void LogRequest(const RecordSend<Record>& send) const { LogFields(kWords.pszRequestLabel, send); }

    const Record* pReq;
};
