#include "platform/Host.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <list>
#include <map>
#include <memory>
#include <random>
#include <system_error>
#include <utility>
#include <vector>

#include "tests/fakeplatform/FakeHost.h"
#include "tests/fakeplatform/Parts.h"

namespace fs = std::filesystem;
using Fake::MustFail;
using Fake::Op;

namespace {

// One entry a file: what a change of size or last write time shows in.
using Snapshot = std::map<std::string, std::pair<std::uintmax_t, fs::file_time_type>>;

Snapshot Look(const std::string& strDirectory)
{
    Snapshot snapshot;
    std::error_code failed;
    for (fs::directory_iterator it(strDirectory, failed), end; !failed && it != end; it.increment(failed)) {
        std::error_code gone;
        if (!it->is_regular_file(gone))
            continue;
        const auto nSize = it->file_size(gone);
        const auto time = it->last_write_time(gone);
        if (!gone)
            snapshot[it->path().filename().string()] = {nSize, time};
    }
    return snapshot;
}

}  // namespace

namespace Host {
struct StopEvent {
    bool bSignalled = false;
};
struct ChangeNotification {
    std::string strDirectory;
    Snapshot snapshot;
    bool bFired = false;  // until FindNextChange
    bool bAgain = false;  // ordered while it had fired already
};
}  // namespace Host

namespace {

struct State {
    std::mutex mutex;
    std::condition_variable cond;
    std::unique_ptr<Host::LocalTime> pTime;
    std::vector<Fake::HostProcess::Box> vecBoxes;
    bool bBoxAnswer = true;
    std::list<Host::ChangeNotification*> listChanges;
};

State& TheState()
{
    static State* const s_pState = new State;
    return *s_pState;
}

// A new directory that goes with the process.
class OwnDirectory {
public:
    OwnDirectory()
    {
        std::random_device random;
        do {
            m_path = fs::temp_directory_path() / ("velkar-test-" + std::to_string(random()));
        } while (!fs::create_directory(m_path));
    }
    ~OwnDirectory()
    {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    std::string Text() const { return m_path.string(); }
    void Empty() const
    {
        std::error_code ignored;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_path, ignored))
            fs::remove_all(entry.path(), ignored);
    }
    static OwnDirectory& The()
    {
        static OwnDirectory s_directory;
        return s_directory;
    }

private:
    fs::path m_path;
};

}  // namespace

namespace Fake::HostProcess {

std::string Directory() { return OwnDirectory::The().Text(); }

void SetLocalTime(const Host::LocalTime& time)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().pTime = std::make_unique<Host::LocalTime>(time);
}

std::vector<Box> Boxes()
{
    const std::lock_guard lock(TheState().mutex);
    return TheState().vecBoxes;
}

void SetBoxAnswer(bool bShown)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().bBoxAnswer = bShown;
}

void NotifyChange()
{
    const std::lock_guard lock(TheState().mutex);
    for (Host::ChangeNotification* const pChange : TheState().listChanges)
        (pChange->bFired ? pChange->bAgain : pChange->bFired) = true;
    TheState().cond.notify_all();
}

void Reset()
{
    OwnDirectory::The().Empty();
    const std::lock_guard lock(TheState().mutex);
    TheState().pTime.reset();
    TheState().vecBoxes.clear();
    TheState().bBoxAnswer = true;
}

}  // namespace Fake::HostProcess

namespace Host {

std::string GetExecutableDirectory() { return OwnDirectory::The().Text(); }

const char* GetPathSeparator() { return fs::path::preferred_separator == '\\' ? "\\" : "/"; }

LocalTime GetLocalTime()
{
    {
        const std::lock_guard lock(TheState().mutex);
        if (TheState().pTime)
            return *TheState().pTime;
    }
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto nMilliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm t{};
    {
        static std::mutex s_mutex;  // localtime has one buffer
        const std::lock_guard lock(s_mutex);
        t = *std::localtime(&seconds);
    }
    return {t.tm_year + 1900,
            t.tm_mon + 1,
            t.tm_mday,
            t.tm_hour,
            t.tm_min,
            t.tm_sec,
            static_cast<int>(nMilliseconds)};
}

void Sleep(unsigned int milliseconds) { Kernova::Threading::ManualResetEvent(false).Wait(milliseconds); }

bool FileExists(const std::string& strPath)
{
    std::error_code failed;
    return fs::exists(strPath, failed);
}

bool IsRegularFile(const std::string& strPath)
{
    std::error_code failed;
    return fs::is_regular_file(strPath, failed);
}

bool IsFreshlyWritten(const std::string& strPath)
{
    std::error_code failed;
    const auto time = fs::last_write_time(strPath, failed);
    return !failed && fs::file_time_type::clock::now() - time < std::chrono::seconds(2);
}

bool GetLastWriteTime(const std::string& strPath, std::int64_t& nTime)
{
    if (MustFail(Op::LastWriteTime))
        return false;
    std::error_code failed;
    const auto time = fs::last_write_time(strPath, failed);
    if (failed) {
        Platova::SetLastError(static_cast<unsigned int>(failed.value()));
        return false;
    }
    nTime = time.time_since_epoch().count();
    return true;
}

StopEvent* CreateStopEvent()
{
    if (MustFail(Op::CreateStopEvent))
        return nullptr;
    ++Fake::Counters().nStopEvents;
    return new StopEvent;
}

void SetStopEvent(StopEvent* pEvent)
{
    const std::lock_guard lock(TheState().mutex);
    pEvent->bSignalled = true;
    TheState().cond.notify_all();
}

void CloseStopEvent(StopEvent* pEvent)
{
    delete pEvent;
    --Fake::Counters().nStopEvents;
}

ChangeNotification* FindFirstChange(const std::string& strDirectory)
{
    if (MustFail(Op::FindFirstChange))
        return nullptr;
    std::error_code failed;
    if (!fs::is_directory(strDirectory, failed)) {
        Platova::SetLastError(failed ? static_cast<unsigned int>(failed.value())
                                     : static_cast<unsigned int>(std::errc::not_a_directory));
        return nullptr;
    }
    auto* const pChange = new ChangeNotification{strDirectory, Look(strDirectory), false, false};
    ++Fake::Counters().nChanges;
    const std::lock_guard lock(TheState().mutex);
    TheState().listChanges.push_back(pChange);
    return pChange;
}

bool FindNextChange(ChangeNotification* pChange)
{
    if (MustFail(Op::FindNextChange))
        return false;
    const std::lock_guard lock(TheState().mutex);
    pChange->bFired = std::exchange(pChange->bAgain, false);
    return true;
}

void CloseChange(ChangeNotification* pChange)
{
    {
        const std::lock_guard lock(TheState().mutex);
        TheState().listChanges.remove(pChange);
    }
    delete pChange;
    --Fake::Counters().nChanges;
}

WaitResult WaitForStopOrChange(StopEvent* pEvent, ChangeNotification* pChange)
{
    if (MustFail(Op::WaitForChange))
        return WaitResult::Failed;
    std::unique_lock lock(TheState().mutex);
    for (;;) {
        if (std::exchange(pEvent->bSignalled, false))
            return WaitResult::Stopped;
        if (pChange->bFired)
            return WaitResult::Changed;
        Snapshot now = Look(pChange->strDirectory);
        if (now != pChange->snapshot) {
            pChange->snapshot = std::move(now);
            pChange->bFired = true;
            continue;
        }
        TheState().cond.wait_for(lock, Fake::kLookAgain);
    }
}

bool ShowErrorBox(const char* pszTitle, const char* pszText)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().vecBoxes.push_back({pszTitle, pszText});
    return TheState().bBoxAnswer;
}

void HoldLibrary() { ++Fake::Counters().nLibraryHolds; }

void ReleaseLibrary() { --Fake::Counters().nLibraryHolds; }

}  // namespace Host
