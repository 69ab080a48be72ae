#include "comm/ResWaiter.h"

#include <gtest/gtest.h>

#include <thread>

#include "VelkarConnector.h"
#include "base/ModuleFlags.h"
#include "base/ReqIdGenerator.h"
#include "wirova/messages/SessionMessages.h"

namespace {

using CheckinWait = ResponseWait<_CHECKIN_RES>;
CResWaiterMap& Waiters() { return ResWaiterMap(); }

TEST(ResWaiter, IsRefusedDuringTermination)
{
    CheckinWait wait(TagOf<XS2C_CheckInAns, _CHECKIN_RES>());
    wait.nReqID = 9;
    BeingTerminatedFlag().Set(true);
    EXPECT_FALSE(Waiters().AddWaiter(&wait));
    BeingTerminatedFlag().Set(false);
    EXPECT_EQ(Waiters().GetCount(), 0u);
}

// Waiters come and go while answers for them are stored: nothing is written into a stack frame that has
// gone (ThreadSanitizer and AddressSanitizer watch).
TEST(ResWaiter, NeverOutlivesItsCaller)
{
    std::atomic<bool> bEnd{false};
    std::thread completer([&] {
        while (!bEnd.load())
            Waiters().CompleteWaiter<XS2C_CheckInAns>(77, _CHECKIN_RES{});
    });
    int nAnswered = 0;
    for (int i = 0; i < 20000; ++i) {
        CheckinWait wait(TagOf<XS2C_CheckInAns, _CHECKIN_RES>());
        wait.nReqID = 77;
        WaiterAutoRemover remover(wait);
        Waiters().AddWaiter(&wait);
        PresetResponse(wait, [](_CHECKIN_RES& res) { res.nResult = -1; });
        remover.Remove();
        nAnswered += GetResponse(wait).nResult == 0 ? 1 : 0;
    }
    bEnd = true;
    completer.join();
    EXPECT_EQ(Waiters().GetCount(), 0u);
}

TEST(ReqIdGenerator, WrapsToOneAndNeverGivesZero)
{
    CReqIdGenerator ids;
    EXPECT_EQ(ids.GetNextReqId(), 1u);
    EXPECT_EQ(ids.NextHandleID(), 1u);  // a counter of its own
    ids.SetLastReqId(0xFFFFFFFE);
    EXPECT_EQ(ids.GetNextReqId(), 0xFFFFFFFFu);
    EXPECT_EQ(ids.GetNextReqId(), 1u);
    ids.SetLastHandleId(0xFFFFFFFF);
    EXPECT_EQ(ids.NextHandleID(), 1u);
}

}  // namespace
