// The lines of a log service between their writers and its files.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/common/LogSink.h"
#include "platform/common/Mutex.h"

namespace Logova {

// A writer copies its line into a ring and goes on; when the ring is full the oldest line goes. The queue's
// thread is woken by the first line after a pause, and while lines keep coming looks again every kPause by
// itself, so a stream of lines wakes nobody. A line that has to be flushed at once and a ring that is half
// full wake it early.
class LogQueue {
public:
    // nLength: lines that may wait. complain(text) is told of errors, on the queue's thread. Throws
    // std::system_error.
    LogQueue(std::size_t nLength, std::function<void(const char*)> complain);
    // Writes what is waiting and ends the thread.
    ~LogQueue();
    LogQueue(const LogQueue&) = delete;
    LogQueue& operator=(const LogQueue&) = delete;

    // Any thread. The sink outlives the queue. Throws std::bad_alloc.
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
    void Main();
    void WriteAll(std::vector<Line>& vecBatch) REQUIRES(m_mutex);
    void Write(Line& line);

    static constexpr std::chrono::milliseconds kPause{5};
    static constexpr std::size_t kBatch = 64;           // lines taken off at a time
    static constexpr std::size_t kKeptText = 1u << 10;  // memory that a line keeps

    const std::size_t m_nLength;
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
    std::thread m_thread;  // starts last: it uses the rest
};

}  // namespace Logova
