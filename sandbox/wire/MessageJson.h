// Any message of the protocol as JSON and back, by one walk over its fields. A new message class needs
// nothing here.
//
// Numbers are numbers and texts are texts. A char is a text of one character, or the byte's number if it is
// not printable. A bool is true or false, or the byte's number if it is neither 1 nor 0. Records are objects.
#pragma once

#include "sandbox/base/Arguments.h"
#include "sandbox/base/Json.h"
#include "wirova/WirovaBase.h"

namespace Sandbox {

// Bounds of what is shown of a message. Of a longer text or list the beginning is shown, and its size.
struct JsonLimits {
    std::size_t nMaxText;      // bytes of one text
    std::size_t nMaxElements;  // of one list
    std::size_t nMaxBytes;     // of a whole message, roughly
};

// The fields in wire order under their wire names; pass words are blanked.
Json FieldsToJson(const Wirova::IMessage& msg, const JsonLimits& limits);
// The same as the text of a JSON object.
std::string FieldsToText(const Wirova::IMessage& msg, const JsonLimits& limits);

// Field names in JSON: Wire is strUserID as in the message's class, Argument is userId as people write it.
enum class Naming { Wire, Argument };
std::string ArgumentName(const std::string& strField);

// Sets the fields that the object has keys for. Throws JsonError at the first wrong value; the fields before
// it are set then. The object's Done afterwards fails for keys that are no fields.
void FieldsFromJson(Wirova::IMessage& msg, JsonObject& object, Naming naming);
// The fields of a class as arguments, none required, bounded only by what the wire can carry. msg is a new
// object of the class; records are added to its lists.
Arguments DescribeFields(Wirova::IMessage& msg);

}  // namespace Sandbox
