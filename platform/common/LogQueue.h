// The lines of a log service between their writers and its files.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/common/LogSink.h"
#include "platform/common/LogStatus.h"
#include "platform/common/Mutex.h"

namespace Logova {

// A writer copies its line into a ring and goes on; when the ring is full the oldest line goes. The queue's
// thread is woken by the first line after a pause, and while lines keep coming looks again every kPause by
// itself, so a stream of lines wakes nobody. A line that has to be flushed at once and kMany waiting lines,
// or a ring that is half full, wake it early. Only that thread touches the files: it flushes them too, and
// closes them at the end. It owns the queue together with the service, so that a service may end while a
// write hangs.
class LogQueue {
public:
    // nLength: lines that may wait. flushInterval: how long a line may stay unflushed. complain(text) is told
    // of errors, on the queue's thread. Throws std::system_error.
    static std::shared_ptr<LogQueue> Start(std::size_t nLength, std::chrono::seconds flushInterval,
                                           std::function<void(const char*)> complain);
    LogQueue(std::size_t nLength, std::chrono::seconds flushInterval,
             std::function<void(const char*)> complain);
    LogQueue(const LogQueue&) = delete;
    LogQueue& operator=(const LogQueue&) = delete;

    // Writes what is waiting, closes the files and ends the thread. A thread that has not got there after
    // kEnd, because a write hangs, is left behind with its lines; the library then stays loaded.
    void End();

    // Keeps the sink until the thread ends. Throws std::bad_alloc.
    void Keep(const std::shared_ptr<RotatingSink>& pSink);

    // From now on the thread runs it every StatusReporter::kLook, and for the last time when the files have
    // been closed.
    void SetReporter(std::shared_ptr<StatusReporter> pReporter);

    // Any thread. The sink is a kept one. Throws std::bad_alloc.
    void Push(RotatingSink& sink, Level level, bool bFlush, std::string_view text);
    std::size_t GetWaiting();
    std::size_t GetLost();  // lines that have gone unwritten since the start

private:
    struct Line {
        spdlog::log_clock::time_point time;
        std::size_t nThread = 0;
        Level level{};
        bool bFlush = false;
        RotatingSink* pSink = nullptr;
        std::string strText;  // keeps its memory from line to line
    };
    enum class State { Asleep, Pausing, Writing };

    void Grow() REQUIRES(m_mutex);
    bool IsUrgent() const REQUIRES(m_mutex);
    void Main(std::vector<Line>& vecBatch);
    void Wait(bool bWritten) REQUIRES(m_mutex);
    void WriteBatch(std::vector<Line>& vecBatch) REQUIRES(m_mutex);
    void Write(Line& line);
    void FlushAll(bool bClose) REQUIRES(m_mutex);
    void Report(bool bEnd) REQUIRES(m_mutex);
    std::chrono::steady_clock::time_point NextWork() const REQUIRES(m_mutex);
    template <class Call>
    void Try(Call call) noexcept;

    static constexpr std::chrono::seconds kEnd{2};
    static constexpr std::chrono::milliseconds kPause{5};
    static constexpr std::size_t kMany = 256;  // waiting lines that still fit into a processor's cache
    static constexpr std::size_t kBatch = 64;  // lines taken off at a time
    static constexpr std::size_t kKeptText = 1u << 10;  // memory that a line keeps

    const std::size_t m_nLength;
    const std::chrono::seconds m_flushInterval;
    const std::function<void(const char*)> m_complain;
    Kernova::Internal::Mutex m_mutex;
    std::condition_variable_any m_cond;
    std::vector<Line> m_vecRing GUARDED_BY(m_mutex);  // grows up to m_nLength
    std::size_t m_nFront GUARDED_BY(m_mutex) = 0;
    std::size_t m_nWaiting GUARDED_BY(m_mutex) = 0;
    std::size_t m_nLost GUARDED_BY(m_mutex) = 0;
    State m_state GUARDED_BY(m_mutex) = State::Writing;
    bool m_bFlush GUARDED_BY(m_mutex) = false;  // a line that is waiting has to be flushed
    bool m_bEnd GUARDED_BY(m_mutex) = false;
    bool m_bEnded GUARDED_BY(m_mutex) = false;
    std::set<std::shared_ptr<RotatingSink>> m_setSinks GUARDED_BY(m_mutex);
    // Whether a line may be unflushed, and when the files are flushed in that case.
    bool m_bUnflushed GUARDED_BY(m_mutex) = false;
    std::chrono::steady_clock::time_point m_nextFlush GUARDED_BY(m_mutex){};
    // Null, or runs at that time.
    std::shared_ptr<StatusReporter> m_pReporter GUARDED_BY(m_mutex);
    std::chrono::steady_clock::time_point m_nextLook GUARDED_BY(m_mutex){};
    bool m_bLeftBehind GUARDED_BY(m_mutex) = false;  // the service has ended without this thread
    std::thread m_thread;                            // of the one who calls Start and End
};

}  // namespace Logova
