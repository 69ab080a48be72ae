#include "platform/Logova.h"

#include <algorithm>
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
    std::condition_variable cond;
    std::vector<Line> vecLines;
    bool bThrow = false;
    std::string strService;  // empty while none runs
    std::vector<std::unique_ptr<Logova::_THandle>> vecHandles;

    int Count(Level level, const std::string& strPart) const
    {
        return static_cast<int>(std::ranges::count_if(vecLines, [&](const Line& line) {
            return line.level == level && line.strText.find(strPart) != std::string::npos;
        }));
    }
};

Support::Guarded<Book>& TheBook() { return Immortal<Book>(); }

void Write(Logova::_THandle* pHandle, Level level, std::string strText, bool bFormatted)
{
    if (pHandle == nullptr || !pHandle->bAlive.load())
        Violation("A log handle is used after its service has ended: " + strText);
    const auto book = TheBook().Lock();
    if (book->bThrow)
        throw std::runtime_error("a log call throws on order");
    book->vecLines.push_back({level, std::move(strText), bFormatted});
    book->cond.notify_all();
}

#define FAKE_NAME(level) #level,
const char* const kNames[] = {FAKE_LEVELS(FAKE_NAME)};

}  // namespace

std::vector<Line> Lines() { return TheBook()->vecLines; }

int Count(Level level, const std::string& strPart) { return TheBook()->Count(level, strPart); }

bool WaitFor(Level level, const std::string& strPart)
{
    auto book = TheBook().Lock();
    return book->cond.wait_for(book.lock, std::chrono::seconds(10),
                               [&] { return book->Count(level, strPart) > 0; });
}

std::string Text()
{
    std::string out;
    for (const Line& line : Lines())
        out += std::string(kNames[static_cast<std::size_t>(line.level)]) + ' ' + line.strText + '\n';
    return out;
}

void Clear() { TheBook()->vecLines.clear(); }

void ThrowOnWrite(bool bThrow) { TheBook()->bThrow = bThrow; }

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
    const auto book = TheBook().Lock();
    if (!book->strService.empty() || !std::filesystem::is_regular_file(configurationFile))
        return false;
    book->strService = service;
    return true;
}

int GetLevel(_THandle*) { return 8; }

int GetSlowLimit(_THandle*) { return 0; }
void SetReporter(_THandle*, const Reporter&) {}

_THandle* GetLogger(const char* service, const char*)
{
    const auto book = TheBook().Lock();
    if (book->strService != service)
        return nullptr;
    return book->vecHandles.emplace_back(std::make_unique<_THandle>()).get();
}

bool Uninitialize(const char* service)
{
    const auto book = TheBook().Lock();
    if (book->strService != service)
        return false;
    book->strService.clear();
    for (const auto& pHandle : book->vecHandles)
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

FAKE_LEVELS(FAKE_LEVEL)

}  // namespace Logova
