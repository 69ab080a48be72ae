#include "sandbox/wire/MessageJson.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <nlohmann/json.hpp>
#include <string_view>

#include "wirova/messages/MessageCatalog.h"

namespace Sandbox {
namespace {

using Wirova::boolean;
using Wirova::IMessage;
using Wirova::int32;
using Wirova::int64;
using Wirova::RecordList;

constexpr std::int64_t kMaxArgumentText = 1 << 20;  // bytes of a text that comes as an argument
constexpr std::size_t kFieldBytes = 64;  // of a message's bound, for each field and element beside its text

bool IsSecret(std::string_view strField) { return strField == "strPassWD"; }

// Turns one message into JSON and keeps count of the bytes that its limits leave.
class Encoder {
public:
    explicit Encoder(const JsonLimits& limits) : m_limits(limits), m_nLeft(limits.nMaxBytes) {}

    Json Fields(const IMessage& msg)
    {
        Json json = Json::object();
        Wirova::VisitMessage(msg, [&](const char* pszName, const auto& field) {
            Take(kFieldBytes);
            json.push_back({pszName, IsSecret(pszName) ? Json("(blanked)") : Value(field)});
        });
        return json;
    }

private:
    std::size_t Take(std::size_t nWanted)
    {
        const std::size_t nTaken = std::min(nWanted, m_nLeft);
        m_nLeft -= nTaken;
        return nTaken;
    }
    // One overload for each type that a field can have.
    Json Value(int32 v) { return v; }
    Json Value(int64 v) { return v; }
    Json Value(char c)
    {
        if (c >= ' ' && c < '\x7F')
            return std::string(1, c);
        return int32{static_cast<unsigned char>(c)};
    }
    Json Value(const boolean& v)
    {
        if (v.nByte <= 1)
            return v.nByte == 1;
        return int32{v.nByte};
    }
    Json Value(const std::string& v)
    {
        const std::size_t nShown = Take(std::min(v.size(), m_limits.nMaxText));
        return nShown == v.size() ? v : v.substr(0, nShown) + "... (" + std::to_string(v.size()) + " bytes)";
    }
    Json Value(const IMessage& rec) { return Fields(rec); }
    template <class List>
        requires requires(const List& list) { list[0]; }
    Json Value(const List& list)
    {
        Json json = Json::array();
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (i == m_limits.nMaxElements || Take(kFieldBytes) < kFieldBytes) {
                json.push_back("... (" + std::to_string(list.size()) + " elements)");
                break;
            }
            json.push_back(Value(list[i]));
        }
        return json;
    }

    const JsonLimits& m_limits;
    std::size_t m_nLeft;
};

// Sets one message's fields from a JSON object; called once for each field.
class Decoder {
public:
    Decoder(JsonObject& object, Naming naming) : m_object(object), m_naming(naming) {}

    template <class Field>
    void operator()(const char* pszName, Field& field)
    {
        m_strKey = m_naming == Naming::Wire ? pszName : ArgumentName(pszName);
        if (const Json* const pValue = m_object.Find(m_strKey))
            Set(field, *pValue);
    }

private:
    void Set(int32& v, const Json&)
    {
        v = static_cast<int32>(m_object.Number(m_strKey, INT32_MIN, INT32_MAX));
    }
    void Set(int64& v, const Json&) { v = m_object.Number(m_strKey, INT64_MIN, INT64_MAX); }
    void Set(char& v, const Json& json)
    {
        if (json.is_string() && json.get_ref<const std::string&>().size() == 1)
            v = json.get_ref<const std::string&>()[0];
        else
            v = static_cast<char>(Byte(json, "a text of one character"));
    }
    void Set(boolean& v, const Json& json)
    {
        v = json.is_boolean() ? boolean(json.get<bool>()) : boolean::FromByte(Byte(json, "true or false"));
    }
    void Set(std::string& v, const Json& json)
    {
        if (!json.is_string())
            m_object.Fail(m_strKey, "a text is expected");
        v = json;
    }
    void Set(std::vector<int32>& v, const Json&) { SetList(v, &Json::is_number_integer, "whole numbers"); }
    void Set(std::vector<std::string>& v, const Json&) { SetList(v, &Json::is_string, "texts"); }
    void Set(RecordList& v, const Json&)
    {
        m_object.List(m_strKey, [&](const Json& element, const std::string& strPlace) {
            JsonObject object(element, strPlace);
            FieldsFromJson(v.Add(), object, m_naming);
            object.Done();
        });
    }
    template <class T>
    void SetList(std::vector<T>& v, bool (Json::*isElement)() const, const char* pszElements)
    {
        v.clear();
        m_object.List(m_strKey, [&](const Json& element, const std::string&) {
            bool bFits = (element.*isElement)();
            if constexpr (std::same_as<T, int32>)
                bFits = bFits && element.get<int64>() >= INT32_MIN && element.get<int64>() <= INT32_MAX;
            if (!bFits)
                m_object.Fail(m_strKey, std::string("a list of ") + pszElements + " is expected");
            v.push_back(element.get<T>());
        });
    }
    unsigned char Byte(const Json& json, const char* pszElse)
    {
        if (!json.is_number_integer() || json.get<int64>() < 0 || json.get<int64>() > UCHAR_MAX)
            m_object.Fail(m_strKey, std::string(pszElse) + " or a number from 0 to 255 is expected");
        return static_cast<unsigned char>(json.get<int64>());
    }

    JsonObject& m_object;
    Naming m_naming;
    std::string m_strKey;
};

// Describes one message's fields; called once for each field.
class Describer {
public:
    explicit Describer(Arguments& arguments) : m_arguments(arguments) {}

    template <class Field>
    void operator()(const char* pszName, Field& field)
    {
        Argument argument = Of(field);
        argument.strName = ArgumentName(pszName);
        argument.strHelp = pszName;
        m_arguments.push_back(std::move(argument));
    }

private:
    static Argument Of(int32&) { return Argument::Number("", INT32_MIN, INT32_MAX, ""); }
    static Argument Of(int64&) { return Argument::Number("", INT64_MIN, INT64_MAX, ""); }
    static Argument Of(char&) { return {.strName = "", .type = Argument::Type::Char}; }
    static Argument Of(boolean&) { return {.strName = "", .type = Argument::Type::WireFlag}; }
    static Argument Of(std::string&) { return Argument::Text("", kMaxArgumentText, ""); }
    static Argument Of(std::vector<int32>&)
    {
        return {.strName = "", .type = Argument::Type::Numbers, .nMin = INT32_MIN, .nMax = INT32_MAX};
    }
    static Argument Of(std::vector<std::string>&)
    {
        return {.strName = "", .type = Argument::Type::Texts, .nMax = kMaxArgumentText};
    }
    static Argument Of(RecordList& list)
    {
        return {.strName = "", .type = Argument::Type::Objects, .vecFields = DescribeFields(list.Add())};
    }

    Arguments& m_arguments;
};

bool IsUpper(char c) { return std::isupper(static_cast<unsigned char>(c)) != 0; }

}  // namespace

Json FieldsToJson(const IMessage& msg, const JsonLimits& limits) { return Encoder(limits).Fields(msg); }

std::string FieldsToText(const IMessage& msg, const JsonLimits& limits)
{
    return DumpJson(FieldsToJson(msg, limits));
}

// Drops the prefix that tells the type (str, n, b) and makes capitals small, except those that begin a word
// behind the first: strUserID is userId, strListImageURL is listImageUrl.
std::string ArgumentName(const std::string& strField)
{
    std::string strName(std::find_if(strField.begin(), strField.end(), IsUpper), strField.end());
    for (std::size_t i = strName.size(); i-- > 0;) {
        const bool bFollowsCapital = i > 0 && IsUpper(strName[i - 1]);
        const bool bBeginsWord =
            i + 1 < strName.size() && std::islower(strField[strField.size() - strName.size() + i + 1]) != 0;
        if (i == 0 || (bFollowsCapital && !bBeginsWord))
            strName[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(strName[i])));
    }
    return strName;
}

void FieldsFromJson(IMessage& msg, JsonObject& object, Naming naming)
{
    Wirova::VisitMessage(msg, Decoder(object, naming));
}

Arguments DescribeFields(IMessage& msg)
{
    Arguments arguments;
    Wirova::VisitMessage(msg, Describer(arguments));
    return arguments;
}

}  // namespace Sandbox
