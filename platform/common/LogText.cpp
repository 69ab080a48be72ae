#include "platform/common/LogText.h"

#include <charconv>
#include <cstdio>
#include <cstring>

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

// Appends to a fixed buffer; false once it is full.
class Writer {
public:
    explicit Writer(char (&szOut)[kShortText]) : m_pBegin(szOut), m_p(szOut), m_pEnd(szOut + kShortText) {}

    bool Put(std::string_view text)
    {
        if (static_cast<std::size_t>(m_pEnd - m_p) < text.size())
            return false;
        std::memcpy(m_p, text.data(), text.size());
        m_p += text.size();
        return true;
    }
    template <class Number>
    bool PutNumber(Number n)
    {
        const auto result = std::to_chars(m_p, m_pEnd, n);
        m_p = result.ptr;
        return result.ec == std::errc();
    }
    std::string_view GetText() const { return {m_pBegin, static_cast<std::size_t>(m_p - m_pBegin)}; }

private:
    char* const m_pBegin;
    char* m_p;
    char* const m_pEnd;
};

// Writes one conversion that has no flags and takes it off the format. False if it is another one or the
// buffer is full.
bool WriteConversion(Writer& out, const char*& pszFormat, Arguments& args)
{
    switch (*pszFormat++) {
        case 's': {
            const char* const pszText = va_arg(args.list, const char*);
            return out.Put(pszText == nullptr ? "(null)" : pszText);
        }
        case 'd':
            return out.PutNumber(va_arg(args.list, int));
        case 'u':
            return out.PutNumber(va_arg(args.list, unsigned int));
        case 'c': {
            const char c = static_cast<char>(va_arg(args.list, int));
            return out.Put({&c, 1});
        }
        case '%':
            return out.Put("%");
        case 'I':
            if (std::strncmp(pszFormat, "64d", 3) != 0)
                return false;
            pszFormat += 3;
            return out.PutNumber(va_arg(args.list, long long));
        default:
            return false;
    }
}

// The formats of nearly all lines, several times as fast as the standard library does it. False if the format
// has anything else or the text is too long.
bool FormatPlain(Writer& out, const char* pszFormat, Arguments& args)
{
    for (;;) {
        const std::size_t nText = std::strcspn(pszFormat, "%");
        if (!out.Put({pszFormat, nText}))
            return false;
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

std::string_view FormatText(const char* pszFormat, std::va_list args, char (&szShort)[kShortText],
                            std::string& strLong)
{
    Arguments plain(args);
    Writer out(szShort);
    return FormatPlain(out, pszFormat, plain) ? out.GetText() : FormatAny(pszFormat, args, strLong);
}

}  // namespace Logova
