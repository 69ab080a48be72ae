// The file of a log on the operating system. It has no buffer of its own and is none of the C library's
// streams: exit() writes out what those hold, and would wait there for a file that hangs.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Logova {

// One thread at a time. Paths are those of platform/Host.h. What fails leaves its code in errno.
class LogFile {
public:
    LogFile() = default;
    ~LogFile() { Close(); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // Opens the file to write behind its end, and makes it if it is not there. A program that the host starts
    // does not inherit it.
    bool Open(const std::string& strPath);
    void Close();
    bool IsOpen() const { return m_nFile >= 0; }
    // The whole text. After a failure a piece of it may have been written.
    bool Write(std::string_view text);
    std::size_t GetSize() const;

    // Takes the file's advisory lock, which hinders nobody's reading or writing, until the file is closed.
    // False only if the file is locked already, by another process or by another opening of it; a file system
    // without locks has one writer.
    bool TryLock();
    // Whether the path still leads to the open file; false after another process has rotated it.
    bool IsAt(const std::string& strPath) const;

private:
    int m_nFile = -1;
};

// False if the second name is taken where the system does not replace a file by a rename.
bool RenameFile(const std::string& strFrom, const std::string& strTo);
// The same, but what the second name leads to is replaced in one step: a reader finds the old file or the new
// one. False on Windows while somebody has the old one open.
bool ReplaceByRename(const std::string& strFrom, const std::string& strTo);
bool RemoveFile(const std::string& strPath);
// The directory of that file, and those above it, as far as they are missing.
void MakeDirectoryOf(const std::string& strPath);

}  // namespace Logova
