// What the system needs of the operating system beyond the five libraries: plain functions, one
// implementation for each system. Any thread may call them. Only std::bad_alloc is thrown.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace Host {

// ---- paths ----
// A path is a text in the system's own encoding, and on Windows one in UTF-8, because a folder may have a
// name that the code page lacks. What a person reads or has written is in the code page there.
//
// The path that a setting names. On Windows a text that is UTF-8 is taken as it is, any other one as a text
// of the code page.
std::string PathFromText(const std::string& strText);
// The path as a text to be shown; on Windows in the code page, with other characters in place of those that
// the code page lacks.
std::string TextFromPath(const std::string& strPath);

// Directory of the process's main executable, without a separator at its end; empty if it cannot be
// found. The library's own file is not looked at.
std::string GetExecutableDirectory();

// "\\" on Windows, "/" elsewhere.
const char* GetPathSeparator();

struct LocalTime {
    int nYear, nMonth, nDay;  // month and day from 1
    int nHour, nMinute, nSecond, nMillisecond;
};
LocalTime GetLocalTime();

// Nanoseconds of a clock that nobody sets, from any beginning. Never 0.
std::int64_t GetSteadyTime();

void Sleep(unsigned int milliseconds);

// ---- files ----
bool FileExists(const std::string& strPath);

// Null if the file cannot be opened; the code is in errno. The caller closes it.
std::FILE* OpenForReading(const std::string& strPath);

// False for directories, and for pipes and devices, whose opening could block for ever.
bool IsRegularFile(const std::string& strPath);

// Whether the file's last write lies less than two seconds from now, so that the next one may get the same
// time. False if the file is not there.
bool IsFreshlyWritten(const std::string& strPath);

// The last write time in the finest unit that the system keeps; only equality means anything.
// False if the file is not there; the code is in Platova::GetLastError.
bool GetLastWriteTime(const std::string& strPath, std::int64_t& nTime);

// ---- waiting for a change in a directory, or for the order to stop ----
struct StopEvent;
StopEvent* CreateStopEvent();   // not signalled, taken by the one wait that it ends; null on failure
void SetStopEvent(StopEvent*);  // from any thread
void CloseStopEvent(StopEvent*);

struct ChangeNotification;
// Watches files of that directory, not of those below it, for a change of size or last write time; a
// file moved or copied over another one counts. Null on failure.
ChangeNotification* FindFirstChange(const std::string& strDirectory);
bool FindNextChange(ChangeNotification*);  // arms it again after it has fired; false on failure
void CloseChange(ChangeNotification*);

enum class WaitResult { Stopped, Changed, TimedOut, Failed };
// Blocks for that many milliseconds at most; the order to stop comes first when both are there. Without a
// notification (null) only the order to stop ends the wait early.
WaitResult WaitForStopOrChange(StopEvent*, ChangeNotification*, unsigned int milliseconds);

// ---- the operator ----
// Shows the text in a dialog with an error icon, topmost, and waits until it is closed. False, at
// once, where nobody could see or close it; the caller then reports in another way.
bool ShowErrorBox(const char* pszTitle, const char* pszText);

// Writes to standard error, as fprintf does. Where standard error is a pipe that nobody reads any more, the
// text is lost and the process goes on.
#if defined(__GNUC__)
[[gnu::format(printf, 1, 2)]]
#endif
void PrintError(const char* pszFormat, ...);

// ---- wide text ----
// Whether the bytes look like little-endian UTF-16.
bool IsTextUnicode(const void* pBuffer, int nLength);
// Little-endian UTF-16 of nLength bytes into UTF-8, or into the system's own code page. False if it
// cannot be converted.
bool WideToMultiByte(const void* pWide, int nLength, bool bUtf8, std::string& strOut);

// ---- the library itself ----
// Gives the calling thread a name of at most 15 characters, which debuggers and lists of threads show. Does
// nothing where the system has no names for threads.
void NameThread(const char* pszName);
// Runs the function in every process that is forked off this one, on its only thread, before the fork returns
// there. Once; later calls change nothing. The function may use atomics alone: a thread that holds a lock is
// not in the new process.
void OnForked(void (*pfnInNewProcess)());
// Keeps this library loaded for the rest of the process, however often the host unloads it: a thread of the
// library or a caller may be inside its code.
void PinLibrary();

}  // namespace Host
