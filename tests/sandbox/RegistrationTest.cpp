// Who may speak, and for how long one may be silent.
#include "tests/sandbox/SandboxFixture.h"

using namespace SandboxTest;

TEST(Registration, RefusesWhatIsNoConnectorAndLetsTheLinkTryAgain)
{
    RunningSandbox sandbox;
    Client client(sandbox.Port());
    const auto noGID = client.Register("");
    EXPECT_NE(noGID->nResult, 0);
    EXPECT_EQ(noGID->strMessage, "The GID is empty.");
    EXPECT_NE(client.Register(std::string(21, 'g'))->nResult, 0);

    EXPECT_EQ(client.Register(std::string(20, 'g'))->nResult, 0);
    EXPECT_EQ(client.CheckIn("alice")->nResult, 0);
    EXPECT_NE(client.Register("other")->nResult, 0) << "a link is one connector";
    EXPECT_EQ(client.Register(std::string(20, 'g'))->nResult, 0) << "which may register again";
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
    EXPECT_FALSE(checkin->strErrorMsg.empty());
    const auto checkout = client.CheckOut("alice");
    EXPECT_EQ(checkout->bSuccess.nByte, 0);
    EXPECT_FALSE(checkout->strErrorMsg.empty());
    client.SendList<XC2S_UserListSyncReq>({{"alice", "5"}});
    EXPECT_EQ(client.Register()->nResult, 0);
    EXPECT_TRUE(sandbox.Sessions().empty());
}

TEST(Registration, ANewLinkOfTheSameConnectorReplacesTheOldOne)
{
    RunningSandbox sandbox;
    Client old(sandbox.Port());
    old.Register();
    const auto strSeqNo = old.CheckIn("alice")->strSeqNo;
    Client fresh(sandbox.Port());
    EXPECT_EQ(fresh.Register()->nResult, 0);
    EXPECT_TRUE(old.IsClosed());
    EXPECT_EQ(fresh.CheckOut("alice", strSeqNo)->bSuccess.nByte, 1) << "the connector's users stay its own";
}

TEST(Registration, ConnectorsDoNotDisturbEachOther)
{
    RunningSandbox sandbox;
    Client first(sandbox.Port()), second(sandbox.Port());
    first.Register("one");
    second.Register("two");
    const auto alice = first.CheckIn("alice");
    const auto elsewhere = second.CheckIn("alice");
    EXPECT_EQ(elsewhere->nResult, 3);
    EXPECT_NE(elsewhere->strErrorMsg.find("one/s/w"), std::string::npos) << elsewhere->strErrorMsg;
    EXPECT_EQ(second.CheckOut("alice", alice->strSeqNo)->bSuccess.nByte, 0) << "another's user";
    EXPECT_EQ(second.CheckOut("alice")->bSuccess.nByte, 0);
    EXPECT_EQ(second.CheckIn("bob")->nResult, 0);
    EXPECT_EQ(sandbox.Sessions(), (std::vector<std::string>{"alice on one/s/w", "bob on two/s/w"}));
    EXPECT_EQ(first.CheckOut("alice", alice->strSeqNo)->bSuccess.nByte, 1);
    EXPECT_EQ(second.CheckIn("alice")->nResult, 0);
}

TEST(Registration, SilenceOfThreeCyclesClosesTheLink)
{
    RunningSandbox sandbox;
    Client silent(sandbox.Port()), alive(sandbox.Port()), quick(sandbox.Port());
    silent.Register("silent", 10);
    alive.Register("alive", 10);
    quick.Register("quick", 0);  // counts as 1
    sandbox.Advance(3'000);
    quick.Heartbeat();
    sandbox.Advance(3'000);
    quick.Heartbeat();
    sandbox.Advance(3'001);
    EXPECT_TRUE(quick.IsClosed());
    alive.Heartbeat();
    sandbox.Advance(30'000 - 9'001);
    alive.Heartbeat();
    EXPECT_EQ(sandbox.Lines().find("silent/s/w: closed"), std::string::npos);
    sandbox.Advance(1);
    EXPECT_TRUE(sandbox.Shows("silent/s/w: closed: silent for 3 heartbeat cycles of 10 s"));
    EXPECT_TRUE(silent.IsClosed());
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
    EXPECT_TRUE(client.IsClosed());
}

TEST(Registration, UsersOfAConnectorThatStaysAwayAreDroppedInTheEnd)
{
    RunningSandbox sandbox;
    Client other(sandbox.Port());
    other.Register("other", 1000);
    {
        Client client(sandbox.Port());
        client.Register("gone", 1000);
        client.CheckIn("alice");
        sandbox.Advance(5'000);
    }
    EXPECT_TRUE(sandbox.Shows("gone/s/w: closed: the peer closed it"));
    sandbox.Advance(300'000);
    EXPECT_EQ(other.CheckIn("alice")->nResult, 3);
    sandbox.Advance(1);
    EXPECT_EQ(other.CheckIn("alice")->nResult, 0);
}
