#include "session/UserInfoMap.h"

#include <gtest/gtest.h>

#include "session/UserKey.h"
#include "tests/session/Users.h"

namespace {

TEST(UserInfoMap, RefusesWhatNamesNobody)
{
    CUserInfoMap users;
    EXPECT_FALSE(users.AddUserInfo("", User("abc")));
    EXPECT_FALSE(users.AddUserInfo("abc", User("", "")));
    EXPECT_TRUE(users.AddUserInfo("abc", User("abc", "")));
    EXPECT_FALSE(users.RemoveUserInfo(""));
    EXPECT_FALSE(users.RemoveUserInfo("other"));
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
        strOrder += TakeUserKey(*pRecord) + " ";
    EXPECT_EQ(strOrder, "B a b \xC3\xA4 ");
}

}  // namespace
