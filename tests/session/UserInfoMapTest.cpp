#include "session/UserInfoMap.h"

#include <gtest/gtest.h>

#include "tests/session/Users.h"

namespace {

TEST(UserInfoMap, ANewCheckinReplacesTheRecord)
{
    CUserInfoMap users;
    CUserInfo first = User("abc", "10.0.0.1", "1");
    first.SetFirst(false);
    ASSERT_TRUE(users.AddUserInfo("abc", first));
    ASSERT_TRUE(users.AddUserInfo("abc", User("abc", "10.0.0.2", "2")));
    CUserInfo found;
    ASSERT_TRUE(users.FindUserInfo("abc", found));
    EXPECT_EQ(found.GetSeqNo(), "2");
    EXPECT_TRUE(found.IsFirst());
    EXPECT_EQ(users.GetCount(), 1u);
}

TEST(UserInfoMap, RefusesWhatNamesNobody)
{
    CUserInfoMap users;
    EXPECT_FALSE(users.AddUserInfo("", User("abc")));
    EXPECT_FALSE(users.AddUserInfo("abc", User("", "")));
    EXPECT_TRUE(users.AddUserInfo("abc", User("abc", "")));
    EXPECT_FALSE(users.RemoveUserInfo(""));
    EXPECT_FALSE(users.RemoveUserInfo("other"));
    CUserInfo out = User("kept");
    EXPECT_FALSE(users.FindUserInfo("other", out));
    EXPECT_EQ(out.GetKey(), "kept");
}

TEST(UserInfoMap, ListsUsersInTheOrderOfTheirKeys)
{
    CUserInfoMap users;
    Wirova::RecordVector<XCheckOutInfo> none;
    EXPECT_FALSE(users.GetUserCheckOutList(none));
    for (const char* pszKey : {"b", "B", "a", "\xC3\xA4"})
        users.AddUserInfo(pszKey, User(pszKey));
    Wirova::RecordVector<XCheckOutInfo> list;
    ASSERT_TRUE(users.GetUserCheckOutList(list));
    std::string strOrder;
    for (const auto* pRecord : list)
        strOrder += pRecord->strUserID + " ";
    EXPECT_EQ(strOrder, "B a b \xC3\xA4 ");
}

}  // namespace
