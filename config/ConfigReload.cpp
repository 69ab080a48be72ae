// The reload thread: watches the directory of the host's executable and loads the settings file again when
// its last write time has changed. No failure here stops the library; without the thread the settings stay
// what they are.
#include "base/LastErrorCode.h"
#include "base/Logger.h"
#include "config/ConfigReader.h"

using Kernova::XTL::ScopedLock;

namespace {

// How often a waiting thread looks whether it has to stop, in milliseconds.
constexpr unsigned int kPoll = 50;
// Longer than the step of the clock by which a system stamps its files, in milliseconds. Two saves within one
// step get the same time. A load therefore begins one tick after the time of the file: any later save gets
// another time and is noticed.
constexpr unsigned int kFileClockTick = 50;
// A file that is written again and again is loaded after this many ticks, although its time has not stood
// still.
constexpr int kMostTicks = 20;
// The pause between two tries while the directory cannot be watched, in milliseconds.
constexpr unsigned int kWatchAgain = 1000;

struct CloseChange {
    void operator()(Host::ChangeNotification* pChange) const { Host::CloseChange(pChange); }
};

}  // namespace

// Holds the running flag to the end of Execute, also when an exception ends it: Shutdown waits for the flag.
class CConfigReader::RunningScope {
public:
    explicit RunningScope(std::atomic<bool>& bRunning) : m_bRunning(bRunning) { m_bRunning.store(true); }
    ~RunningScope() { m_bRunning.store(false); }
    RunningScope(const RunningScope&) = delete;
    RunningScope& operator=(const RunningScope&) = delete;

private:
    std::atomic<bool>& m_bRunning;
};

// Makes the stop event, and lets Shutdown set it for as long as it exists. Get() is null if it could not be
// made.
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
    // The time is read before the load: a save during the load is then a change that the reload thread finds.
    std::int64_t nTime = 0;
    if (Host::GetLastWriteTime(strTL2FileName, nTime) && Host::IsFreshlyWritten(strTL2FileName))
        Settle(strTL2FileName, nTime);
    m_nLastWriteTime.store(nTime);
    if (!LoadFile(true))
        return false;
    if (!m_bRunning.exchange(true) && !Start())
        m_bRunning.store(false);  // no thread could be made: the library runs without reloading
    return true;
}

// The thread has ended before its document is freed, and a thread that has not reached its wait yet sees the
// flag.
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
    } catch (...) {  // out of memory: the thread ends and the settings stay what they are
        Log::Error("[Config reader::Reload thread] There is an exception because of some reasons.");
    }
}

// A file or an event that is not there ends the thread at once, with a log line.
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
            LastErrorCode());
        return;
    }
    Watch(strFileName, stop.Get());
}

// Watches the directory of the host's executable alone. A change of any file there makes the thread look at
// the settings file, wherever that file is; a settings file elsewhere causes no such look by itself.
void CConfigReader::Watch(const std::string& strFileName, Host::StopEvent* pStop)
{
    const std::unique_ptr<Host::ChangeNotification, CloseChange> change(
        Host::FindFirstChange(Host::GetExecutableDirectory()));
    if (!change) {
        Log::WarningFmt(
            "[Config reader::Reload thread] Failed to create a handle for a TL2 file modify "
            "notification. ErrorCode: %d",
            LastErrorCode());
        return;
    }
    LookAtFile(strFileName, false);  // the file may have changed between the load in Open and the watch
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
                // Once more, for a save between the first look and the renewed watch.
                LookAtFile(strFileName, false);
                break;
        }
    }
}

// Loads the file if its last write time has changed, and once more for each change during the load. The time
// is stored before the load, so a load that fails is not repeated before the file changes again.
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
                    LastErrorCode());
            }
            return;
        }
        if (nTime == m_nLastWriteTime.load() || MustStop())
            return;
        m_nLastWriteTime.store(nTime);
        Reload();
    }
}

// Waits until the file's time has not changed for one tick, or kMostTicks have passed, and leaves the last
// time in nTime. False if the file is no longer there.
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

// One load on this thread. A load that fails, or throws, does not end the thread: the next save may be a good
// one.
void CConfigReader::Reload()
{
    Log::Info("[Config reader::Reload thread] Reload TL2 contents.");
    try {
        Load();
    } catch (...) {
        Log::Error("[Config reader::Reload thread] There is an exception because of some reasons.");
    }
}

// Whether Shutdown has been called since the last Open. Terminated() cannot tell: after a Shutdown it stays
// true until the next Start, and the Open in between has to load and settle as well.
bool CConfigReader::MustStop() const
{
    const ScopedLock lock(m_lock);
    return m_bStopRequested;
}

// Sleeps that long, but no longer than a poll once Shutdown has been called.
void CConfigReader::Pause(unsigned int milliseconds) const
{
    for (unsigned int n = 0; n < milliseconds && !MustStop(); n += kPoll)
        Host::Sleep(kPoll);
}
