// Log files of several processes, on POSIX systems.
#include "platform/common/LogFile.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

namespace Logova {

bool TryLock(std::FILE* pFile)
{
    return flock(fileno(pFile), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

bool IsAt(std::FILE* pFile, const std::string& strPath)
{
    struct stat open {
    }, named{};
    return fstat(fileno(pFile), &open) == 0 && stat(strPath.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

}  // namespace Logova
