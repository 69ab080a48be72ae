// What follows a registration: failed checkouts, the user list, and those whom nobody confirms.
#include <gtest/gtest.h>

#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

using Names = std::vector<std::string>;

// alice, bob and carol are checked in on "g" when its link is lost.
class ListsTest : public testing::Test {
protected:
    ListsTest()
    {
        Client client(m_sandbox.Port());
        client.Register("g", 1000);
        m_strAlice = client.CheckIn("alice")->strSeqNo;
        m_strBob = client.CheckIn("bob")->strSeqNo;
        client.CheckIn("carol");
    }

    RunningSandbox m_sandbox;
    std::string m_strAlice, m_strBob;
};

}  // namespace

TEST_F(ListsTest, UnconfirmedUsersGoAfterTwoCycles)
{
    Client client(m_sandbox.Port());
    client.Register("g", 10);
    client.SendList<XC2S_UserListSyncReq>({{"alice", m_strAlice}});
    EXPECT_EQ(client.CheckIn("bob")->nResult, 0) << "a checkin confirms as well";
    m_sandbox.Advance(20'000);
    EXPECT_EQ(m_sandbox.Sessions().size(), 3u);
    client.Heartbeat();
    m_sandbox.Advance(1);
    EXPECT_EQ(m_sandbox.Sessions(), (Names{"alice on g/s/w", "bob on g/s/w"}));
    m_sandbox.Advance(20'001);
    EXPECT_EQ(m_sandbox.Sessions().size(), 2u) << "once, not again and again";
}

TEST_F(ListsTest, UsersOnTheMoveNeedNoConfirmation)
{
    Client client(m_sandbox.Port());
    client.Register("g", 1000);
    client.MoveTo("alice");
    Client again(m_sandbox.Port()), target(m_sandbox.Port());
    again.Register("g", 1);
    target.Register("target", 1000);
    m_sandbox.Advance(2'001);
    EXPECT_EQ(m_sandbox.Sessions(), Names{"alice on g/s/w moving"});
    EXPECT_EQ(target.MoveFrom("alice")->bSuccess.nByte, 1);
}

TEST_F(ListsTest, ANewRegistrationStartsTheTimeAnew)
{
    {
        Client client(m_sandbox.Port());
        client.Register("g", 10);
        m_sandbox.Advance(15'000);
    }
    Client client(m_sandbox.Port());
    client.Register("g", -5);  // counts as 1
    m_sandbox.Advance(2'000);
    EXPECT_EQ(m_sandbox.Sessions().size(), 3u);
    m_sandbox.Advance(1);
    EXPECT_TRUE(m_sandbox.Sessions().empty());
}

TEST_F(ListsTest, FailedCheckoutsAreCheckedOut)
{
    Client other(m_sandbox.Port());
    other.Register("other", 1000);
    const auto strDave = other.CheckIn("dave")->strSeqNo;
    Client client(m_sandbox.Port());
    client.Register("g", 1000);
    client.SendList<XC2S_FailedCheckOutReq>({{"alice", m_strAlice},
                                             {"bob", "1"},       // another session
                                             {"carol", ""},      // late answer: the Seq No never arrived
                                             {"dave", ""},       // not here
                                             {"dave", strDave},  // neither
                                             {"nobody", "77"},
                                             {"", ""}});
    EXPECT_EQ(m_sandbox.Sessions(), (Names{"bob on g/s/w", "dave on other/s/w"}));
    EXPECT_TRUE(m_sandbox.Shows("failed checkouts: 2 checked out, 5 not found"));
}

TEST_F(ListsTest, AFailedMoveIsCheckedOutFromEitherSide)
{
    Client client(m_sandbox.Port()), target(m_sandbox.Port());
    client.Register("g", 1000);
    target.Register("target", 1000);
    client.MoveTo("alice");
    target.SendList<XC2S_FailedCheckOutReq>({{"alice", m_strAlice}, {"bob", m_strBob}});
    EXPECT_EQ(m_sandbox.Sessions(), (Names{"bob on g/s/w", "carol on g/s/w"}));
}

TEST_F(ListsTest, TheListBringsBackUsersThatTheSandboxHasForgotten)
{
    RunningSandbox restarted;  // in memory: it knows nothing
    Client client(restarted.Port());
    client.Register("g", 10);
    client.SendList<XC2S_UserListSyncReq>({{"alice", m_strAlice},
                                           {"bob", m_strAlice},  // the same number again
                                           {"carol", "x7"},
                                           {"dave", "99999999999"},
                                           {"nobody", "78"},
                                           {"erin", ""}});
    EXPECT_TRUE(restarted.Shows("user list: 0 confirmed, 2 checked in again, 4 not taken"));
    restarted.Advance(20'001);
    EXPECT_EQ(restarted.Sessions().size(), 2u) << "and confirmed";
    EXPECT_EQ(client.CheckOut("alice", m_strAlice)->bSuccess.nByte, 1) << "under the Seq No of the list";
    EXPECT_EQ(client.CheckOut("erin")->bSuccess.nByte, 1);
}

TEST_F(ListsTest, NumbersThatTheListHasBroughtAreNotGivenAgain)
{
    RunningSandbox restarted;
    Client client(restarted.Port());
    client.Register();
    const std::int64_t nNext = std::stoll(client.CheckIn("dave")->strSeqNo) + 1;
    client.SendList<XC2S_UserListSyncReq>(
        {{"alice", std::to_string(nNext)}, {"bob", std::to_string(nNext + 1)}, {"dave", "5"}});
    EXPECT_EQ(client.CheckIn("carol")->strSeqNo, std::to_string(nNext + 2));
    EXPECT_EQ(client.CheckOut("dave", "5")->bSuccess.nByte, 1) << "of its own users a connector knows best";
}

TEST_F(ListsTest, TheListDoesNotTakeUsersFromOthers)
{
    Client client(m_sandbox.Port()), other(m_sandbox.Port());
    client.Register("g", 1000);
    other.Register("other", 1000);
    client.MoveTo("bob");
    other.SendList<XC2S_UserListSyncReq>({{"alice", m_strAlice}, {"carol", "5"}, {"bob", "6"}});
    EXPECT_EQ(m_sandbox.Sessions()[1], "bob on g/s/w moving") << "the number is not his";
    other.SendList<XC2S_UserListSyncReq>({{"bob", m_strBob}});
    EXPECT_EQ(m_sandbox.Sessions(), (Names{"alice on g/s/w", "bob on other/s/w", "carol on g/s/w"}))
        << "bob was on his way";
    client.MoveTo("alice");
    client.SendList<XC2S_UserListSyncReq>({{"alice", m_strAlice}});
    EXPECT_EQ(m_sandbox.Sessions()[0], "alice on g/s/w moving") << "her own connector does not call her back";
}
