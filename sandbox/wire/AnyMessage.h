// What holds for a message of any class: its direction, the class that answers it, and the fields that most
// classes have under the same name.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wirova/messages/MessageCatalog.h"

namespace Sandbox {

// The message class of that name; null for an unknown name and for a record, which never travels alone.
const Wirova::ClassInfo* FindClassByName(std::string_view strName);
bool ComesFromConnector(const Wirova::ClassInfo& info);
// The class of the answer; null for a class that is no request or has no answer.
const Wirova::ClassInfo* AnswerOf(const Wirova::ClassInfo& info);

std::optional<Wirova::int32> GetReqID(const Wirova::IMessage& msg);
void SetReqID(Wirova::IMessage& msg, Wirova::int32 nReqID);  // does nothing for a class without Req ID
// The field of that name; nothing, or an empty text, for a class without such a field.
std::optional<Wirova::int32> GetNumber(const Wirova::IMessage& msg, std::string_view strField);
std::string GetText(const Wirova::IMessage& msg, std::string_view strField);
// nResult or nState, or 0 for a bSuccess of 1 and 1 for any other; nothing for a class without a result.
std::optional<int> GetResult(const Wirova::IMessage& msg);
// Makes an answer a refusal: sets nResult or nState or bSuccess, and strErrorMsg or strMessage, whichever its
// class has. False if the class has no field for a result.
bool SetRefused(Wirova::IMessage& msg, int nResult, const std::string& strText);
// The user ids and numbers that the message has, those of its first records included.
std::vector<std::string> UsersNamedBy(const Wirova::IMessage& msg);
// Copies the fields that an answer repeats of its request: Req ID, user id, user number and address.
void EchoFields(const Wirova::IMessage& req, Wirova::IMessage& ans);

}  // namespace Sandbox
