// Any message of the protocol as JSON and back: one walk over the fields, no class is named.
//
// Numbers are numbers and texts are texts. A char is a text of one character, or the byte's number if it is
// not printable. A bool is true or false, or the byte's number if it is neither 1 nor 0. Records are objects.
#pragma once

#include "sandbox/base/JsonObject.h"
#include "wirova/WirovaBase.h"

namespace Sandbox {

// Of what is longer the beginning is shown, and its size.
struct JsonLimits {
    std::size_t nMaxText;      // bytes of one text
    std::size_t nMaxElements;  // of one list
    std::size_t nMaxBytes;     // of all texts and records of a message, about
};

// The fields in wire order, under their names, pass words blanked.
Json FieldsToJson(const Wirova::IMessage& msg, const JsonLimits& limits);

// How a JSON object calls a field: strUserID as on the wire, or userId.
enum class Naming { Wire, Argument };
std::string ArgumentName(const std::string& strField);

// Sets the fields that the object has keys for. Throws JsonError; the fields before that one are set then.
// Keys that are no fields stay for the object's Done.
void FieldsFromJson(Wirova::IMessage& msg, JsonObject& object, Naming naming);

// JSON as text, whatever bytes its texts hold.
std::string DumpJson(const Json& json, int nIndent = -1);

}  // namespace Sandbox
