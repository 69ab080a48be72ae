// What several processes that write to one log file need of the operating system.
#pragma once

#include <cstdio>
#include <string>

namespace Logova {

// Takes the file's advisory lock, which hinders nobody's reading or writing, until the file is closed. False
// only if another process holds the lock; a file system without locks has one writer.
bool TryLock(std::FILE* pFile);

// Whether the path still leads to the open file; false after another process has rotated it.
bool IsAt(std::FILE* pFile, const std::string& strPath);

}  // namespace Logova
