// Failures on order, violations, counters.
#include <gtest/gtest.h>

#include "tests/fakeplatform/FakeHost.h"
#include "tests/fakeplatform/FakeLog.h"
#include "tests/fakeplatform/Parts.h"
#include "tests/support/Outside.h"

namespace Fake {
namespace {

struct Order {
    int nAfter = 0;
    int nTimes = 0;
    int nCalls = 0;
};

struct OrderState {
    std::map<Op, Order> mapOrders;
    std::vector<std::string> vecViolations;
    Counts counts;
};

Support::Guarded<OrderState>& TheOrders() { return Immortal<OrderState>(); }

}  // namespace

void Fail(Op op, int nTimes, int nAfter)
{
    const auto state = TheOrders().Lock();
    Order& order = state->mapOrders[op];
    order = {nAfter, nTimes, order.nCalls};
}

int Calls(Op op) { return TheOrders()->mapOrders[op].nCalls; }

bool MustFail(Op op)
{
    if (Support::Outside::IsHere())
        return false;
    const auto state = TheOrders().Lock();
    Order& order = state->mapOrders[op];
    ++order.nCalls;
    if (order.nTimes == 0 || order.nAfter-- > 0)
        return false;
    order.nAfter = 0;
    order.nTimes -= order.nTimes == kAlways ? 0 : 1;
    Platova::SetLastError(kOrderedCode);
    return true;
}

void Violation(const std::string& strText) { TheOrders()->vecViolations.push_back(strText); }

std::vector<std::string> Violations() { return TheOrders()->vecViolations; }

void Count(const char* pszObjects, int nChange)
{
    const auto state = TheOrders().Lock();
    if ((state->counts[pszObjects] += nChange) == 0)
        state->counts.erase(pszObjects);
}

Counts Alive() { return TheOrders()->counts; }

std::string Describe(const Counts& counts) { return testing::PrintToString(counts); }

void Reset()
{
    HoldPools(false);
    SetSecond(std::chrono::milliseconds(200));
    Journal::Reset();
    HostProcess::Reset();
    const auto state = TheOrders().Lock();
    state->mapOrders.clear();
    state->vecViolations.clear();
}

}  // namespace Fake
