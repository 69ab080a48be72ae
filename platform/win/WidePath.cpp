#include "platform/win/WidePath.h"

#include <windows.h>

#include "platform/Host.h"

namespace Host {

namespace {

std::wstring Widen(UINT nCodePage, std::string_view text)
{
    const int nLength = static_cast<int>(text.size());
    std::wstring strWide(text.size(), L'\0');  // no code page has a byte that becomes two units
    strWide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(nCodePage, 0, text.data(), nLength, strWide.data(), nLength)));
    return strWide;
}

std::string Narrow(UINT nCodePage, std::wstring_view wide)
{
    constexpr std::size_t kLongest = 4;  // bytes of a unit, in every code page
    std::string strText(wide.size() * kLongest, '\0');
    strText.resize(static_cast<std::size_t>(
        WideCharToMultiByte(nCodePage, 0, wide.data(), static_cast<int>(wide.size()), strText.data(),
                            static_cast<int>(strText.size()), nullptr, nullptr)));
    return strText;
}

bool IsUtf8(std::string_view text)
{
    return text.empty() || MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                               static_cast<int>(text.size()), nullptr, 0) != 0;
}

}  // namespace

namespace Internal {

std::wstring ToWide(std::string_view strPath) { return Widen(IsUtf8(strPath) ? CP_UTF8 : CP_ACP, strPath); }

std::string FromWide(std::wstring_view strPath) { return Narrow(CP_UTF8, strPath); }

}  // namespace Internal

std::string PathFromText(const std::string& strText)
{
    return IsUtf8(strText) ? strText : Narrow(CP_UTF8, Widen(CP_ACP, strText));
}

std::string TextFromPath(const std::string& strPath) { return Narrow(CP_ACP, Internal::ToWide(strPath)); }

}  // namespace Host
