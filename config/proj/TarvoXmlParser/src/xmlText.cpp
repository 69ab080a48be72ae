// The tables of character lengths, the global options, comparison without case, and entities in both
// directions.
#include "config/proj/TarvoXmlParser/src/xmlText.h"

#include <algorithm>
#include <atomic>

namespace Tarvo::XmlParser {
namespace {

constexpr void SetRange(LengthTable& table, int nFirst, int nLast, std::uint8_t nLength)
{
    for (int n = nFirst; n <= nLast; ++n)
        table[static_cast<std::size_t>(n)] = nLength;
}

// The table of that encoding. Byte 0 has length 0 and ends a text;
// every byte that begins no longer character has length 1.
constexpr LengthTable MakeTable(int nEncoding)
{
    LengthTable table{};
    SetRange(table, 0x01, 0xFF, 1);
    switch (nEncoding) {
        case char_encoding_UTF8:
            SetRange(table, 0xC2, 0xDF, 2);
            SetRange(table, 0xE0, 0xEF, 3);
            SetRange(table, 0xF0, 0xF4, 4);
            break;
        case char_encoding_ShiftJIS:
            SetRange(table, 0x81, 0x9F, 2);
            SetRange(table, 0xE0, 0xEF, 2);
            break;
        case char_encoding_GB2312:
            SetRange(table, 0xA1, 0xF7, 2);
            break;
        case char_encoding_Big5:
        case char_encoding_GBK:
            SetRange(table, 0x81, 0xFE, 2);
            break;
        default:
            break;
    }
    constexpr std::uint8_t kEndsAll = kEndsContent | kEndsQuoted | kEndsText;
    for (std::uint8_t& nEntry : table)
        nEntry |= nEntry == 1 ? 0 : kEndsAll;
    const auto mark = [&table](std::string_view characters, std::uint8_t nFlags) {
        for (const char c : characters)
            table[static_cast<unsigned char>(c)] |= nFlags;
    };
    mark("<", kEndsAll);
    mark("\"'", kEndsQuoted);
    mark(" \t\n\r>=/", kEndsText);
    return table;
}

// By the values of XMLCharEncoding; the place of char_encoding_error holds the table of the single-byte
// encoding.
constexpr std::array<LengthTable, 7> kTables{
    MakeTable(char_encoding_legacy),   MakeTable(char_encoding_UTF8),   MakeTable(char_encoding_legacy),
    MakeTable(char_encoding_ShiftJIS), MakeTable(char_encoding_GB2312), MakeTable(char_encoding_Big5),
    MakeTable(char_encoding_GBK)};

// Read and written as one value by any thread.
std::atomic<Options> g_options{Options{}};
static_assert(std::atomic<Options>::is_always_lock_free);

// The five named entities; their names are compared without regard to case.
struct Entity {
    std::string_view text;
    char c;
};
constexpr std::array<Entity, 5> kEntities{{
    {"&amp;", '&'},
    {"&lt;", '<'},
    {"&gt;", '>'},
    {"&quot;", '"'},
    {"&apos;", '\''},
}};

// The entity that the text begins with, or null.
const Entity* FindEntity(std::string_view text)
{
    const auto it = std::find_if(kEntities.begin(), kEntities.end(),
                                 [&](const Entity& entity) { return StartsWithNoCase(text, entity.text); });
    return it == kEntities.end() ? nullptr : &*it;
}

// The length of the entity or numeric form at the ampersand that the text begins with; 0 if it is none.
std::size_t EntityLength(std::string_view text)
{
    if (text.size() > 1 && text[1] == '#') {
        const std::size_t nEnd = text.find(';');
        return nEnd == std::string_view::npos ? 0 : nEnd + 1;
    }
    const Entity* const pEntity = FindEntity(text);
    return pEntity == nullptr ? 0 : pEntity->text.size();
}

// 16 for a character that is no digit of any base.
int DigitValue(char c)
{
    c = ToLower(c);
    if (c >= '0' && c <= '9')
        return c - '0';
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : 16;
}

// Turns what stands between "&#" and the semicolon into one byte: decimal digits, or "x" and hexadecimal
// digits. Missing digits, other characters and the value 0, which would end the text early, are an unknown
// entity.
XMLError DecodeNumber(std::string_view digits, char& c)
{
    int nBase = 10;
    if (!digits.empty() && ToLower(digits[0]) == 'x') {
        nBase = 16;
        digits.remove_prefix(1);
    }
    int nValue = 0;
    for (const char cDigit : digits) {
        const int nDigit = DigitValue(cDigit);
        if (nDigit >= nBase)
            return eXMLErrorUnknownCharacterEntity;
        nValue = std::min(nValue * nBase + nDigit, 256);  // 256 stands for everything too large
    }
    if (nValue == 0)
        return eXMLErrorUnknownCharacterEntity;
    if (nValue > 255)
        return eXMLErrorCharacterCodeAbove255;
    c = static_cast<char>(nValue);
    return eXMLErrorNone;
}

// The offset of the first ampersand that begins neither an entity nor a numeric form; the text's length if
// there is none.
std::size_t FindUnknownEntity(const LengthTable& lengths, std::string_view text)
{
    std::size_t nPos = 0;
    while (nPos < text.size()) {
        const std::size_t nLength =
            text[nPos] == '&' ? EntityLength(text.substr(nPos)) : CharLength(lengths, text, nPos);
        if (nLength == 0)
            break;
        nPos += nLength;
    }
    return nPos;
}

}  // namespace

const LengthTable& LengthsOf(int nEncoding)
{
    return kTables[nEncoding >= 0 && nEncoding < static_cast<int>(kTables.size())
                       ? static_cast<std::size_t>(nEncoding)
                       : std::size_t{0}];
}

const LengthTable& Options::Lengths() const { return LengthsOf(nEncoding); }

Options GetGlobalOptions() { return g_options.load(); }

void SetGlobalOptions(const Options& options) { g_options.store(options); }

std::string_view StripBlanks(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix)
{
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(),
                      [](char x, char y) { return x == y || ToLower(x) == ToLower(y); });
}

bool LessNoCase::operator()(std::string_view a, std::string_view b) const
{
    if (a.size() != b.size())
        return a.size() < b.size();
    const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(),
                                      [](char p, char q) { return p == q || ToLower(p) == ToLower(q); });
    return x != a.end() && ToLower(*x) < ToLower(*y);
}

XMLError Decode(const LengthTable& lengths, std::string_view text, std::string& strOut, std::size_t& nFault)
{
    strOut.clear();
    // The whole text is tested first: an unknown entity is reported even if a bad number stands in front of
    // it.
    nFault = FindUnknownEntity(lengths, text);
    if (nFault < text.size())
        return eXMLErrorUnknownCharacterEntity;
    strOut.reserve(text.size());
    std::size_t nPos = 0;
    while (nPos < text.size()) {
        std::size_t nLength = 0;
        if (text[nPos] != '&') {
            nLength = CharLength(lengths, text, nPos);
            strOut.append(text, nPos, nLength);
        } else {
            nLength = EntityLength(text.substr(nPos));
            char c = '\0';
            if (text[nPos + 1] != '#') {
                c = FindEntity(text.substr(nPos))->c;
            } else if (const XMLError error = DecodeNumber(text.substr(nPos + 2, nLength - 3), c);
                       error != eXMLErrorNone) {
                nFault = nPos;
                return error;
            }
            strOut.push_back(c);
        }
        nPos += nLength;
    }
    return eXMLErrorNone;
}

void Encode(const LengthTable& lengths, std::string_view text, std::string& strOut)
{
    std::size_t nPos = 0;
    while (nPos < text.size()) {
        const char c = text[nPos];
        const auto it = std::find_if(kEntities.begin(), kEntities.end(),
                                     [c](const Entity& entity) { return entity.c == c; });
        const std::size_t nLength = CharLength(lengths, text, nPos);
        if (it == kEntities.end())
            strOut.append(text, nPos, nLength);
        else
            strOut.append(it->text);
        nPos += nLength;
    }
}

}  // namespace Tarvo::XmlParser
