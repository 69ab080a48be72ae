#include "sandbox/wire/AnyMessage.h"

#include <algorithm>

#include "wirova/messages/StorageMessages.h"

namespace Sandbox {
namespace {

using Wirova::ClassInfo;
using Wirova::IMessage;
using Wirova::int32;

constexpr std::string_view kToService = "XC2S_", kToConnector = "XS2C_", kReq = "Req", kAns = "Ans";

// Calls with(field) for the field of that name and type; calls nothing if the message has no such field.
template <class Field, class With>
void WithField(IMessage& msg, std::string_view strName, const With& with)
{
    Wirova::VisitMessage(msg, [&](const char* pszName, auto& field) {
        if constexpr (std::is_same_v<std::remove_reference_t<decltype(field)>, Field>) {
            if (pszName == strName)
                with(field);
        }
    });
}

constexpr std::size_t kMaxRecords = 100;  // of a list, whose users are looked at

// Collects the users of one message; called once for each field.
struct UserCollector {
    std::vector<std::string>& vecUsers;

    void operator()(const char* pszName, const std::string& strValue) const
    {
        const std::string_view strName = pszName;
        if (!strValue.empty() && (strName.ends_with("UserID") || strName.ends_with("UserNo")))
            vecUsers.push_back(strValue);
    }
    void operator()(const char*, Wirova::RecordList& list) const
    {
        for (std::size_t i = 0; i < list.size() && i < kMaxRecords; ++i)
            Wirova::VisitMessage(list[i], *this);
    }
    template <class Other>
    void operator()(const char*, const Other&) const
    {
    }
};

}  // namespace

const ClassInfo* FindClassByName(std::string_view strName)
{
    const auto all = Wirova::AllClasses();
    const auto it = std::find_if(all.begin(), all.end(), [&](const ClassInfo& info) {
        return !info.bRecord && strName == info.pszName;
    });
    return it != all.end() ? &*it : nullptr;
}

bool ComesFromConnector(const ClassInfo& info)
{
    // This answer goes to the connector, although its name says the opposite.
    return info.nMsgID != XC2S_RequestUseStorageAns::kMsgID &&
           std::string_view(info.pszName).starts_with(kToService);
}

const ClassInfo* AnswerOf(const ClassInfo& info)
{
    const std::string_view strName = info.pszName;
    if (!strName.ends_with(kReq))
        return nullptr;
    const bool bFromConnector = ComesFromConnector(info);
    const std::string strRest =
        std::string(strName.substr(kToService.size(), strName.size() - kToService.size() - kReq.size())) +
        std::string(kAns);
    for (const std::string_view strPrefix : {kToConnector, kToService}) {
        const ClassInfo* const pAnswer = FindClassByName(std::string(strPrefix) + strRest);
        if (pAnswer != nullptr && ComesFromConnector(*pAnswer) != bFromConnector)
            return pAnswer;
    }
    return nullptr;
}

std::optional<int32> GetReqID(const IMessage& msg) { return GetNumber(msg, "nReqID"); }

std::optional<int32> GetNumber(const IMessage& msg, std::string_view strField)
{
    std::optional<int32> nNumber;
    WithField<int32>(const_cast<IMessage&>(msg), strField, [&](const int32& v) { nNumber = v; });
    return nNumber;
}

std::string GetText(const IMessage& msg, std::string_view strField)
{
    std::string strText;
    WithField<std::string>(const_cast<IMessage&>(msg), strField, [&](const std::string& v) { strText = v; });
    return strText;
}

std::optional<int> GetResult(const IMessage& msg)
{
    std::optional<int> nResult = GetNumber(msg, "nResult");
    if (!nResult)
        nResult = GetNumber(msg, "nState");
    WithField<Wirova::boolean>(const_cast<IMessage&>(msg), "bSuccess",
                               [&](const Wirova::boolean& v) { nResult = v.nByte == 1 ? 0 : 1; });
    return nResult;
}

void SetReqID(IMessage& msg, int32 nReqID)
{
    WithField<int32>(msg, "nReqID", [&](int32& v) { v = nReqID; });
}

bool SetRefused(IMessage& msg, int nResult, const std::string& strText)
{
    bool bHasResult = false;
    for (const char* const pszName : {"nResult", "nState"})
        WithField<int32>(msg, pszName, [&](int32& v) { v = nResult, bHasResult = true; });
    WithField<Wirova::boolean>(msg, "bSuccess", [&](Wirova::boolean& v) { v = false, bHasResult = true; });
    for (const char* const pszName : {"strErrorMsg", "strMessage"})
        WithField<std::string>(msg, pszName, [&](std::string& v) { v = strText; });
    return bHasResult;
}

std::vector<std::string> UsersNamedBy(const IMessage& msg)
{
    std::vector<std::string> vecUsers;
    Wirova::VisitMessage(const_cast<IMessage&>(msg), UserCollector{vecUsers});
    return vecUsers;
}

void EchoFields(const IMessage& req, IMessage& ans)
{
    if (const auto nReqID = GetReqID(req))
        SetReqID(ans, *nReqID);
    for (const char* const pszName : {"strUserID", "strUserNo", "strUserIP"}) {
        WithField<std::string>(const_cast<IMessage&>(req), pszName, [&](const std::string& v) {
            WithField<std::string>(ans, pszName, [&](std::string& copy) { copy = v; });
        });
    }
}

}  // namespace Sandbox
