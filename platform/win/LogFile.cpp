// Log files on Windows.
#include "platform/common/LogFile.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "platform/win/WidePath.h"

namespace Logova {

using Host::Internal::ToWide;

bool LogFile::Open(const std::string& strPath)
{
    Close();
    m_nFile = _wsopen(ToWide(strPath).c_str(), _O_WRONLY | _O_APPEND | _O_CREAT | _O_BINARY | _O_NOINHERIT,
                      _SH_DENYNO, _S_IREAD | _S_IWRITE);
    return IsOpen();
}

void LogFile::Close()
{
    if (IsOpen())
        _close(m_nFile);
    m_nFile = -1;
}

bool LogFile::Write(std::string_view text)
{
    constexpr std::size_t kMost = 1u << 20;  // the system's call takes an int
    while (!text.empty()) {
        const int nWritten =
            _write(m_nFile, text.data(), static_cast<unsigned int>(std::min(kMost, text.size())));
        if (nWritten <= 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(nWritten));
    }
    return true;
}

std::size_t LogFile::GetSize() const
{
    const __int64 nSize = _filelengthi64(m_nFile);
    return nSize < 0 ? 0 : static_cast<std::size_t>(nSize);
}

bool LogFile::TryLock()
{
    // A locked byte cannot be read by others: this one lies far behind every line.
    OVERLAPPED place{};
    place.OffsetHigh = 0x40000000;
    const auto hFile = reinterpret_cast<HANDLE>(_get_osfhandle(m_nFile));
    return LockFileEx(hFile, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) != 0 ||
           GetLastError() != ERROR_LOCK_VIOLATION;
}

// Nobody renames a file here that is open in a log.
bool LogFile::IsAt(const std::string&) const { return true; }

bool RenameFile(const std::string& strFrom, const std::string& strTo)
{
    return _wrename(ToWide(strFrom).c_str(), ToWide(strTo).c_str()) == 0;
}

bool ReplaceByRename(const std::string& strFrom, const std::string& strTo)
{
    if (MoveFileExW(ToWide(strFrom).c_str(), ToWide(strTo).c_str(), MOVEFILE_REPLACE_EXISTING) != 0)
        return true;
    errno = EACCES;
    return false;
}

bool RemoveFile(const std::string& strPath) { return _wremove(ToWide(strPath).c_str()) == 0; }

void MakeDirectoryOf(const std::string& strPath)
{
    for (std::size_t n = strPath.find_first_of("\\/", 1); n != std::string::npos;
         n = strPath.find_first_of("\\/", n + 1))
        CreateDirectoryW(ToWide(strPath.substr(0, n)).c_str(), nullptr);
}

}  // namespace Logova
