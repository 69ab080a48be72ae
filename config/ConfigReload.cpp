// The thread that loads the settings file again when it has changed.
#include "base/Logger.h"
#include "config/ConfigReader.h"
#include "platform/Platova.h"

using Kernova::XTL::ScopedLock;

namespace {

constexpr unsigned int kPoll = 50;  // milliseconds
// Longer than the tick by which a system stamps its files. What is written a tick after a time has been
// stamped gets another one; so a load that begins that late cannot be followed by a save that goes unseen.
constexpr unsigned int kFileClockTick = 50;
// A file that is being written all the time is loaded nevertheless, every so many ticks.
constexpr int kMostTicks = 20;
// Between two tries while the directory cannot be watched, in milliseconds.
constexpr unsigned int kWatchAgain = 1000;

int LastError() { return static_cast<int>(Platova::GetLastError()); }

struct CloseChange {
    void operator()(Host::ChangeNotification* pChange) const { Host::CloseChange(pChange); }
};

}  // namespace

// To the end of Execute, however it ends.
class CConfigReader::RunningScope {
public:
    explicit RunningScope(std::atomic<bool>& bRunning) : m_bRunning(bRunning) { m_bRunning.store(true); }
    ~RunningScope() { m_bRunning.store(false); }
    RunningScope(const RunningScope&) = delete;
    RunningScope& operator=(const RunningScope&) = delete;

private:
    std::atomic<bool>& m_bRunning;
};

// Shows the event to Shutdown as long as it is there.
class CConfigReader::StopEventScope {
public:
    explicit StopEventScope(CConfigReader& reader) : m_reader(reader), m_pEvent(Host::CreateStopEvent())
    {
        const ScopedLock lock(m_reader.m_lock);
        m_reader.m_pStopEvent = m_pEvent;
    }
    ~StopEventScope()
    {
        {
            const ScopedLock lock(m_reader.m_lock);
            m_reader.m_pStopEvent = nullptr;
        }
        if (m_pEvent != nullptr)
            Host::CloseStopEvent(m_pEvent);
    }
    StopEventScope(const StopEventScope&) = delete;
    StopEventScope& operator=(const StopEventScope&) = delete;
    Host::StopEvent* Get() const { return m_pEvent; }

private:
    CConfigReader& m_reader;
    Host::StopEvent* const m_pEvent;
};

bool CConfigReader::Open(const std::string& strTL2FileName)
{
    {
        const ScopedLock lock(m_lock);
        m_strFileName = strTL2FileName;
        m_bStopRequested = false;
    }
    std::int64_t nTime = 0;
    if (Host::GetLastWriteTime(strTL2FileName, nTime) && Host::IsFreshlyWritten(strTL2FileName))
        Settle(strTL2FileName, nTime);
    m_nLastWriteTime.store(nTime);
    if (!LoadFile(true))
        return false;
    if (!m_bRunning.exchange(true) && !Start())
        m_bRunning.store(false);  // the settings then stay what they are
    return true;
}

void CConfigReader::Shutdown()
{
    {
        const ScopedLock lock(m_lock);
        m_bStopRequested = true;
        if (m_pStopEvent != nullptr)
            Host::SetStopEvent(m_pStopEvent);
    }
    Stop();
    while (m_bRunning.load())
        Host::Sleep(kPoll);
    CloseDocument();
}

void CConfigReader::Execute()
{
    const RunningScope running(m_bRunning);
    try {
        Run();
    } catch (...) {  // no memory; the settings then stay what they are
        Log::Error("[Config reader::Reload thread] There is an exception because of some reasons.");
    }
}

void CConfigReader::Run()
{
    const std::string strFileName = GetFileName();
    std::int64_t nTime = 0;
    if (!Host::GetLastWriteTime(strFileName, nTime)) {
        Log::WarningFmt("[Config reader::Reload thread] Failed to get attribute of a TL2 file. FILE: %s.",
                        strFileName.c_str());
        return;
    }
    const StopEventScope stop(*this);
    if (stop.Get() == nullptr) {
        Log::WarningFmt(
            "[Config reader::Reload thread] Failed to create a handle for a TL2 file reload thread. "
            "ErrorCode: %d",
            LastError());
        return;
    }
    Watch(strFileName, stop.Get());
}

// Only the host's directory is watched: a settings file elsewhere is looked at when something in there
// changes.
void CConfigReader::Watch(const std::string& strFileName, Host::StopEvent* pStop)
{
    const std::unique_ptr<Host::ChangeNotification, CloseChange> change(
        Host::FindFirstChange(Host::GetExecutableDirectory()));
    if (!change) {
        Log::WarningFmt(
            "[Config reader::Reload thread] Failed to create a handle for a TL2 file modify "
            "notification. ErrorCode: %d",
            LastError());
        return;
    }
    LookAtFile(strFileName, false);  // it may have changed since Open began to load it
    while (!Terminated() && !MustStop()) {
        switch (Host::WaitForStopOrChange(pStop, change.get())) {
            case Host::WaitResult::Stopped:
                return;
            case Host::WaitResult::Failed:
                Pause(kPoll);
                break;
            case Host::WaitResult::Changed:
                LookAtFile(strFileName, true);
                if (!Host::FindNextChange(change.get()))
                    Pause(kWatchAgain);
                LookAtFile(strFileName, false);
                break;
        }
    }
}

// Loads the file if its last write time has moved, and again if it has moved meanwhile.
void CConfigReader::LookAtFile(const std::string& strFileName, bool bLogFailure)
{
    while (!MustStop()) {
        std::int64_t nTime = 0;
        const bool bThere = Host::GetLastWriteTime(strFileName, nTime);
        if (bThere && nTime == m_nLastWriteTime.load())
            return;
        if (!bThere || !Settle(strFileName, nTime)) {
            if (bLogFailure) {
                Log::WarningFmt(
                    "[Config reader::Reload thread] Reload TL2 contents. GetFileAttributesEx() "
                    "failed. ErrorCode: %d",
                    LastError());
            }
            return;
        }
        if (nTime == m_nLastWriteTime.load() || MustStop())
            return;
        m_nLastWriteTime.store(nTime);
        Reload();
    }
}

// Waits until the time has stood still for a tick. False if the file has gone.
bool CConfigReader::Settle(const std::string& strFileName, std::int64_t& nTime) const
{
    for (int n = 0; n < kMostTicks && !MustStop(); ++n) {
        Host::Sleep(kFileClockTick);
        std::int64_t nNow = 0;
        if (!Host::GetLastWriteTime(strFileName, nNow))
            return false;
        if (nNow == nTime)
            break;
        nTime = nNow;
    }
    return true;
}

// Whatever becomes of the load, the thread goes on watching.
void CConfigReader::Reload()
{
    Log::Info("[Config reader::Reload thread] Reload TL2 contents.");
    try {
        Load();
    } catch (...) {
        Log::Error("[Config reader::Reload thread] There is an exception because of some reasons.");
    }
}

// Not Terminated, which between Shutdown and the next Start speaks of the thread before.
bool CConfigReader::MustStop() const
{
    const ScopedLock lock(m_lock);
    return m_bStopRequested;
}

void CConfigReader::Pause(unsigned int milliseconds) const
{
    for (unsigned int n = 0; n < milliseconds && !MustStop(); n += kPoll)
        Host::Sleep(kPoll);
}
