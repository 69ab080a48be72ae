// Wire records in a seed. The keys are the record's fields, userId for strUserID. A value that is longer than
// the field in which a connector keeps it is an error.
#pragma once

#include <string>
#include <vector>

#include "sandbox/base/Arguments.h"
#include "wirova/WirovaBase.h"

namespace Sandbox {

using Names = std::vector<std::string>;

// The fields of a record without lists as arguments, except those that the sandbox works out. The record's
// values are the defaults. A field's name tells its bounds.
Arguments DescribeRecord(Wirova::IMessage& rec, const Names& required, const Names& workedOut = {});
// Sets the record's fields from an object that CheckArguments has returned.
void ReadRecord(Wirova::IMessage& rec, const Json& given);
// Throws JsonError for no discount at all; strPlace begins the text.
void CheckDiscount(const Json& given, const std::string& strPlace);
// The record under the keys of a seed, without the fields that the sandbox works out.
Json RecordToJson(const Wirova::IMessage& rec, const Names& workedOut = {});

}  // namespace Sandbox
