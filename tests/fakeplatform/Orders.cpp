// Failures on order, violations, counters.
#include <array>

#include "tests/fakeplatform/FakeHost.h"
#include "tests/fakeplatform/FakeLog.h"
#include "tests/fakeplatform/Parts.h"
#include "tests/support/Outside.h"

namespace Fake {
namespace {

struct Order {
    int nAfter = 0;
    int nTimes = 0;
    unsigned int nCode = 0;
    int nCalls = 0;
};

struct State {
    std::mutex mutex;
    std::array<Order, static_cast<std::size_t>(Op::Count_)> orders;
    std::vector<std::string> vecViolations;
    Counts counts;
};

State& TheState() { return Fake::Immortal<State>(); }

Order& OrderOf(Op op) { return TheState().orders.at(static_cast<std::size_t>(op)); }

}  // namespace

void Fail(Op op, int nTimes, int nAfter, unsigned int nCode)
{
    const std::lock_guard lock(TheState().mutex);
    OrderOf(op) = {nAfter, nTimes, nCode, OrderOf(op).nCalls};
}

int Calls(Op op)
{
    const std::lock_guard lock(TheState().mutex);
    return OrderOf(op).nCalls;
}

bool MustFail(Op op)
{
    if (Support::Outside::IsHere())
        return false;
    unsigned int nCode = 0;
    {
        const std::lock_guard lock(TheState().mutex);
        Order& order = OrderOf(op);
        ++order.nCalls;
        if (order.nTimes == 0)
            return false;
        if (order.nAfter > 0) {
            --order.nAfter;
            return false;
        }
        if (order.nTimes != kAlways)
            --order.nTimes;
        nCode = order.nCode;
    }
    Platova::SetLastError(nCode);
    return true;
}

void Violation(const std::string& strText)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().vecViolations.push_back(strText);
}

std::vector<std::string> Violations()
{
    const std::lock_guard lock(TheState().mutex);
    return TheState().vecViolations;
}

void Count(int Counts::*pCount, int nChange)
{
    const std::lock_guard lock(TheState().mutex);
    TheState().counts.*pCount += nChange;
}

Counts Alive()
{
    const std::lock_guard lock(TheState().mutex);
    return TheState().counts;
}

std::string Describe(const Counts& counts)
{
    std::string out;
    for (const auto& [pszName, nCount] : {std::pair{"pools ", counts.nPools},
                                          {"connectors ", counts.nConnectors},
                                          {"links ", counts.nLinks},
                                          {"streams ", counts.nStreams},
                                          {"stop events ", counts.nStopEvents},
                                          {"change notifications ", counts.nChanges},
                                          {"library holds ", counts.nLibraryHolds}})
        out += pszName + std::to_string(nCount) + ' ';
    return out;
}

void Reset()
{
    HoldPools(false);
    SetSecond(std::chrono::milliseconds(200));
    Journal::Reset();
    HostProcess::Reset();
    const std::lock_guard lock(TheState().mutex);
    TheState().orders.fill({});
    TheState().vecViolations.clear();
}

}  // namespace Fake
