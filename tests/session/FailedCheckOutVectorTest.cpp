#include "session/FailedCheckOutVector.h"

#include <gtest/gtest.h>

#include "session/UserKey.h"
#include "tests/session/Users.h"

namespace {

using List = Wirova::RecordVector<XCheckOutInfo>;

TEST(FailedCheckOutVector, KeepsEachSessionOnce)
{
    CFailedCheckOutVector failed;
    failed.AddFailedUser(User("abc", "10.0.0.1", "1"));
    failed.AddFailedUser(User("abc", "10.0.0.1", "1"));
    failed.AddFailedUser(User("abc", "10.0.0.2", "3"));
    failed.AddFailedUser(User("", "10.0.0.3"));
    failed.AddFailedUser(User("nowhere", ""));
    List list;
    ASSERT_TRUE(failed.GetFailedCheckOutList(list));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]->strSeqNo, "1");
    EXPECT_EQ(list[1]->strUserIP, "10.0.0.2");
}

TEST(FailedCheckOutVector, ADeliveryTakesOnlyWhatItHasListed)
{
    CFailedCheckOutVector failed;
    failed.AddFailedUser(User("abc", "10.0.0.1"));
    List list;
    ASSERT_TRUE(failed.GetFailedCheckOutList(list));
    failed.AddFailedUser(User("late", "10.0.0.2"));
    failed.ClearFailedUsers();

    List next;
    ASSERT_TRUE(failed.GetFailedCheckOutList(next));
    ASSERT_EQ(next.size(), 1u);
    EXPECT_EQ(TakeUserKey(*next[0]), "late");
    failed.ClearFailedUsers();
    failed.AddFailedUser(User("abc", "10.0.0.1"));  // delivered and gone, so it counts as new
    EXPECT_EQ(failed.GetCount(), 1u);
}

// A checkout that was sent comes back with the loss of its link, until it has been answered or the link has
// outlived it.
TEST(FailedCheckOutVector, WhatALinkHasAcceptedMayYetBeLost)
{
    CFailedCheckOutVector failed;
    const auto send = [&](const char* pszKey, int nReqID) {
        failed.AddSent(CFailedCheckOutVector::MakePlace(User(pszKey), nReqID));
    };
    send("answered", 5), send("expired", -1), send("expired", -1), send("other", 6);
    failed.OnAnswer("answered", 5);
    failed.OnAnswer("expired", -1);
    failed.OnAnswer("other", 7);
    failed.OnLinkLost();
    List list;
    ASSERT_TRUE(failed.GetFailedCheckOutList(list));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(TakeUserKey(*list[0]) + TakeUserKey(*list[1]), "expiredother");
    failed.ClearFailedUsers();
    EXPECT_EQ(failed.GetSentCount(), 2u);
    for (const bool bAllLeft : {false, true, false})
        failed.OnHeartbeat(bAllLeft);
    EXPECT_EQ(failed.GetSentCount(), 2u);
    failed.OnHeartbeat(true);
    EXPECT_EQ(failed.GetSentCount() + failed.GetCount(), 0u);
}

}  // namespace
