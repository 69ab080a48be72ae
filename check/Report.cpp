#include "check/Report.h"

#include <algorithm>
#include <cstdio>

#include "platform/Host.h"

namespace Check {

namespace {

const char* NameOf(Weight weight)
{
    switch (weight) {
        case Weight::Error:
            return "error: ";
        case Weight::Warning:
            return "warning: ";
        default:
            return "";
    }
}

// Bytes of the UTF-8 character at the front; 0 if there is none.
std::size_t CharacterLength(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t nLength = first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (nLength == 0 || first > 0xF4 || text.size() < nLength)
        return 0;
    const auto isLater = [](unsigned char c) { return (c & 0xC0) == 0x80; };
    return std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(nLength), isLater)
               ? nLength
               : 0;
}

std::string Counted(int nCount, const char* pszWord)
{
    return std::to_string(nCount) + " " + pszWord + (nCount == 1 ? "" : "s");
}

}  // namespace

std::string Quote(std::string_view text)
{
    constexpr int kMostCharacters = 60;
    std::string strResult = "\"";
    for (int n = 0; !text.empty(); ++n) {
        if (n == kMostCharacters)
            return strResult + "...\"";
        const std::size_t nLength = CharacterLength(text);
        const auto first = static_cast<unsigned char>(text.front());
        if (nLength == 0 || first < 0x20 || first == 0x7F) {
            char szHex[8];
            std::snprintf(szHex, sizeof(szHex), "\\x%02X", first);
            strResult += szHex;
        } else {
            strResult += text.substr(0, nLength);
        }
        text.remove_prefix(std::max<std::size_t>(nLength, 1));
    }
    return strResult + "\"";
}

int Report::Count(Weight weight) const
{
    return static_cast<int>(std::count_if(m_vecEntries.begin(), m_vecEntries.end(),
                                          [&](const Entry& entry) { return entry.weight == weight; }));
}

void Report::Print()
{
    // Entries of one file stand behind one another.
    for (auto it = m_vecEntries.begin(); it != m_vecEntries.end();) {
        const auto itEnd = std::find_if(it, m_vecEntries.end(),
                                        [&](const Entry& entry) { return entry.strFile != it->strFile; });
        std::stable_sort(it, itEnd,
                         [](const Entry& left, const Entry& right) { return left.nLine < right.nLine; });
        it = itEnd;
    }
    for (const Entry& entry : m_vecEntries) {
        std::string strText = Host::TextFromPath(entry.strFile);
        if (entry.nLine > 0)
            strText += ":" + std::to_string(entry.nLine);
        strText += strText.empty() ? "" : ": ";
        std::printf("%s%s%s\n", strText.c_str(), NameOf(entry.weight), entry.strSentence.c_str());
        if (!entry.strCure.empty())
            std::printf("    %s\n", entry.strCure.c_str());
    }
    std::printf("%s, %s\n", Counted(Count(Weight::Error), "error").c_str(),
                Counted(Count(Weight::Warning), "warning").c_str());
}

int Report::ExitCode() const { return Has(Weight::Error) ? 2 : Has(Weight::Warning) ? 1 : 0; }

}  // namespace Check
