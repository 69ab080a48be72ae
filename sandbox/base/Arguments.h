// What a request, or an object of a seed file, may say: a list of arguments with their types, bounds and
// defaults. The same list checks what comes in, is shown by GET /routes, and becomes GET /openapi.json.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/base/Json.h"

namespace Sandbox {

struct Argument {
    enum class Type {
        Text,
        Date,      // 14 digits, of a day that exists
        Number,    // a whole number
        Fraction,  // from 0 to 1
        Flag,
        Char,      // a text of one character, or the number of a byte
        WireFlag,  // true, false, or the number of a byte
        Texts,     // a list
        Numbers,   // a list
        Objects,   // a list of objects, which vecFields describes
    };

    std::string strName;
    Type type = Type::Text;
    std::string strHelp{};  // for people; begins with a small letter and has no full stop
    bool bRequired = false;
    std::int64_t nMin = 0, nMax = 0;  // of a number, or of the bytes of a text or of each text of a list
    std::optional<std::string> strDefault{};  // JSON; without one an argument that is not given stays away
    std::vector<std::string> vecChoices{};    // empty: whatever the type allows
    std::vector<Argument> vecFields{};
    // The argument counts only if the argument "kind" is one of these; empty: always.
    std::vector<std::string> vecOnlyFor{};

    static Argument Text(std::string strName, std::int64_t nMaxBytes, std::string strHelp);
    static Argument Date(std::string strName, std::string strHelp);
    static Argument Number(std::string strName, std::int64_t nMin, std::int64_t nMax, std::string strHelp);
    static Argument Flag(std::string strName, std::string strHelp);  // false unless given
    static Argument Objects(std::string strName, std::vector<Argument> vecFields, std::string strHelp);

    Argument Required() &&;  // a required text is not empty either
    Argument Default(std::string strJson) &&;
    Argument OneOf(std::vector<std::string> vecTexts) &&;
    Argument OnlyFor(std::vector<std::string> vecKinds) &&;
};

using Arguments = std::vector<Argument>;

// Both lists together.
Arguments operator+(Arguments left, const Arguments& right);
// The arguments without those names, for a request that names its object otherwise.
Arguments Without(Arguments arguments, const std::vector<std::string>& vecNames);
// The arguments of a request that changes something: none is required, and none has a default.
Arguments ForChange(Arguments arguments);

// Checks an object and returns it with the defaults of all arguments that it has not. strPlace begins the
// error texts. Throws JsonError for the first mistake.
Json CheckArguments(const Json& json, const Arguments& arguments, const std::string& strPlace = "");

Json DescribeArguments(const Arguments& arguments);  // for GET /routes
Json SchemaOf(const Argument& argument);             // as OpenAPI has it
Json SchemaOf(const Arguments& arguments);           // of an object of these arguments

}  // namespace Sandbox
