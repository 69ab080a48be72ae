#include "platform/Logova.h"

#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>

#include "tests/fakeplatform/FakeLog.h"
#include "tests/fakeplatform/Parts.h"

namespace Logova {
// Never freed, so that the use of a dead handle is seen.
struct _THandle {
    std::atomic<bool> bAlive{true};
};
}  // namespace Logova

namespace Fake::Journal {
namespace {

struct Book {
    std::mutex mutex;
    std::condition_variable cond;
    std::vector<Line> vecLines;
    bool bThrow = false;
    bool bRuns = false;
    std::string strService, strConfigurationFile, strLogger;
    std::vector<std::unique_ptr<Logova::_THandle>> vecHandles;
};

Book& TheBook()
{
    static Book* const s_pBook = new Book;
    return *s_pBook;
}

bool Holds(const Line& line, Level level, const std::string& strPart)
{
    return line.level == level && line.strText.find(strPart) != std::string::npos;
}

int CountUnderLock(Level level, const std::string& strPart)
{
    int nCount = 0;
    for (const Line& line : TheBook().vecLines)
        nCount += Holds(line, level, strPart);
    return nCount;
}

void Write(Logova::_THandle* pHandle, Level level, std::string strText, bool bFormatted)
{
    Book& book = TheBook();
    if (pHandle == nullptr || !pHandle->bAlive.load())
        Violation("A log handle is used after its service has ended: " + strText);
    const std::lock_guard lock(book.mutex);
    if (book.bThrow)
        throw std::runtime_error("a log call throws on order");
    book.vecLines.push_back({level, std::move(strText), bFormatted});
    book.cond.notify_all();
}

// In the manner of printf, with %I64d on every system.
std::string Format(const char* pszFormat, std::va_list args)
{
    std::string strFormat = pszFormat;
    for (std::size_t n = 0; (n = strFormat.find("I64", n)) != std::string::npos;)
        strFormat.replace(n, 3, "ll");
    std::va_list again;
    va_copy(again, args);
    const int nLength = std::vsnprintf(nullptr, 0, strFormat.c_str(), args);
    std::string out;
    if (nLength > 0) {
        out.resize(static_cast<std::size_t>(nLength) + 1);
        std::vsnprintf(out.data(), out.size(), strFormat.c_str(), again);
        out.pop_back();
    }
    va_end(again);
    return out;
}

const char* const kNames[] = {"Emerg",  "Alert", "Fatal", "Error", "Warning",
                              "Notice", "Info",  "Debug", "Trace"};

}  // namespace

std::vector<Line> Lines()
{
    const std::lock_guard lock(TheBook().mutex);
    return TheBook().vecLines;
}

bool Logged(Level level, const std::string& strPart) { return Count(level, strPart) > 0; }

int Count(Level level, const std::string& strPart)
{
    const std::lock_guard lock(TheBook().mutex);
    return CountUnderLock(level, strPart);
}

bool LoggedInOrder(std::initializer_list<const char*> listParts)
{
    const std::lock_guard lock(TheBook().mutex);
    auto it = listParts.begin();
    for (const Line& line : TheBook().vecLines) {
        if (it != listParts.end() && line.strText.find(*it) != std::string::npos)
            ++it;
    }
    return it == listParts.end();
}

bool WaitFor(Level level, const std::string& strPart)
{
    std::unique_lock lock(TheBook().mutex);
    return TheBook().cond.wait_for(lock, std::chrono::seconds(10),
                                   [&] { return CountUnderLock(level, strPart) > 0; });
}

std::string Text()
{
    std::string out;
    for (const Line& line : Lines())
        out += std::string(kNames[static_cast<std::size_t>(line.level)]) + ' ' + line.strText + '\n';
    return out;
}

void Clear()
{
    const std::lock_guard lock(TheBook().mutex);
    TheBook().vecLines.clear();
}

void ThrowOnWrite(bool bThrow)
{
    const std::lock_guard lock(TheBook().mutex);
    TheBook().bThrow = bThrow;
}

std::string Service()
{
    const std::lock_guard lock(TheBook().mutex);
    return TheBook().strService;
}

std::string ConfigurationFile()
{
    const std::lock_guard lock(TheBook().mutex);
    return TheBook().strConfigurationFile;
}

std::string Logger()
{
    const std::lock_guard lock(TheBook().mutex);
    return TheBook().strLogger;
}

bool Runs()
{
    const std::lock_guard lock(TheBook().mutex);
    return TheBook().bRuns;
}

void Reset()
{
    ThrowOnWrite(false);
    Clear();
}

}  // namespace Fake::Journal

namespace Logova {

using Fake::Journal::Level;
using Fake::Journal::TheBook;

bool Initialize(const char* service, const char* configurationFile)
{
    if (Fake::MustFail(Fake::Op::LogInitialize))
        return false;
    const std::lock_guard lock(TheBook().mutex);
    std::error_code ignored;
    if (TheBook().bRuns || !std::filesystem::is_regular_file(configurationFile, ignored))
        return false;
    TheBook().bRuns = true;
    TheBook().strService = service;
    TheBook().strConfigurationFile = configurationFile;
    return true;
}

_THandle* GetLogger(const char* service, const char* logger)
{
    if (Fake::MustFail(Fake::Op::GetLogger))
        return nullptr;
    const std::lock_guard lock(TheBook().mutex);
    if (!TheBook().bRuns || TheBook().strService != service)
        return nullptr;
    TheBook().strLogger = logger;
    TheBook().vecHandles.push_back(std::make_unique<_THandle>());
    return TheBook().vecHandles.back().get();
}

bool Uninitialize(const char* service)
{
    const std::lock_guard lock(TheBook().mutex);
    if (!TheBook().bRuns || TheBook().strService != service)
        return false;
    TheBook().bRuns = false;
    for (const auto& pHandle : TheBook().vecHandles)
        pHandle->bAlive.store(false);
    return true;
}

#define FAKE_LEVEL(level)                                                \
    void level(_THandle* pHandle, const char* text)                      \
    {                                                                    \
        Fake::Journal::Write(pHandle, Level::level, text, false);        \
    }                                                                    \
    void level##Fmt(_THandle* pHandle, const char* format, ...)          \
    {                                                                    \
        std::va_list args;                                               \
        va_start(args, format);                                          \
        const std::string strText = Fake::Journal::Format(format, args); \
        va_end(args);                                                    \
        Fake::Journal::Write(pHandle, Level::level, strText, true);      \
    }

FAKE_LEVEL(Emerg)
FAKE_LEVEL(Alert)
FAKE_LEVEL(Fatal)
FAKE_LEVEL(Error)
FAKE_LEVEL(Warning)
FAKE_LEVEL(Notice)
FAKE_LEVEL(Info)
FAKE_LEVEL(Debug)
FAKE_LEVEL(Trace)

}  // namespace Logova
