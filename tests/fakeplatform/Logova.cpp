#include "platform/Logova.h"

#include <atomic>
#include <cstdarg>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "platform/common/LogText.h"
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
    std::string strService;  // empty while none runs
    std::vector<std::unique_ptr<Logova::_THandle>> vecHandles;
};

Book& TheBook() { return Fake::Immortal<Book>(); }

int CountUnderLock(Level level, const std::string& strPart)
{
    int nCount = 0;
    for (const Line& line : TheBook().vecLines)
        nCount += line.level == level && line.strText.find(strPart) != std::string::npos;
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

const char* const kNames[] = {"Emerg",  "Alert", "Fatal", "Error", "Warning",
                              "Notice", "Info",  "Debug", "Trace"};

}  // namespace

std::vector<Line> Lines()
{
    const std::lock_guard lock(TheBook().mutex);
    return TheBook().vecLines;
}

int Count(Level level, const std::string& strPart)
{
    const std::lock_guard lock(TheBook().mutex);
    return CountUnderLock(level, strPart);
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
    if (!TheBook().strService.empty() || !std::filesystem::is_regular_file(configurationFile, ignored))
        return false;
    TheBook().strService = service;
    return true;
}

int GetLevel(_THandle*) { return 8; }

_THandle* GetLogger(const char* service, const char*)
{
    const std::lock_guard lock(TheBook().mutex);
    if (TheBook().strService != service)
        return nullptr;
    TheBook().vecHandles.push_back(std::make_unique<_THandle>());
    return TheBook().vecHandles.back().get();
}

bool Uninitialize(const char* service)
{
    const std::lock_guard lock(TheBook().mutex);
    if (TheBook().strService != service)
        return false;
    TheBook().strService.clear();
    for (const auto& pHandle : TheBook().vecHandles)
        pHandle->bAlive.store(false);
    return true;
}

#define FAKE_LEVEL(level)                                                      \
    void level(_THandle* pHandle, const char* text)                            \
    {                                                                          \
        Fake::Journal::Write(pHandle, Level::level, text, false);              \
    }                                                                          \
    void level##Fmt(_THandle* pHandle, const char* format, ...)                \
    {                                                                          \
        std::va_list args;                                                     \
        va_start(args, format);                                                \
        char szShort[kShortText];                                              \
        std::string strLong;                                                   \
        const std::string strText(FormatText(format, args, szShort, strLong)); \
        va_end(args);                                                          \
        Fake::Journal::Write(pHandle, Level::level, strText, true);            \
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
