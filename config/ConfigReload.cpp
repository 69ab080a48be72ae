// The reload thread: watches the directory of the host's executable and loads the settings file again when
// its last write time has changed. No failure here stops the library; without the thread the settings stay
// what they are.
#include "base/LastErrorCode.h"
#include "base/Logger.h"
#include "config/ConfigReader.h"

using Kernova::XTL::ScopedLock;
using std::chrono::steady_clock;

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
// The pause between two tries while the directory cannot be watched, and before a file is read again that was
// no whole document, in milliseconds.
constexpr unsigned int kTryAgain = 1000;
// How often the thread looks at the file without a notification, in milliseconds: for a file whose changes
// the system does not tell, such as one on a network share, and for a directory that has been made again.
constexpr unsigned int kSlowLook = 10'000;

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
    if (LoadFile(Purpose::First) != Outcome::Good)
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
    Host::NameThread("velkar-reload");
    while (!MustStop()) {
        try {
            Run();
            return;
        } catch (...) {  // out of memory
            Log::Error("[Config reader::Reload thread] There is an exception because of some reasons.");
            Pause(kTryAgain);
        }
    }
}

// A file, an event or a watch that is not there costs a log line. The thread then looks now and then.
void CConfigReader::Run()
{
    m_bRetry = false;
    const std::string strFileName = GetFileName();
    std::int64_t nTime = 0;
    m_bMissing = !Host::GetLastWriteTime(strFileName, nTime);
    if (m_bMissing) {
        Log::WarningFmt("[Config reader::Reload thread] Failed to get attribute of a TL2 file. FILE: %s.",
                        Host::TextFromPath(strFileName).c_str());
    }
    const StopEventScope stop(*this);
    if (stop.Get() == nullptr) {
        Log::WarningFmt(
            "[Config reader::Reload thread] Failed to create a handle for a TL2 file reload thread. "
            "ErrorCode: %d",
            LastErrorCode());
    }
    Watch(strFileName, stop.Get());
}

// Watches the directory of the host's executable alone. A change of any file there makes the thread look at
// the settings file, wherever that file is. Without a change it looks every kSlowLook and begins the watch
// anew: the directory may be another one under the same name.
void CConfigReader::Watch(const std::string& strFileName, Host::StopEvent* pStop)
{
    const std::string strDirectory = Host::GetExecutableDirectory();
    std::unique_ptr<Host::ChangeNotification, CloseChange> change(Host::FindFirstChange(strDirectory));
    if (!change) {
        Log::WarningFmt(
            "[Config reader::Reload thread] Failed to create a handle for a TL2 file modify "
            "notification. ErrorCode: %d",
            LastErrorCode());
    }
    LookAtFile(strFileName);  // the file may have changed between the load in Open and the watch
    while (!Terminated() && !MustStop()) {
        const unsigned int nPatience = m_bRetry ? kTryAgain : kSlowLook;
        switch (Host::WaitForStopOrChange(pStop, change.get(), nPatience)) {
            case Host::WaitResult::Stopped:
                return;
            case Host::WaitResult::Failed:
                Pause(kTryAgain);
                [[fallthrough]];
            case Host::WaitResult::TimedOut:
                change.reset();
                change.reset(Host::FindFirstChange(strDirectory));
                LookAtFile(strFileName);
                break;
            case Host::WaitResult::Changed:
                LookAtFile(strFileName);
                if (!Host::FindNextChange(change.get()))
                    Pause(kTryAgain);
                // Once more, for a save between the first look and the renewed watch.
                LookAtFile(strFileName);
                break;
        }
    }
}

// Loads the file if its last write time has changed, and once more for each change during the load. The time
// is stored before the load, so a load that fails is not repeated before the file changes again, unless it
// has found no whole document. A file that is not there is told to the log once: the log's own file may be
// what has changed in the directory.
void CConfigReader::LookAtFile(const std::string& strFileName)
{
    while (!MustStop()) {
        std::int64_t nTime = 0;
        bool bThere = Host::GetLastWriteTime(strFileName, nTime);
        const bool bMoved = bThere && nTime != m_nLastWriteTime.load();
        if (bThere && !bMoved && !IsRetryDue()) {
            m_bMissing = false;
            return;
        }
        bThere = bThere && Settle(strFileName, nTime);
        if (!bThere && !m_bMissing) {
            Log::WarningFmt(
                "[Config reader::Reload thread] Reload TL2 contents. GetFileAttributesEx() "
                "failed. ErrorCode: %d",
                LastErrorCode());
        }
        m_bMissing = !bThere;
        if (!bThere || MustStop())
            return;
        if (nTime == m_nLastWriteTime.load() && (bMoved || !IsWhole(strFileName))) {
            m_nextTry = steady_clock::now() + std::chrono::milliseconds(kSlowLook);
            return;
        }
        m_nLastWriteTime.store(nTime);
        Reload();
    }
}

bool CConfigReader::IsRetryDue() const { return m_bRetry && steady_clock::now() >= m_nextTry; }

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
    m_bRetry = true;
    m_nextTry = steady_clock::now() + std::chrono::milliseconds(kTryAgain);
    try {
        m_bRetry = LoadFile(Purpose::Reload) == Outcome::NoDocument;
        LogWarnings();
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
