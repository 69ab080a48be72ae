// Messages written as texts, and their fields read as texts.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "wirova/messages/MessageCatalog.h"

// Sets one field from its text; a list gets one more element.
struct FieldSetter {
    void Set(Wirova::int32& v) { v = std::stoi(strValue); }
    void Set(Wirova::int64& v) { v = std::stoll(strValue); }
    void Set(char& v) { v = strValue.at(0); }
    void Set(Wirova::boolean& v)
    {
        v = Wirova::boolean::FromByte(static_cast<unsigned char>(std::stoi(strValue)));
    }
    void Set(std::string& v) { v = strValue; }
    void Set(std::vector<Wirova::int32>& v) { v.push_back(std::stoi(strValue)); }
    void Set(std::vector<std::string>& v) { v.push_back(strValue); }
    void Set(Wirova::RecordList& v);
    std::string strValue;
};

// "nReqID=7 strUserID=abc vecOption={strOptionCode=oc} vecOption={}". Throws for a field that it has not.
inline void Assign(Wirova::IMessage& msg, std::string_view fields)
{
    while (!fields.empty()) {
        if (fields[0] == ' ') {
            fields.remove_prefix(1);
            continue;
        }
        const std::size_t nEquals = fields.find('=');
        const std::string strName(fields.substr(0, nEquals));
        const bool bRecord = fields.substr(nEquals + 1, 1) == "{";
        const std::size_t nEnd = std::min(fields.find(bRecord ? '}' : ' ', nEquals), fields.size());
        const std::size_t nBegin = nEquals + (bRecord ? 2 : 1);
        FieldSetter setter{std::string(fields.substr(nBegin, nEnd - nBegin))};
        bool bFound = false;
        VisitMessage(msg, [&](const char* pszName, auto& v) {
            if (strName == pszName) {
                bFound = true;
                setter.Set(v);
            }
        });
        if (!bFound)
            throw std::invalid_argument(std::string(msg.GetMsgName()) + " has no " + strName);
        fields.remove_prefix(std::min(nEnd + 1, fields.size()));
    }
}

inline void FieldSetter::Set(Wirova::RecordList& v) { Assign(v.Add(), strValue); }

inline std::string TextOf(const std::string& v) { return v; }
inline std::string TextOf(char v) { return {v}; }
inline std::string TextOf(Wirova::boolean v) { return std::to_string(v.nByte); }
inline std::string TextOf(Wirova::int32 v) { return std::to_string(v); }
inline std::string TextOf(Wirova::int64 v) { return std::to_string(v); }
template <class T>
std::string TextOf(const std::vector<T>& v)
{
    std::string str;
    for (const T& element : v)
        str += (str.empty() ? "" : " ") + TextOf(element);
    return str;
}

// The named fields in the message's own order with commas between them, and behind a '|' those of each
// record: "0,alice|1001|1002".
inline std::string Pick(const Wirova::IMessage& msg, const std::string& strNames)
{
    std::string str;
    bool bFirst = true;
    VisitMessage(msg, [&](const char* pszName, const auto& v) {
        if constexpr (requires { v[0].GetMsgID(); }) {
            for (std::size_t i = 0; i < v.size(); ++i)
                str += '|' + Pick(v[i], strNames);
        } else if ((' ' + strNames + ' ').find(' ' + std::string(pszName) + ' ') != std::string::npos) {
            str += (bFirst ? "" : ",") + TextOf(v);
            bFirst = false;
        }
    });
    return str;
}
