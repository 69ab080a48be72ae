// Who may speak, and for how long one may be silent.
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

TEST(Registration, RefusesWhatIsNoConnectorAndLetsTheLinkTryAgain)
{
    RunningSandbox sandbox;
    Client client(sandbox.Port());
    EXPECT_EQ(client.Ask<XS2C_VelkarConnectAns>("VelkarConnect")->strMessage, "The GID is empty.");
    EXPECT_NE(client.Register(""), 0);
    EXPECT_NE(client.Register(std::string(21, 'g')), 0);
    EXPECT_EQ(client.Register(std::string(20, 'g')), 0);
    EXPECT_EQ(client.CheckIn("alice")->nResult, 0);
    EXPECT_NE(client.Register("other"), 0) << "a link is one connector";
    EXPECT_EQ(client.Register(std::string(20, 'g')), 0) << "which may register again";
}

TEST(Registration, ComesBeforeEverythingButHeartbeats)
{
    RunningSandbox sandbox;
    Client client(sandbox.Port());
    client.Send(XC2S_Heartbeat());
    const auto checkin = client.CheckIn("alice");
    EXPECT_GT(checkin->nResult, 1);
    EXPECT_LT(checkin->nResult, 30006) << "the game must see a failure";
    EXPECT_EQ(checkin->strUserID, "alice") << "refusals echo too";
    EXPECT_NE(checkin->strErrorMsg, "");
    const auto checkout = client.Ask<XS2C_CheckOutAns>("CheckOut strUserID=alice");
    EXPECT_EQ(checkout->bSuccess.nByte, 0);
    EXPECT_NE(checkout->strErrorMsg, "");
    client.SendList("UserListSync", {{"alice", "5"}});
    EXPECT_EQ(client.Register("g"), 0);
    EXPECT_EQ(sandbox.Sessions(), "");
}

TEST(Registration, ANewLinkOfTheSameConnectorReplacesTheOldOne)
{
    RunningSandbox sandbox;
    Client old(sandbox.Port(), "g");
    const auto strSeqNo = old.CheckIn("alice")->strSeqNo;
    Client fresh(sandbox.Port(), "g");
    old.ReadUntilClosed();
    EXPECT_TRUE(fresh.CheckOut("alice", strSeqNo)) << "the connector's users stay its own";
}

TEST(Registration, ConnectorsDoNotDisturbEachOther)
{
    RunningSandbox sandbox;
    Client first(sandbox.Port(), "one"), second(sandbox.Port(), "two");
    const auto alice = first.CheckIn("alice");
    const auto elsewhere = second.CheckIn("alice");
    EXPECT_EQ(elsewhere->nResult, 3);
    EXPECT_NE(elsewhere->strErrorMsg.find("one/s/w"), std::string::npos) << elsewhere->strErrorMsg;
    EXPECT_FALSE(second.CheckOut("alice", alice->strSeqNo)) << "another's user";
    EXPECT_FALSE(second.CheckOut("alice"));
    EXPECT_EQ(second.CheckIn("bob")->nResult, 0);
    EXPECT_EQ(sandbox.Sessions(), "alice on one/s/w, bob on two/s/w");
    EXPECT_TRUE(first.CheckOut("alice", alice->strSeqNo));
    EXPECT_EQ(second.CheckIn("alice")->nResult, 0);
}

TEST(Registration, SilenceOfThreeCyclesClosesTheLink)
{
    RunningSandbox sandbox;
    Client silent(sandbox.Port(), "silent", 10), alive(sandbox.Port(), "alive", 10),
        quick(sandbox.Port(), "quick", 0);  // counts as 1
    sandbox.Advance(3'000);
    quick.Heartbeat();
    sandbox.Advance(3'001);
    quick.ReadUntilClosed();
    alive.Heartbeat();
    sandbox.Advance(30'000 - 6'001);
    alive.Heartbeat();
    EXPECT_EQ(sandbox.Lines().find("silent/s/w: closed"), std::string::npos);
    sandbox.Advance(1);
    EXPECT_TRUE(sandbox.Shows("silent/s/w: closed: silent for 3 heartbeat cycles of 10 s"));
    silent.ReadUntilClosed();
    alive.Heartbeat();
}

TEST(Registration, ALinkThatNeverRegistersIsClosed)
{
    RunningSandbox sandbox;
    Client client(sandbox.Port());
    client.Settle();
    sandbox.Advance(10'000);
    client.Heartbeat();
    sandbox.Advance(1);
    client.ReadUntilClosed();
}

TEST(Registration, UsersOfAConnectorThatStaysAwayAreDroppedInTheEnd)
{
    RunningSandbox sandbox;
    Client other(sandbox.Port(), "other");
    Client(sandbox.Port(), "gone").CheckIn("alice");
    EXPECT_TRUE(sandbox.Shows("gone/s/w: closed: the peer closed it"));
    sandbox.Advance(300'000);
    EXPECT_EQ(other.CheckIn("alice")->nResult, 3);
    sandbox.Advance(1);
    EXPECT_EQ(other.CheckIn("alice")->nResult, 0);
}
