// What follows a registration: failed checkouts, the user list, and those whom nobody confirms.
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

// alice, bob and carol are checked in on "g" when its link is lost.
class ListsTest : public testing::Test {
protected:
    ListsTest()
    {
        Client client(Port(), "g");
        m_strAlice = client.CheckIn("alice")->strSeqNo;
        m_strBob = client.CheckIn("bob")->strSeqNo;
        client.CheckIn("carol");
    }
    unsigned short Port() const { return m_sandbox.Port(); }

    RunningSandbox m_sandbox;
    std::string m_strAlice, m_strBob;
};

}  // namespace

TEST_F(ListsTest, UnconfirmedUsersGoAfterTwoCycles)
{
    Client client(Port(), "g", 10);
    client.SendList("UserListSync", {{"alice", m_strAlice}});
    EXPECT_EQ(client.CheckIn("bob")->nResult, 0) << "a checkin confirms as well";
    m_sandbox.Advance(20'000);
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w, carol on g/s/w, bob on g/s/w");
    client.Heartbeat();
    m_sandbox.Advance(1);
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w, bob on g/s/w");
    m_sandbox.Advance(20'001);
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w, bob on g/s/w") << "once, not again and again";
}

TEST_F(ListsTest, UsersOnTheMoveNeedNoConfirmation)
{
    Client client(Port(), "g");
    client.Move("To", "alice");
    Client again(Port(), "g", 1), target(Port(), "target");
    m_sandbox.Advance(2'001);
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w moving");
    EXPECT_TRUE(target.Move("From", "alice"));
}

TEST_F(ListsTest, ANewRegistrationStartsTheTimeAnew)
{
    Client(Port(), "g", 10).Settle();
    m_sandbox.Advance(15'000);
    Client client(Port(), "g", -5);  // counts as 1
    m_sandbox.Advance(2'000);
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w, bob on g/s/w, carol on g/s/w");
    m_sandbox.Advance(1);
    EXPECT_EQ(m_sandbox.Sessions(), "");
}

TEST_F(ListsTest, FailedCheckoutsAreCheckedOut)
{
    Client other(Port(), "other"), client(Port(), "g");
    const auto strDave = other.CheckIn("dave")->strSeqNo;
    client.Move("To", "alice");
    other.SendList("FailedCheckOut", {{"alice", m_strAlice}, {"bob", m_strBob}});
    EXPECT_EQ(m_sandbox.Sessions(), "bob on g/s/w, carol on g/s/w, dave on other/s/w")
        << "a move is checked out from either side";
    client.SendList("FailedCheckOut", {{"bob", "1"},       // another session
                                       {"carol", ""},      // late answer: the Seq No never arrived
                                       {"dave", ""},       // not here
                                       {"dave", strDave},  // neither
                                       {"nobody", "77"},
                                       {"", ""}});
    EXPECT_EQ(m_sandbox.Sessions(), "bob on g/s/w, dave on other/s/w");
    EXPECT_TRUE(m_sandbox.Shows("failed checkouts: 1 checked out, 5 not found"));
}

TEST_F(ListsTest, TheListBringsBackUsersThatTheSandboxHasForgotten)
{
    RunningSandbox restarted;  // in memory: it knows nothing
    Client client(restarted.Port(), "g", 10);
    client.SendList("UserListSync", {{"alice", m_strAlice},
                                     {"bob", m_strAlice},  // the same number again
                                     {"carol", "x7"},
                                     {"dave", "99999999999"},
                                     {"nobody", "78"},
                                     {"erin", ""}});
    EXPECT_TRUE(restarted.Shows("user list: 0 confirmed, 2 checked in again, 4 not taken"));
    restarted.Advance(20'001);
    EXPECT_EQ(restarted.Sessions(), "alice on g/s/w, erin on g/s/w") << "and confirmed";
    EXPECT_TRUE(client.CheckOut("alice", m_strAlice)) << "under the Seq No of the list";
    EXPECT_TRUE(client.CheckOut("erin"));
}

TEST_F(ListsTest, NumbersThatTheListHasBroughtAreNotGivenAgain)
{
    RunningSandbox restarted;
    Client client(restarted.Port(), "g");
    const std::int64_t nNext = std::stoll(client.CheckIn("dave")->strSeqNo) + 1;
    client.SendList("UserListSync",
                    {{"alice", std::to_string(nNext)}, {"bob", std::to_string(nNext + 1)}, {"dave", "5"}});
    EXPECT_EQ(client.CheckIn("carol")->strSeqNo, std::to_string(nNext + 2));
    EXPECT_TRUE(client.CheckOut("dave", "5")) << "of its own users a connector knows best";
}

TEST_F(ListsTest, TheListDoesNotTakeUsersFromOthers)
{
    Client client(Port(), "g"), other(Port(), "other");
    client.Move("To", "bob");
    other.SendList("UserListSync", {{"alice", m_strAlice}, {"carol", "5"}, {"bob", "6"}});
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w, bob on g/s/w moving, carol on g/s/w")
        << "the number is not his";
    other.SendList("UserListSync", {{"bob", m_strBob}});
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w, bob on other/s/w, carol on g/s/w") << "was on his way";
    client.Move("To", "alice");
    client.SendList("UserListSync", {{"alice", m_strAlice}});
    EXPECT_EQ(m_sandbox.Sessions(), "alice on g/s/w moving, bob on other/s/w, carol on g/s/w")
        << "her own connector does not call her back";
}
