// Work that is put off. Belongs to the server's thread; all of it is given up before the server ends.
#pragma once

#include <asio.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>

namespace Sandbox {

class Timers {
public:
    explicit Timers(asio::io_context& context) : m_context(context) {}

    // Runs work once, on the server's thread; it must not throw. Returns what Cancel takes.
    std::uint64_t After(std::chrono::milliseconds delay, std::function<void()> work)
    {
        const std::uint64_t nID = ++m_nLastID;
        asio::steady_timer& timer = m_mapTimers.try_emplace(nID, m_context, delay).first->second;
        timer.async_wait([this, nID, work = std::move(work)](asio::error_code cancelled) {
            if (cancelled || m_mapTimers.erase(nID) == 0)
                return;
            work();
        });
        return nID;
    }
    void Cancel(std::uint64_t nID) { m_mapTimers.erase(nID); }
    void CancelAll() { m_mapTimers.clear(); }

private:
    asio::io_context& m_context;
    std::uint64_t m_nLastID = 0;
    std::map<std::uint64_t, asio::steady_timer> m_mapTimers;
};

}  // namespace Sandbox
