#include "platform/Host.h"

#include <filesystem>
#include <list>
#include <map>
#include <system_error>
#include <utility>

#include "tests/fakeplatform/FakeHost.h"
#include "tests/fakeplatform/Parts.h"
#include "tests/support/TempDirectory.h"

namespace fs = std::filesystem;
using Fake::MustFail;
using Fake::Op;

namespace {

// One entry a file: what a change of size or last write time shows in.
using Snapshot = std::map<fs::path, std::pair<std::uintmax_t, fs::file_time_type>>;

Snapshot Look(const std::string& strDirectory)
{
    Snapshot snapshot;
    std::error_code failed, gone;
    for (fs::directory_iterator it(strDirectory, failed), end; !failed && it != end; it.increment(failed)) {
        if (it->is_regular_file(gone))
            snapshot[it->path()] = {it->file_size(gone), it->last_write_time(gone)};
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

constexpr Host::LocalTime kLocalTime{2024, 6, 11, 12, 0, 0, 0};

struct State {
    std::condition_variable cond;
    Host::LocalTime time = kLocalTime;
    std::vector<Fake::HostProcess::Box> vecBoxes;
    bool bBoxAnswer = true;
    std::list<Host::ChangeNotification*> listChanges;
};

Support::Guarded<State>& TheState() { return Fake::Immortal<State>(); }

// Goes with the process.
const Support::TempDirectory& OwnDirectory()
{
    static const Support::TempDirectory s_directory;
    return s_directory;
}

}  // namespace

namespace Fake::HostProcess {

std::string Directory() { return OwnDirectory().Path().string(); }

void SetLocalTime(const Host::LocalTime& time) { TheState()->time = time; }

std::vector<Box> Boxes() { return TheState()->vecBoxes; }

void SetBoxAnswer(bool bShown) { TheState()->bBoxAnswer = bShown; }

void NotifyChange()
{
    const auto state = TheState().Lock();
    for (Host::ChangeNotification* const pChange : state->listChanges)
        (pChange->bFired ? pChange->bAgain : pChange->bFired) = true;
    state->cond.notify_all();
}

void Reset()
{
    OwnDirectory().Empty();
    const auto state = TheState().Lock();
    state->time = kLocalTime;
    state->vecBoxes.clear();
    state->bBoxAnswer = true;
}

}  // namespace Fake::HostProcess

namespace Host {

std::string PathFromText(const std::string& strText) { return strText; }

std::string TextFromPath(const std::string& strPath) { return strPath; }

std::string GetExecutableDirectory() { return Fake::HostProcess::Directory(); }

const char* GetPathSeparator() { return fs::path::preferred_separator == '\\' ? "\\" : "/"; }

LocalTime GetLocalTime() { return TheState()->time; }

void Sleep(unsigned int milliseconds) { Kernova::Threading::ManualResetEvent(false).Wait(milliseconds); }

bool FileExists(const std::string& strPath) { return fs::exists(strPath); }

std::FILE* OpenForReading(const std::string& strPath)
{
    return MustFail(Op::OpenFile) ? nullptr : std::fopen(strPath.c_str(), "rb");
}

bool IsRegularFile(const std::string& strPath) { return fs::is_regular_file(strPath); }

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
    if (failed)
        Platova::SetLastError(static_cast<unsigned int>(failed.value()));
    else
        nTime = time.time_since_epoch().count();
    return !failed;
}

StopEvent* CreateStopEvent()
{
    if (MustFail(Op::CreateStopEvent))
        return nullptr;
    Fake::Count("stop events", 1);
    return new StopEvent;
}

void SetStopEvent(StopEvent* pEvent)
{
    const auto state = TheState().Lock();
    pEvent->bSignalled = true;
    state->cond.notify_all();
}

void CloseStopEvent(StopEvent* pEvent)
{
    delete pEvent;
    Fake::Count("stop events", -1);
}

ChangeNotification* FindFirstChange(const std::string& strDirectory)
{
    if (MustFail(Op::FindFirstChange))
        return nullptr;
    if (std::error_code failed; !fs::is_directory(strDirectory, failed)) {
        Platova::SetLastError(static_cast<unsigned int>(std::errc::not_a_directory));
        return nullptr;
    }
    auto* const pChange = new ChangeNotification{strDirectory, Look(strDirectory), false, false};
    Fake::Count("change notifications", 1);
    TheState()->listChanges.push_back(pChange);
    return pChange;
}

bool FindNextChange(ChangeNotification* pChange)
{
    if (MustFail(Op::FindNextChange))
        return false;
    const auto state = TheState().Lock();
    pChange->bFired = std::exchange(pChange->bAgain, false);
    return true;
}

void CloseChange(ChangeNotification* pChange)
{
    TheState()->listChanges.remove(pChange);
    delete pChange;
    Fake::Count("change notifications", -1);
}

WaitResult WaitForStopOrChange(StopEvent* pEvent, ChangeNotification* pChange, unsigned int milliseconds)
{
    if (MustFail(Op::WaitForChange) || pEvent == nullptr)
        return WaitResult::Failed;
    const auto end = Fake::Now() + std::chrono::milliseconds(milliseconds);
    auto state = TheState().Lock();
    for (;;) {
        if (std::exchange(pEvent->bSignalled, false))
            return WaitResult::Stopped;
        if (pChange != nullptr) {
            Snapshot before = std::exchange(pChange->snapshot, Look(pChange->strDirectory));
            pChange->bFired |= pChange->snapshot != before;
            if (pChange->bFired)
                return WaitResult::Changed;
        }
        if (Fake::Now() >= end)
            return WaitResult::TimedOut;
        state->cond.wait_for(state.lock, Fake::kLookAgain);
    }
}

bool ShowErrorBox(const char* pszTitle, const char* pszText)
{
    TheState()->vecBoxes.push_back({pszTitle, pszText});
    return TheState()->bBoxAnswer;
}

void PrintError(const char*, ...) {}
void NameThread(const char*) {}

void OnForked(void (*)()) {}

void PinLibrary() {}

}  // namespace Host
