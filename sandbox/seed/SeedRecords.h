// Wire records in a seed. The keys are the record's fields, userId for strUserID. A value that is longer than
// the field in which a connector keeps it is an error.
#pragma once

#include <initializer_list>
#include <string>

#include "sandbox/base/Json.h"
#include "wirova/WirovaBase.h"

namespace Sandbox {

// Sets the fields whose keys the object has. Compulsory keys must be there and not be empty; keys of
// workedOut must not be there. Throws JsonError.
void ReadRecord(Wirova::IMessage& rec, JsonObject& object, std::initializer_list<const char*> compulsory,
                std::initializer_list<const char*> workedOut = {});
// These throw JsonError for a rate above 100 percent or no discount at all, and for a date that does not
// exist.
void CheckDiscount(const JsonObject& object, int nRate, int nAmount);
void CheckDate(const JsonObject& object, const char* pszKey, const std::string& strDate);
// The record under the keys of a seed, without the fields that the sandbox works out.
Json RecordToJson(const Wirova::IMessage& rec, std::initializer_list<const char*> workedOut = {});

}  // namespace Sandbox
