// Wire records in a seed: the keys are the record's fields, userId for strUserID, and their values have to
// fit into what a connector keeps of them.
#pragma once

#include <initializer_list>
#include <string>

#include "sandbox/base/JsonObject.h"
#include "wirova/WirovaBase.h"

namespace Sandbox {

// Sets the fields that are there; the compulsory ones must be, and not be empty. What the sandbox works out
// by itself must not be there. Throws JsonError.
void ReadRecord(Wirova::IMessage& rec, JsonObject& object, std::initializer_list<const char*> compulsory,
                std::initializer_list<const char*> workedOut = {});
void CheckDiscount(const JsonObject& object, int nRate, int nAmount);
void CheckDate(const JsonObject& object, const char* pszKey, const std::string& strDate);
// The record under the keys of a seed, without the fields that the sandbox works out.
Json RecordToJson(const Wirova::IMessage& rec, std::initializer_list<const char*> workedOut = {});

}  // namespace Sandbox
