#include "sandbox/base/Arguments.h"

#include <algorithm>
#include <climits>
#include <nlohmann/json.hpp>

#include "sandbox/base/DateText.h"
#include "sandbox/base/Printable.h"

namespace Sandbox {
namespace {

using Type = Argument::Type;

constexpr const char* kTypeNames[] = {"text", "date",     "number", "fraction", "flag",
                                      "char", "wireFlag", "texts",  "numbers",  "objects"};

const char* NameOf(Type type) { return kTypeNames[static_cast<int>(type)]; }

std::string Listed(const std::vector<std::string>& vecTexts)
{
    std::string strAll;
    for (std::size_t i = 0; i < vecTexts.size(); ++i)
        strAll += (i == 0 ? "" : i + 1 == vecTexts.size() ? " or " : ", ") + vecTexts[i];
    return strAll;
}

bool IsByte(const Json& value)
{
    return value.is_number_integer() && value.get<std::int64_t>() >= 0 &&
           value.get<std::int64_t>() <= UCHAR_MAX;
}

void CheckText(JsonObject& object, const Argument& argument)
{
    const std::string strText =
        object.Text(argument.strName, static_cast<std::size_t>(argument.nMax), nullptr);
    if (strText.empty() && argument.nMin > 0)
        object.Fail(argument.strName, "must not be empty");
    if (argument.type == Type::Date && !ParseDate(strText))
        object.Fail(argument.strName, "14 digits, YYYYMMDDhhmmss, of a day that exists are expected");
    const auto& vecChoices = argument.vecChoices;
    if (!vecChoices.empty() && std::find(vecChoices.begin(), vecChoices.end(), strText) == vecChoices.end()) {
        object.Fail(argument.strName, vecChoices.size() > 12 ? "there is no such one: " + Quoted(strText)
                                                             : Listed(vecChoices) + " is expected");
    }
}

void CheckElements(JsonObject& object, const Argument& argument)
{
    object.List(argument.strName, [&](const Json& element, const std::string& strPlace) {
        if (argument.type == Type::Texts) {
            const auto nBytes = element.is_string() ? element.get_ref<const std::string&>().size() : SIZE_MAX;
            if (nBytes > static_cast<std::size_t>(argument.nMax) ||
                nBytes < static_cast<std::size_t>(argument.nMin))
                throw JsonError(strPlace + ": a text of " + std::to_string(argument.nMin) + " to " +
                                std::to_string(argument.nMax) + " bytes is expected");
        } else if (!element.is_number_integer() || element.get<std::int64_t>() < argument.nMin ||
                   element.get<std::int64_t>() > argument.nMax) {
            throw JsonError(strPlace + ": a whole number is expected");
        }
    });
}

// Checks an argument that the object has. Only lists of objects are changed: their elements get defaults.
void CheckValue(JsonObject& object, const Argument& argument, Json& value)
{
    const std::string& strName = argument.strName;
    switch (argument.type) {
        case Type::Text:
        case Type::Date:
            return CheckText(object, argument);
        case Type::Number:
            object.Number(strName, argument.nMin, argument.nMax);
            return;
        case Type::Fraction:
            object.Fraction(strName, 0);
            return;
        case Type::Flag:
            object.Flag(strName);
            return;
        case Type::Char:
            if (!IsByte(value) && !(value.is_string() && value.get_ref<const std::string&>().size() == 1))
                object.Fail(strName, "a text of one character or a number from 0 to 255 is expected");
            return;
        case Type::WireFlag:
            if (!IsByte(value) && !value.is_boolean())
                object.Fail(strName, "true or false or a number from 0 to 255 is expected");
            return;
        case Type::Texts:
        case Type::Numbers:
            return CheckElements(object, argument);
        case Type::Objects:
            break;
    }
    Json elements = Json::array();
    object.List(strName, [&](const Json& element, const std::string& strPlace) {
        elements.push_back(CheckArguments(element, argument.vecFields, strPlace));
    });
    value = std::move(elements);
}

}  // namespace

Argument Argument::Text(std::string strName, std::int64_t nMaxBytes, std::string strHelp)
{
    return {
        .strName = std::move(strName), .type = Type::Text, .strHelp = std::move(strHelp), .nMax = nMaxBytes};
}

Argument Argument::Date(std::string strName, std::string strHelp)
{
    return {.strName = std::move(strName), .type = Type::Date, .strHelp = std::move(strHelp), .nMax = 14};
}

Argument Argument::Number(std::string strName, std::int64_t nMin, std::int64_t nMax, std::string strHelp)
{
    return {.strName = std::move(strName),
            .type = Type::Number,
            .strHelp = std::move(strHelp),
            .nMin = nMin,
            .nMax = nMax};
}

Argument Argument::Flag(std::string strName, std::string strHelp)
{
    return {.strName = std::move(strName),
            .type = Type::Flag,
            .strHelp = std::move(strHelp),
            .strDefault = "false"};
}

Argument Argument::Objects(std::string strName, std::vector<Argument> vecFields, std::string strHelp)
{
    return {.strName = std::move(strName),
            .type = Type::Objects,
            .strHelp = std::move(strHelp),
            .strDefault = "[]",
            .vecFields = std::move(vecFields)};
}

Argument Argument::Required() &&
{
    bRequired = true;
    strDefault.reset();
    if (type == Type::Text)
        nMin = 1;
    return std::move(*this);
}

Argument Argument::Default(std::string strJson) &&
{
    strDefault = std::move(strJson);
    return std::move(*this);
}

Argument Argument::OneOf(std::vector<std::string> vecTexts) &&
{
    vecChoices = std::move(vecTexts);
    return std::move(*this);
}

Argument Argument::OnlyFor(std::vector<std::string> vecKinds) &&
{
    vecOnlyFor = std::move(vecKinds);
    return std::move(*this);
}

Arguments operator+(Arguments left, const Arguments& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Arguments Without(Arguments arguments, const std::vector<std::string>& vecNames)
{
    std::erase_if(arguments, [&](const Argument& argument) {
        return std::find(vecNames.begin(), vecNames.end(), argument.strName) != vecNames.end();
    });
    return arguments;
}

Arguments ForChange(Arguments arguments)
{
    for (Argument& argument : arguments) {
        argument.bRequired = false;
        argument.strDefault.reset();
    }
    return arguments;
}

Json CheckArguments(const Json& json, const Arguments& arguments, const std::string& strPlace)
{
    JsonObject object(json, strPlace);
    Json checked = json;
    for (const Argument& argument : arguments) {
        if (object.Find(argument.strName) != nullptr)
            CheckValue(object, argument, checked[argument.strName]);
        else if (argument.bRequired)
            object.Fail(argument.strName, "is missing");
        else if (argument.strDefault)
            checked[argument.strName] = Json::parse(*argument.strDefault);
    }
    object.Done();
    return checked;
}

Json DescribeArguments(const Arguments& arguments)
{
    Json list = Json::array();
    for (const Argument& argument : arguments) {
        Json json = {{"name", argument.strName}, {"type", NameOf(argument.type)}};
        json["required"] = argument.bRequired;
        if (!argument.strHelp.empty())
            json["help"] = argument.strHelp;
        if (argument.type == Type::Number) {
            json["min"] = argument.nMin;
            json["max"] = argument.nMax;
        } else if (argument.type == Type::Text || argument.type == Type::Texts) {
            json["maxBytes"] = argument.nMax;
        }
        if (argument.strDefault)
            json["default"] = Json::parse(*argument.strDefault);
        if (!argument.vecChoices.empty())
            json["choices"] = argument.vecChoices;
        if (!argument.vecFields.empty())
            json["fields"] = DescribeArguments(argument.vecFields);
        if (!argument.vecOnlyFor.empty())
            json["onlyFor"] = argument.vecOnlyFor;
        list.push_back(std::move(json));
    }
    return list;
}

namespace {

Json TypeSchema(const Argument& argument)
{
    const Json byte = {{"type", "integer"}, {"minimum", 0}, {"maximum", UCHAR_MAX}};
    switch (argument.type) {
        case Type::Text:
            return {{"type", "string"}, {"minLength", argument.nMin}, {"maxLength", argument.nMax}};
        case Type::Date:
            return {{"type", "string"}, {"pattern", "^[0-9]{14}$"}};
        case Type::Number:
            return {{"type", "integer"}, {"minimum", argument.nMin}, {"maximum", argument.nMax}};
        case Type::Fraction:
            return {{"type", "number"}, {"minimum", 0}, {"maximum", 1}};
        case Type::Flag:
            return {{"type", "boolean"}};
        case Type::Char: {
            const Json one = {{"type", "string"}, {"minLength", 1}, {"maxLength", 1}};
            return {{"oneOf", Json::array({one, byte})}};
        }
        case Type::WireFlag: {
            const Json flag = {{"type", "boolean"}};
            return {{"oneOf", Json::array({flag, byte})}};
        }
        case Type::Texts:
            return {{"type", "array"}, {"items", {{"type", "string"}}}};
        case Type::Numbers:
            return {{"type", "array"}, {"items", {{"type", "integer"}}}};
        case Type::Objects:
            break;
    }
    return {{"type", "array"}, {"items", SchemaOf(argument.vecFields)}};
}

}  // namespace

Json SchemaOf(const Argument& argument)
{
    Json schema = TypeSchema(argument);
    if (!argument.vecChoices.empty())
        schema["enum"] = argument.vecChoices;
    if (!argument.strHelp.empty())
        schema["description"] = argument.strHelp;
    if (argument.strDefault)
        schema["default"] = Json::parse(*argument.strDefault);
    return schema;
}

Json SchemaOf(const Arguments& arguments)
{
    Json properties = Json::object(), required = Json::array();
    for (const Argument& argument : arguments) {
        properties[argument.strName] = SchemaOf(argument);
        if (argument.bRequired)
            required.push_back(argument.strName);
    }
    Json schema = {{"type", "object"}, {"properties", properties}, {"additionalProperties", false}};
    if (!required.empty())
        schema["required"] = required;
    return schema;
}

}  // namespace Sandbox
