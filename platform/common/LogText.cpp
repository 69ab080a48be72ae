#include "platform/common/LogText.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "platform/Logova.h"

namespace Logova {

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

// Takes the length of a conversion (hh, h, l, ll, j, z, t, L, I64) off the format.
std::string TakeLength(const char*& pszFormat)
{
    for (const char* pszLength : {"hh", "h", "ll", "l", "j", "z", "t", "L", "I64"}) {
        const std::size_t nLength = std::strlen(pszLength);
        if (std::strncmp(pszFormat, pszLength, nLength) == 0) {
            pszFormat += nLength;
            return pszLength;
        }
    }
    return {};
}

// A whole number of any length. A type that is wider than an int is printed as a long long.
void PrintInteger(Writer& out, const std::string& strSpecification, const std::string& strLength, char cKind,
                  Arguments& args)
{
    const bool bSigned = cKind == 'd' || cKind == 'i';
    const std::string strLong = strSpecification + "ll" + cKind;
    if (strLength.empty() || strLength.front() == 'h')
        out.Print(strSpecification + strLength + cKind, va_arg(args.list, int));
    else if (strLength == "l" && bSigned)
        out.Print(strLong, static_cast<long long>(va_arg(args.list, long)));
    else if (strLength == "l")
        out.Print(strLong, static_cast<unsigned long long>(va_arg(args.list, unsigned long)));
    else
        out.Print(strLong, va_arg(args.list, long long));
}

// A conversion with flags, a width, a precision or a length, from behind its percent sign; the rest as
// WriteConversion. %n stores nothing.
bool WriteSpecified(Writer& out, const char*& pszFormat, Arguments& args)
{
    std::string strSpecification = "%";
    for (; *pszFormat != '\0' && std::strchr("-+ #0123456789.*", *pszFormat) != nullptr; ++pszFormat) {
        if (*pszFormat == '*')
            strSpecification += std::to_string(va_arg(args.list, int));
        else
            strSpecification += *pszFormat;
    }
    const std::string strLength = TakeLength(pszFormat);
    const char cKind = *pszFormat == '\0' ? '\0' : *pszFormat++;
    const auto is = [cKind](std::string_view kinds) { return kinds.find(cKind) != std::string_view::npos; };
    if (strLength.empty() && cKind == 's') {
        PrintForeign(out, strSpecification, va_arg(args.list, const char*));
    } else if (strLength.empty() && cKind == 'c') {
        const char szText[]{static_cast<char>(va_arg(args.list, int)), '\0'};
        PrintForeign(out, strSpecification, szText);
    } else if (is("diuxXo")) {
        PrintInteger(out, strSpecification, strLength, cKind, args);
    } else if (is("fFeEgGaA")) {
        const double dValue = strLength == "L" ? static_cast<double>(va_arg(args.list, long double))
                                               : va_arg(args.list, double);
        out.Print(strSpecification + cKind, dValue);
    } else if (is("p")) {
        out.Print(strSpecification + cKind, va_arg(args.list, void*));
    } else if (is("n")) {
        static_cast<void>(va_arg(args.list, void*));
    } else {
        return false;
    }
    return true;
}

// Writes one conversion and takes it off the format. False, with nothing written, if there is no such
// conversion.
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
    for (;;) {
        const std::size_t nText = std::strcspn(pszFormat, "%");
        out.Put({pszFormat, nText});
        pszFormat += nText;
        if (*pszFormat == '\0')
            return out.GetText();
        const char* const pszPercent = pszFormat++;
        if (WriteConversion(out, pszFormat, known))
            continue;
        out.Put(pszPercent);  // the arguments behind cannot be told apart
        return out.GetText();
    }
}

}  // namespace Logova
