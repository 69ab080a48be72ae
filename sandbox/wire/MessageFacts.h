// What can be said of a message without knowing its class: where it goes, what answers it, its common fields.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "wirova/messages/MessageCatalog.h"

namespace Sandbox {

// A class that travels by itself; null if there is none of that name.
const Wirova::ClassInfo* FindClassByName(std::string_view strName);
bool ComesFromConnector(const Wirova::ClassInfo& info);
// The class that answers it; null for what is no request or has no answer.
const Wirova::ClassInfo* AnswerOf(const Wirova::ClassInfo& info);

std::optional<Wirova::int32> GetReqID(const Wirova::IMessage& msg);
void SetReqID(Wirova::IMessage& msg, Wirova::int32 nReqID);  // if it has one
// Makes it a refusal: nResult or nState and bSuccess, strErrorMsg or strMessage. False if it has no result.
bool SetRefused(Wirova::IMessage& msg, int nResult, const std::string& strText);
// Copies what an answer repeats of its request.
void EchoFields(const Wirova::IMessage& req, Wirova::IMessage& ans);

}  // namespace Sandbox
