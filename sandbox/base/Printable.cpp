#include "sandbox/base/Printable.h"

#include <algorithm>

namespace Sandbox {
namespace {

constexpr std::size_t kMaxPrintable = 64;  // bytes

}  // namespace

std::string Printable(const std::string& strText)
{
    std::string strOut = strText.substr(0, kMaxPrintable);
    std::replace_if(
        strOut.begin(), strOut.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return strOut.size() < strText.size() ? strOut + "..." : strOut;
}

std::string Quoted(const std::string& strText) { return "'" + Printable(strText) + "'"; }

}  // namespace Sandbox
