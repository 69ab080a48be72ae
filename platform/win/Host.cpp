// The process, its clock, its files and its operator, on Windows.
#include "platform/Host.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "platform/common/LastError.h"
#include "platform/win/WidePath.h"

namespace Host {

namespace {

bool StoreError()
{
    Platova::SetLastError(::GetLastError());
    return false;
}

bool GetAttributes(const std::string& strPath, WIN32_FILE_ATTRIBUTE_DATA& attributes)
{
    return GetFileAttributesExW(Internal::ToWide(strPath).c_str(), GetFileExInfoStandard, &attributes) != 0 ||
           StoreError();
}

// Whether a window of this process can be made at all and somebody sits in front of it. A service has a
// desktop without eyes, and a session without a display has none: a dialog would wait there for ever.
bool SomebodyIsWatching()
{
    DWORD nSession = 0;
    if (!ProcessIdToSessionId(GetCurrentProcessId(), &nSession) || nSession == 0)
        return false;  // the session of the services
    USEROBJECTFLAGS flags{};
    DWORD nNeeded = 0;
    if (!GetUserObjectInformationA(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof(flags), &nNeeded) ||
        (flags.dwFlags & WSF_VISIBLE) == 0)
        return false;
    const HWND window =
        CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    if (window == nullptr)
        return false;
    DestroyWindow(window);
    return true;
}

std::int64_t NumberOf(const FILETIME& time)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(time.dwHighDateTime) << 32 |
                                     time.dwLowDateTime);
}

}  // namespace

std::string GetExecutableDirectory()
{
    std::wstring strPath(MAX_PATH, L'\0');
    for (;;) {
        const DWORD nSize = static_cast<DWORD>(strPath.size());
        const DWORD nLength = GetModuleFileNameW(nullptr, strPath.data(), nSize);
        if (nLength == 0) {
            StoreError();
            return {};
        }
        if (nLength < nSize) {
            strPath.resize(nLength);
            break;
        }
        strPath.resize(strPath.size() * 2);  // it has been cut
    }
    const std::size_t nSeparator = strPath.find_last_of(L"\\/");
    return nSeparator == std::wstring::npos ? std::string()
                                            : Internal::FromWide(strPath.substr(0, nSeparator));
}

const char* GetPathSeparator() { return "\\"; }

LocalTime GetLocalTime()
{
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    return LocalTime{now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}

void Sleep(unsigned int milliseconds) { ::Sleep(milliseconds); }

bool FileExists(const std::string& strPath)
{
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    return GetAttributes(strPath, attributes);
}

std::FILE* OpenForReading(const std::string& strPath)
{
    return _wfopen(Internal::ToWide(strPath).c_str(), L"rb");
}

bool IsRegularFile(const std::string& strPath)
{
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    if (!GetAttributes(strPath, attributes) || (attributes.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return false;
    const HANDLE hFile = CreateFileW(Internal::ToWide(strPath).c_str(), 0,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                     OPEN_EXISTING, 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) {
        StoreError();
        return false;
    }
    const bool bOnDisk = GetFileType(hFile) == FILE_TYPE_DISK;
    CloseHandle(hFile);
    return bOnDisk;
}

bool IsFreshlyWritten(const std::string& strPath)
{
    constexpr std::int64_t kTwoSeconds = 20'000'000;  // in the unit of file times
    std::int64_t nTime = 0;
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return GetLastWriteTime(strPath, nTime) && std::abs(NumberOf(now) - nTime) <= kTwoSeconds;
}

bool GetLastWriteTime(const std::string& strPath, std::int64_t& nTime)
{
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    if (!GetAttributes(strPath, attributes))
        return false;
    nTime = NumberOf(attributes.ftLastWriteTime);
    return true;
}

bool ShowErrorBox(const char* pszTitle, const char* pszText)
{
    return SomebodyIsWatching() && MessageBoxA(nullptr, pszText, pszTitle, MB_ICONERROR | MB_TOPMOST) != 0;
}

bool IsTextUnicode(const void* pBuffer, int nLength)
{
    return pBuffer != nullptr && nLength > 0 && ::IsTextUnicode(pBuffer, nLength, nullptr) != FALSE;
}

// A surrogate without its partner becomes U+FFFD, and an odd byte at the end is left out.
bool WideToMultiByte(const void* pWide, int nLength, bool bUtf8, std::string& strOut)
{
    if (nLength < 0 || (pWide == nullptr && nLength > 0)) {
        Platova::SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    strOut.clear();
    const int nUnits = nLength / 2;
    if (nUnits == 0)
        return true;                                                // the system's call refuses an empty text
    std::wstring strWide(static_cast<std::size_t>(nUnits), L'\0');  // aligned
    CopyMemory(strWide.data(), pWide, static_cast<std::size_t>(nUnits) * sizeof(wchar_t));
    const UINT nCodePage = bUtf8 ? CP_UTF8 : CP_ACP;
    const int nSize = WideCharToMultiByte(nCodePage, 0, strWide.data(), nUnits, nullptr, 0, nullptr, nullptr);
    if (nSize <= 0)
        return StoreError();
    strOut.resize(static_cast<std::size_t>(nSize));
    if (WideCharToMultiByte(nCodePage, 0, strWide.data(), nUnits, strOut.data(), nSize, nullptr, nullptr) !=
        nSize)
        return StoreError();
    return true;
}

void PrintError(const char* pszFormat, ...)
{
    std::va_list args;
    va_start(args, pszFormat);
    std::vfprintf(stderr, pszFormat, args);
    va_end(args);
}

// Windows has the call from Windows 10 and Server 2016 on; older systems have no names for threads.
void NameThread(const char* pszName)
{
    using SetDescription = HRESULT(WINAPI*)(HANDLE, PCWSTR);
    const FARPROC pfn = GetProcAddress(GetModuleHandleA("kernelbase.dll"), "SetThreadDescription");
    if (pfn == nullptr)
        return;
    wchar_t szWide[16]{};
    for (std::size_t n = 0; n + 1 < std::size(szWide) && pszName[n] != '\0'; ++n)
        szWide[n] = static_cast<unsigned char>(pszName[n]);
    reinterpret_cast<SetDescription>(reinterpret_cast<void (*)()>(pfn))(GetCurrentThread(), szWide);
}

void OnForked(void (*)()) {}  // no process is forked there

void PinLibrary()
{
    HMODULE module = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                            reinterpret_cast<LPCSTR>(&PinLibrary), &module))
        StoreError();
}

}  // namespace Host
