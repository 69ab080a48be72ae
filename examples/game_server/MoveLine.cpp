#include "MoveLine.h"

#include <sstream>

#include "Text.h"

namespace {

// A text as hexadecimal digits after a colon, because it may be empty and may hold commas and spaces.
std::string ToHex(const char* pszText)
{
    static const char kDigits[] = "0123456789ABCDEF";
    std::string strHex = ":";
    for (; *pszText != '\0'; ++pszText) {
        const auto byte = static_cast<unsigned char>(*pszText);
        strHex += kDigits[byte >> 4];
        strHex += kDigits[byte & 15];
    }
    return strHex;
}

template <std::size_t N>
bool FromHex(const std::string& strHex, char (&szField)[N])
{
    if (strHex.empty() || strHex[0] != ':' || strHex.size() % 2 == 0 || strHex.size() / 2 >= N ||
        strHex.find_first_not_of("0123456789ABCDEF", 1) != std::string::npos)
        return false;
    std::string strText;
    for (std::size_t i = 1; i < strHex.size(); i += 2)
        strText += static_cast<char>(std::stoi(strHex.substr(i, 2), nullptr, 16));
    Put(szField, strText);
    return strText.find('\0') == std::string::npos;
}

}  // namespace

std::string WriteMoveLine(const _USER_MOVE_INFO& info)
{
    std::ostringstream line;
    line << info.nBillType << ',' << info.nProductID << ',' << info.nSeqNo << ',' << int{info.bFirst} << ','
         << int{info.bFree} << ',' << ToHex(info.szCRMCode) << ',' << ToHex(info.szEndDate);
    return line.str();
}

bool ReadMoveLine(const std::string& strText, _USER_MOVE_INFO& info)
{
    std::istringstream line(strText);
    int nFirst = 0, nFree = 0;
    char comma[5] = {};
    std::string strCRMCode, strEndDate;
    line >> info.nBillType >> comma[0] >> info.nProductID >> comma[1] >> info.nSeqNo >> comma[2] >> nFirst >>
        comma[3] >> nFree >> comma[4];
    std::getline(line, strCRMCode, ',');
    std::getline(line, strEndDate);
    if (!line || std::string(comma, 5) != ",,,,," || nFirst < 0 || nFirst > 1 || nFree < 0 || nFree > 255)
        return false;
    info.bFirst = static_cast<unsigned char>(nFirst);
    info.bFree = static_cast<unsigned char>(nFree);
    return FromHex(strCRMCode, info.szCRMCode) && FromHex(strEndDate, info.szEndDate);
}
