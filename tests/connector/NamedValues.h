// Values that follow from the name of their field. A wire class and a public record name their fields alike,
// so each field of a filled message has to arrive in its namesake in the record, and the other way round.
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

#include "VelkarConnector.h"

namespace Named {

// "GameIDGameIDGa...", with the name as it stands behind its prefix: szGameID and strGameID have one text.
inline std::string Text(std::string_view name, std::size_t nLength)
{
    name.remove_prefix(name.starts_with("str") ? 3 : name.starts_with("sz") ? 2 : 0);
    std::string str;
    while (str.size() < nLength)
        str += name;
    return str.substr(0, nLength);
}
inline int Number(std::string_view name)
{
    unsigned int n = 0;
    for (const char c : name)
        n = n * 31 + static_cast<unsigned char>(c);
    return static_cast<int>(n);
}
inline char Letter(std::string_view name) { return name[1]; }
// Flags are 1.
template <class Field>
Field Value(std::string_view name)
{
    return std::is_same_v<Field, unsigned char> ? Field(1)
           : std::is_same_v<Field, char>        ? static_cast<Field>(Letter(name))
                                                : static_cast<Field>(Number(name));
}

// For each public record: visit(name, field) for all its fields.
// clang-format off
#define FIELD_A(f, offset) visit(#f, record.f); FIELD_B
#define FIELD_B(f, offset) visit(#f, record.f); FIELD_A
#define FIELD_A_END
#define FIELD_B_END
#define RECORD(name, size, fields) \
    template <class Visit>         \
    void ForEachField(name& record, Visit visit) { RECORD_CAT(FIELD_A fields, _END) }
// clang-format on
#include "tests/abi/RecordFields.h"

// Texts fill their fields to the last byte, without a NUL. Handles stay null.
template <class Record>
Record Full()
{
    Record record{};
    ForEachField(record, [](const char* pszName, auto& field) {
        using Field = std::remove_reference_t<decltype(field)>;
        if constexpr (std::is_array_v<Field>)
            std::memcpy(field, Text(pszName, sizeof(field)).data(), sizeof(field));
        else if constexpr (std::is_arithmetic_v<Field>)
            field = Value<Field>(pszName);
    });
    return record;
}

// Texts are longer than any field of a record. The head of an answer and lists stay as they are.
template <class Message>
void Fill(Message& msg)
{
    Message::ForEachField(msg, [](const std::string& strName, auto& field) {
        if (strName == "nReqID" || strName == "nState" || strName == "strMessage")
            return true;
        using Field = std::remove_reference_t<decltype(field)>;
        if constexpr (requires { field.nByte; })
            field = true;
        else if constexpr (requires { field.append(""); })
            field = Text(strName, 3000);
        else if constexpr (std::is_arithmetic_v<Field>)
            field = Value<Field>(strName);
        return true;
    });
}

// The record as Fill has made its message, the fields of these names apart.
template <class Record>
void ExpectIn(Record record, const std::set<std::string>& setOthers = {})
{
    ForEachField(record, [&](const std::string& strName, auto& field) {
        using Field = std::remove_reference_t<decltype(field)>;
        if (setOthers.contains(strName))
            return;
        bool bEqual = true;
        if constexpr (std::is_array_v<Field>)
            bEqual = field == Text(strName, sizeof(field) - 1);
        else if constexpr (std::is_arithmetic_v<Field>)
            bEqual = field == Value<Field>(strName);
        EXPECT_TRUE(bEqual) << strName;
    });
}

// The named fields of a record, in the record's own order with commas between them.
template <class Record>
std::string Pick(Record record, const std::string& strNames)
{
    std::string str;
    ForEachField(record, [&](const std::string& strName, const auto& field) {
        using Field = std::remove_cvref_t<decltype(field)>;
        if ((' ' + strNames + ' ').find(' ' + strName + ' ') == std::string::npos)
            return;
        if constexpr (std::is_array_v<Field>)
            str += std::string(field) + ',';
        else if constexpr (std::is_arithmetic_v<Field>)
            str += std::to_string(field) + ',';
    });
    return str.substr(0, str.size() - 1);
}

// What travels, from words: "GameID:20" is a text of the field's name cut to that length, "@UserID:22" the
// same as user id or number with an empty text beside it, "'U1'" a text, "12" and "nLevel" four bytes,
// "cSearchType" and "bDelete" one.
inline std::string Bytes(const std::string& strWords, bool bNumber = false)
{
    std::string strBytes, strWord;
    const auto number = [&](std::uint32_t n) {
        for (const int nShift : {24, 16, 8, 0})
            strBytes += static_cast<char>(n >> nShift & 0xFF);
    };
    const auto text = [&](const std::string& str) {
        number(static_cast<std::uint32_t>(str.size()));
        strBytes += str;
    };
    for (std::istringstream words(strWords); words >> strWord;) {
        const std::size_t nColon = strWord.find(':'), nName = strWord[0] == '@';
        if (nColon != std::string::npos) {
            if (nName == 1 && bNumber)
                text("");
            text(Text(strWord.substr(nName, nColon - nName), std::stoul(strWord.substr(nColon + 1))));
            if (nName == 1 && !bNumber)
                text("");
        } else if (strWord[0] == '\'') {
            text(strWord.substr(1, strWord.size() - 2));
        } else if (std::isdigit(strWord[0])) {
            number(static_cast<std::uint32_t>(std::stoul(strWord)));
        } else if (strWord[0] == 'n') {
            number(static_cast<std::uint32_t>(Number(strWord)));
        } else {
            strBytes += strWord[0] == 'b' ? '\1' : Letter(strWord);
        }
    }
    return strBytes;
}

}  // namespace Named
