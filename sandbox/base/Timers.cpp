#include "sandbox/base/Timers.h"

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

namespace Sandbox {

struct Timers::Timer {
    asio::steady_timer timer;
};

Timers::Timers(asio::io_context& context) : m_context(context) {}

Timers::~Timers() = default;

std::uint64_t Timers::After(std::chrono::milliseconds delay, std::function<void()> work)
{
    const std::uint64_t nID = ++m_nLastID;
    auto pTimer = std::make_unique<Timer>(Timer{asio::steady_timer(m_context, delay)});
    Timer& timer = *m_mapTimers.emplace(nID, std::move(pTimer)).first->second;
    timer.timer.async_wait([this, nID, work = std::move(work)](asio::error_code cancelled) {
        if (!cancelled && m_mapTimers.erase(nID) != 0)
            work();
    });
    return nID;
}

void Timers::Cancel(std::uint64_t nID) { m_mapTimers.erase(nID); }

void Timers::CancelAll() { m_mapTimers.clear(); }

}  // namespace Sandbox
