#include "sandbox/Likeness.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

namespace Sandbox {
namespace {

// Fields that hold a number which the service or the library has given, and the number's kind.
const std::map<std::string, std::string, std::less<>> kNumbers = {
    {"nReqID", "request"},  {"strSeqNo", "session"},  {"nSeqNo", "session"},
    {"nOrderSeq", "order"}, {"nStorageSeq", "entry"}, {"vecStorageSeq", "entry"},
};
const std::set<std::string> kTimes = {"strConnectTime"};

// A Req ID belongs to one kind of request and to its answer.
std::string NumberOf(const std::string& strClass, const std::string& strField, const Json& recorded)
{
    std::string strKey = kNumbers.find(strField)->second;
    if (strKey == "request") {
        std::string_view strBase = strClass;
        strBase.remove_prefix(std::min<std::size_t>(strBase.size(), 5));  // XC2S_ or XS2C_
        strBase.remove_suffix(std::min<std::size_t>(strBase.size(), 3));  // Req or Ans
        strKey += std::string(strBase);
    }
    return strKey + ' ' + DumpJson(recorded);
}

// Numbers that are the same whoever gives them: none, and those that nobody waits for.
bool IsFixed(const Json& number)
{
    return number == 0 || number == -1 || number == "" || number == "0" || !number.is_primitive();
}

bool IsDate(const Json& json)
{
    const auto* const pText = json.get_ptr<const std::string*>();
    return pText != nullptr && pText->size() == 14 &&
           std::ranges::all_of(*pText, [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

// Calls visit(name of the field, recorded, live) for each pair of values; a value that one side does not have
// is null.
template <class Visit>
void Likeness::Walk(const std::string& strClass, const std::string& strField, const Json& recorded,
                    const Json& live, const Visit& visit) const
{
    if (recorded.is_object() && live.is_object()) {
        for (const auto& [strName, value] : recorded.items())
            Walk(strClass, strName, value, live.contains(strName) ? live[strName] : Json(), visit);
        for (const auto& [strName, value] : live.items()) {
            if (!recorded.contains(strName))
                visit(strName, Json(), value);
        }
    } else if (recorded.is_array() && live.is_array() && recorded.size() == live.size()) {
        for (std::size_t n = 0; n < recorded.size(); ++n)
            Walk(strClass, strField, recorded[n], live[n], visit);
    } else {
        visit(strField, recorded, live);
    }
}

bool Likeness::IsSame(const std::string& strClass, const std::string& strField, const Json& recorded,
                      const Json& live) const
{
    if (recorded == live && !kNumbers.contains(strField))
        return true;
    if (kTimes.contains(strField) || m_setIgnored.contains(strField))
        return true;
    if (strField.find("Date") != std::string::npos && IsDate(recorded) && IsDate(live))
        return true;
    if (!kNumbers.contains(strField) || IsFixed(recorded) || IsFixed(live))
        return recorded == live;
    const auto it = m_mapNumbers.find(NumberOf(strClass, strField, recorded));
    return it == m_mapNumbers.end() || it->second == live;
}

std::vector<std::string> Likeness::Compare(const std::string& strClass, const Json& recorded,
                                           const Json& live) const
{
    std::vector<std::string> vecDiffs;
    Walk(strClass, "", recorded, live, [&](const std::string& strField, const Json& was, const Json& is) {
        if (!IsSame(strClass, strField, was, is))
            vecDiffs.push_back(strField + " is " + DumpJson(is) + " and not " + DumpJson(was));
    });
    return vecDiffs;
}

void Likeness::Learn(const std::string& strClass, const Json& recorded, const Json& live)
{
    Walk(strClass, "", recorded, live, [&](const std::string& strField, const Json& was, const Json& is) {
        if (kNumbers.contains(strField) && !IsFixed(was) && !IsFixed(is))
            m_mapNumbers.emplace(NumberOf(strClass, strField, was), is);
    });
}

bool Likeness::AnswersTheSame(const std::string& strClass, const Json& recorded, const Json& live) const
{
    return IsSame(strClass, "nReqID", recorded.value("nReqID", Json()), live.value("nReqID", Json()));
}

}  // namespace Sandbox
