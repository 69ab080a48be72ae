// Log files on POSIX systems.
#include "platform/common/LogFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace Logova {

bool LogFile::Open(const std::string& strPath)
{
    Close();
    constexpr mode_t kMode = 0644;
    m_nFile = open(strPath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kMode);
    return IsOpen();
}

void LogFile::Close()
{
    if (IsOpen())
        close(m_nFile);
    m_nFile = -1;
}

bool LogFile::Write(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t nWritten = write(m_nFile, text.data(), text.size());
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten < 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(nWritten));
    }
    return true;
}

std::size_t LogFile::GetSize() const
{
    struct stat status {};
    return fstat(m_nFile, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

bool LogFile::TryLock() { return flock(m_nFile, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK; }

bool LogFile::IsAt(const std::string& strPath) const
{
    struct stat open {
    }, named{};
    return fstat(m_nFile, &open) == 0 && stat(strPath.c_str(), &named) == 0 && open.st_dev == named.st_dev &&
           open.st_ino == named.st_ino;
}

bool RenameFile(const std::string& strFrom, const std::string& strTo)
{
    return std::rename(strFrom.c_str(), strTo.c_str()) == 0;
}

bool ReplaceByRename(const std::string& strFrom, const std::string& strTo)
{
    return RenameFile(strFrom, strTo);
}

bool RemoveFile(const std::string& strPath) { return std::remove(strPath.c_str()) == 0; }

void MakeDirectoryOf(const std::string& strPath)
{
    constexpr mode_t kMode = 0755;
    for (std::size_t n = strPath.find('/', 1); n != std::string::npos; n = strPath.find('/', n + 1))
        mkdir(strPath.substr(0, n).c_str(), kMode);
}

}  // namespace Logova
