#include "comm/ResWaiter.h"

#include <gtest/gtest.h>

#include "VelkarConnector.h"
#include "base/ModuleFlags.h"
#include "base/ReqIdGenerator.h"
#include "wirova/messages/SessionMessages.h"

namespace {

TEST(ResWaiter, IsRefusedDuringTermination)
{
    ResponseWait<_CHECKIN_RES> wait(TagOf<XS2C_CheckInAns, _CHECKIN_RES>());
    wait.nReqID = 9;
    BeingTerminatedFlag().Set(true);
    EXPECT_FALSE(ResWaiterMap().AddWaiter(&wait));
    BeingTerminatedFlag().Set(false);
    EXPECT_EQ(ResWaiterMap().GetCount(), 0u);
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
