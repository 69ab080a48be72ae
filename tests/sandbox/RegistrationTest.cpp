// Who may speak, and for how long one may be silent.
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

namespace {

struct Registration : testing::Test {
    RunningSandbox sandbox;
};

}  // namespace

TEST_F(Registration, RefusesWhatIsNoConnectorAndLetsTheLinkTryAgain)
{
    Client client(sandbox.Port());
    EXPECT_EQ(client.Ask<XS2C_VelkarConnectAns>("VelkarConnect")->strMessage, "The GID is empty.");
    EXPECT_NE(client.Register(""), 0);
    EXPECT_NE(client.Register(std::string(21, 'g')), 0);
    EXPECT_EQ(client.Register(std::string(20, 'g')), 0);
    EXPECT_EQ(client.CheckIn("alice")->nResult, 0);
    EXPECT_NE(client.Register("other"), 0) << "a link is one connector";
    EXPECT_EQ(client.Register(std::string(20, 'g')), 0) << "which may register again";
}

TEST_F(Registration, ComesBeforeEverythingButHeartbeats)
{
    Client client(sandbox.Port());
    client.Send(XC2S_Heartbeat());
    const auto checkin = client.CheckIn("alice");
    EXPECT_GT(checkin->nResult, 1);
    EXPECT_LT(checkin->nResult, 30006) << "the game must see a failure";
    EXPECT_EQ(checkin->strUserID, "alice") << "refusals echo too";
    EXPECT_NE(checkin->strErrorMsg, "");
    EXPECT_FALSE(client.CheckOut("alice"));
    client.SendList("UserListSync", {{"alice", "5"}});
    EXPECT_EQ(client.Register("g"), 0);
    EXPECT_EQ(sandbox.Sessions(), "");
}

TEST_F(Registration, ANewLinkOfTheSameConnectorReplacesTheOldOne)
{
    Client old(sandbox.Port(), "g");
    const auto strSeqNo = old.CheckIn("alice")->strSeqNo;
    Client fresh(sandbox.Port(), "g");
    old.ReadUntilClosed();
    EXPECT_TRUE(fresh.CheckOut("alice", strSeqNo)) << "the connector's users stay its own";
}

TEST_F(Registration, SilenceOfThreeCyclesClosesTheLink)
{
    Client silent(sandbox.Port(), "silent", 10), alive(sandbox.Port(), "alive", 10),
        quick(sandbox.Port(), "quick", 0), nameless(sandbox.Port());  // a cycle of 0 counts as 1
    nameless.Settle();
    sandbox.Advance(3'000);
    quick.Heartbeat();
    sandbox.Advance(3'001);
    quick.ReadUntilClosed();
    sandbox.Advance(10'000 - 6'001);
    nameless.Heartbeat();
    sandbox.Advance(1);
    nameless.ReadUntilClosed();  // ten seconds are for registering
    alive.Heartbeat();
    sandbox.Advance(20'000 - 1);
    alive.Heartbeat();
    EXPECT_FALSE(Contains(sandbox.Lines(), "silent/s/w: closed"));
    sandbox.Advance(1);
    EXPECT_TRUE(sandbox.Shows("silent/s/w: closed: silent for 3 heartbeat cycles of 10 s"));
    silent.ReadUntilClosed();
    alive.Heartbeat();
}

TEST_F(Registration, UsersOfAConnectorThatStaysAwayAreDroppedInTheEnd)
{
    Client other(sandbox.Port(), "other");
    Client(sandbox.Port(), "gone").CheckIn("alice");
    EXPECT_TRUE(sandbox.Shows("gone/s/w: closed: the peer closed it"));
    sandbox.Advance(300'000);
    const auto elsewhere = other.CheckIn("alice");
    EXPECT_EQ(elsewhere->nResult, 3);
    EXPECT_TRUE(Contains(elsewhere->strErrorMsg, "gone/s/w"));
    EXPECT_FALSE(other.CheckOut("alice")) << "another's user";
    sandbox.Advance(1'000);
    EXPECT_EQ(other.CheckIn("alice")->nResult, 0);
}
