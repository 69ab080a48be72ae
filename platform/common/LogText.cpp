#include "platform/common/LogText.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "platform/Logova.h"

namespace Logova {

std::string TranslateFormat(const char* pszFormat)
{
    std::string strResult;
    const char* p = pszFormat;
    while (*p != '\0') {
        if (*p != '%') {
            strResult += *p++;
            continue;
        }
        // Flags, width and precision stay as they are; a second percent sign ends it here.
        const std::size_t nPrefix = 1 + std::strspn(p + 1, "-+ #0123456789.*");
        strResult.append(p, nPrefix);
        p += nPrefix;
        if (std::strncmp(p, "I64", 3) == 0) {
            strResult += "ll";
            p += 3;
        } else if (*p == '%') {
            strResult += *p++;
        }
    }
    return strResult;
}

namespace {

// The arguments of a format, to be walked once.
struct Arguments {
    explicit Arguments(std::va_list args) { va_copy(list, args); }
    ~Arguments() { va_end(list); }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    std::va_list list;
};

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

// Appends to a fixed buffer as long as the text fits, and to strLong from then on.
class Writer {
public:
    Writer(char (&szShort)[kShortText], std::string& strLong) : m_szShort(szShort), m_strLong(strLong) {}

    void Put(std::string_view text)
    {
        if (!m_bLong && kShortText - m_nShort >= text.size()) {
            std::memcpy(m_szShort + m_nShort, text.data(), text.size());
            m_nShort += text.size();
            return;
        }
        if (!m_bLong)
            m_strLong.assign(m_szShort, m_nShort);
        m_bLong = true;
        m_strLong += text;
    }
    // Text of somebody else: no character of it ends the line or steers a terminal.
    void PutForeign(std::string_view text)
    {
        while (!text.empty()) {
            const auto pControl = std::find_if(text.begin(), text.end(), IsControl);
            const std::size_t nPlain = static_cast<std::size_t>(pControl - text.begin());
            Put(text.substr(0, nPlain));
            if (nPlain < text.size())
                PutControl(text[nPlain]);
            text.remove_prefix(std::min(nPlain + 1, text.size()));
        }
    }
    template <class Number>
    void PutNumber(Number n)
    {
        char szDigits[24];
        Put({szDigits,
             static_cast<std::size_t>(std::to_chars(szDigits, std::end(szDigits), n).ptr - szDigits)});
    }
    template <class Value>
    void Print(const std::string& strSpecification, Value value)
    {
        const int nLength = std::snprintf(nullptr, 0, strSpecification.c_str(), value);
        std::string strText(static_cast<std::size_t>(std::max(nLength, 0)), '\0');
        std::snprintf(strText.data(), strText.size() + 1, strSpecification.c_str(), value);
        Put(strText);
    }
    std::string_view GetText() const
    {
        return m_bLong ? std::string_view(m_strLong) : std::string_view(m_szShort, m_nShort);
    }

private:
    void PutControl(char c)
    {
        constexpr std::string_view kDigits = "0123456789ABCDEF";
        const auto n = static_cast<unsigned char>(c);
        const char szHex[]{'\\', 'x', kDigits[n >> 4], kDigits[n & 15]};
        Put(c == '\n' ? "\\n" : c == '\r' ? "\\r" : c == '\t' ? "\\t" : std::string_view(szHex, 4));
    }

    char (&m_szShort)[kShortText];
    std::string& m_strLong;
    std::size_t m_nShort = 0;
    bool m_bLong = false;
};

// A text with flags, a width or a precision, which counts before the text is escaped.
void PrintForeign(Writer& out, const std::string& strSpecification, const char* pszText)
{
    if (pszText == nullptr)
        pszText = "(null)";
    const std::size_t nPoint = strSpecification.find('.');
    std::size_t nLength = 0;
    if (nPoint == std::string::npos) {
        nLength = std::strlen(pszText);
    } else {  // nothing behind the precision is read
        const std::size_t nMost = std::strtoul(strSpecification.c_str() + nPoint + 1, nullptr, 10);
        while (nLength < nMost && pszText[nLength] != '\0')
            ++nLength;
    }
    out.Print(strSpecification.substr(0, nPoint) + 's', EscapeControls({pszText, nLength}).c_str());
}

// A conversion with flags, a width or a precision, from behind its percent sign; the rest as WriteConversion.
bool WriteSpecified(Writer& out, const char*& pszFormat, Arguments& args)
{
    std::string strSpecification = "%";
    for (; *pszFormat != '\0' && std::strchr("-+ #0123456789.*", *pszFormat) != nullptr; ++pszFormat) {
        if (*pszFormat == '*')
            strSpecification += std::to_string(va_arg(args.list, int));
        else
            strSpecification += *pszFormat;
    }
    const bool bLong = std::strncmp(pszFormat, "I64", 3) == 0;
    pszFormat += bLong ? 3 : 0;
    const char cKind = *pszFormat++;
    if (cKind == 's') {
        PrintForeign(out, strSpecification, va_arg(args.list, const char*));
        return true;
    }
    if (std::strchr("diuxXoc", cKind) != nullptr && cKind != '\0') {
        if (bLong)
            out.Print(strSpecification + "ll" + cKind, va_arg(args.list, long long));
        else
            out.Print(strSpecification + cKind, va_arg(args.list, int));
        return true;
    }
    if (std::strchr("fFeEgG", cKind) != nullptr && cKind != '\0') {
        out.Print(strSpecification + cKind, va_arg(args.list, double));
        return true;
    }
    return false;
}

// Writes one conversion and takes it off the format. False if it is one that no line of the system has.
bool WriteConversion(Writer& out, const char*& pszFormat, Arguments& args)
{
    const char* const pszBegin = pszFormat;
    switch (*pszFormat++) {
        case 's': {
            const char* const pszText = va_arg(args.list, const char*);
            out.PutForeign(pszText == nullptr ? "(null)" : pszText);
            return true;
        }
        case 'd':
            out.PutNumber(va_arg(args.list, int));
            return true;
        case 'u':
            out.PutNumber(va_arg(args.list, unsigned int));
            return true;
        case 'c': {
            const char c = static_cast<char>(va_arg(args.list, int));
            out.PutForeign({&c, 1});
            return true;
        }
        case '%':
            out.Put("%");
            return true;
        case 'I':
            if (std::strncmp(pszFormat, "64d", 3) == 0) {
                pszFormat += 3;
                out.PutNumber(va_arg(args.list, long long));
                return true;
            }
            break;
        default:
            break;
    }
    pszFormat = pszBegin;
    return WriteSpecified(out, pszFormat, args);
}

// Several times as fast as the standard library for the formats of nearly all lines. False if the format has
// a conversion of another kind.
bool FormatKnown(Writer& out, const char* pszFormat, Arguments& args)
{
    for (;;) {
        const std::size_t nText = std::strcspn(pszFormat, "%");
        out.Put({pszFormat, nText});
        pszFormat += nText;
        if (*pszFormat == '\0')
            return true;
        if (!WriteConversion(out, ++pszFormat, args))
            return false;
    }
}

// The rest, of any length, in strLong.
std::string_view FormatAny(const char* pszFormat, std::va_list args, std::string& strLong)
{
    Arguments first(args), second(args);
    const std::string strStandard = TranslateFormat(pszFormat);
    const int nLength = std::vsnprintf(nullptr, 0, strStandard.c_str(), first.list);
    if (nLength < 0)
        return pszFormat;
    strLong.resize(static_cast<std::size_t>(nLength));
    std::vsnprintf(strLong.data(), strLong.size() + 1, strStandard.c_str(), second.list);
    return strLong;
}

}  // namespace

std::string EscapeControls(std::string_view text)
{
    char szShort[kShortText];
    std::string strLong;
    Writer out(szShort, strLong);
    out.PutForeign(text);
    return std::string(out.GetText());
}

std::string_view FormatText(const char* pszFormat, std::va_list args, char (&szShort)[kShortText],
                            std::string& strLong)
{
    Arguments known(args);
    Writer out(szShort, strLong);
    return FormatKnown(out, pszFormat, known) ? out.GetText() : FormatAny(pszFormat, args, strLong);
}

}  // namespace Logova
