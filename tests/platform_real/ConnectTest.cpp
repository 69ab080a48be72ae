// Opening a connection: what it blocks on, how it fails, and what it may meet on the way.
#include "platform/common/NetConnectCall.h"
#include "tests/platform_real/Loopback.h"
#include "tests/support/Blackhole.h"

using namespace Loopback;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using Support::Blackhole;

TEST(Connect, RefusedFailsAtOnceWithTheSystemsCode)
{
    Peer peer;
    const unsigned short nPort = peer.Port();
    peer.Refuse();
    Client client;
    const auto begin = steady_clock::now();
    EXPECT_FALSE(client.Connect(nPort, "127.0.0.1", 20'000));
    EXPECT_EQ(Code(asio::error::connection_refused), Platova::GetLastError());
    EXPECT_LT(steady_clock::now() - begin, seconds(10));
    EXPECT_TRUE(client.Events().empty());
    EXPECT_EQ(nullptr, client.Active());
}

TEST(Connect, WithoutAnswerEndsWithTheTime)
{
    const Blackhole hole;
    Client client;
    const auto begin = steady_clock::now();
    EXPECT_FALSE(client.Connect(hole.Port(), "127.0.0.1", 300));
    EXPECT_EQ(Code(asio::error::timed_out), Platova::GetLastError());
    EXPECT_GE(steady_clock::now() - begin, milliseconds(290));
    EXPECT_LT(steady_clock::now() - begin, seconds(5));
    EXPECT_FALSE(client.Connect(hole.Port(), "127.0.0.1", -1));
    EXPECT_TRUE(client.Events().empty());
}

TEST(Connect, TakesNamesAndRefusesHostsThatAreNone)
{
    Peer peer;
    Client client;
    EXPECT_TRUE(client.Connect(peer.Port(), "localhost"));
    EXPECT_TRUE(client.WaitFor("connected"));
    const std::string strLong(5000, 'a');
    for (const std::string& strHost : {std::string(), strLong, std::string("256.1.1.1"),
                                       std::string("no-such-host.invalid"), std::string("two words")}) {
        const auto begin = steady_clock::now();
        EXPECT_FALSE(client.Connect(peer.Port(), strHost, 3000)) << strHost;
        EXPECT_NE(0u, Platova::GetLastError()) << strHost;
        EXPECT_LT(steady_clock::now() - begin, seconds(8)) << strHost;
    }
    EXPECT_FALSE(Connector::Connect(client.Get(), nullptr, 1, 100));
    EXPECT_FALSE(Connector::Connect(nullptr, "127.0.0.1", 1, 100));
}

// ---- a resolver that hangs ----

namespace {

Gate* g_pResolverGate = nullptr;
std::atomic<int> g_nResolving{0};

std::error_code HangingResolver(const std::string&, std::vector<Netrova::Endpoint>& vecEndpoints)
{
    ++g_nResolving;
    g_pResolverGate->Wait();
    vecEndpoints.emplace_back(asio::ip::address_v4::loopback(), 0);
    --g_nResolving;
    return {};
}

std::error_code Find(const std::shared_ptr<Netrova::ConnectCall>& pCall,
                     std::vector<Netrova::Endpoint>& vecEndpoints)
{
    return Netrova::FindEndpoints(pCall, "hanging.example", 5, vecEndpoints, &HangingResolver);
}

std::shared_ptr<Netrova::ConnectCall> CallOf(milliseconds timeout)
{
    return std::make_shared<Netrova::ConnectCall>(steady_clock::now() + timeout);
}

}  // namespace

TEST(Resolver, ThatHangsIsLeftBehindAndDoesNotGatherThreads)
{
    Gate gate;
    g_pResolverGate = &gate;
    std::vector<Netrova::Endpoint> vecEndpoints;
    int nStarted = 0;
    std::error_code failed;
    while ((failed = Find(CallOf(milliseconds(10)), vecEndpoints)) == asio::error::timed_out) {
        ++nStarted;
        ASSERT_LE(nStarted, 100) << "a thread for every try";
    }
    EXPECT_EQ(asio::error::host_not_found_try_again, failed);
    EXPECT_TRUE(vecEndpoints.empty());
    gate.Open();
    ASSERT_TRUE(Eventually([] { return g_nResolving.load() == 0; }));
    ASSERT_TRUE(Eventually([&] { return !Find(CallOf(seconds(10)), vecEndpoints); })) << "never recovers";
    ASSERT_EQ(1u, vecEndpoints.size());
    EXPECT_EQ(5, vecEndpoints[0].port());
}

TEST(Resolver, ThatHangsDoesNotHoldUpTheEndOfTheConnector)
{
    Gate gate;
    g_pResolverGate = &gate;
    std::vector<Netrova::Endpoint> vecEndpoints;
    const auto pCall = CallOf(std::chrono::hours(1));
    std::error_code failed;
    std::thread caller([&] { failed = Find(pCall, vecEndpoints); });
    ASSERT_TRUE(Eventually([] { return g_nResolving.load() == 1; }));
    pCall->Abort();  // what the end of the connector does
    caller.join();
    EXPECT_EQ(asio::error::operation_aborted, failed);
    gate.Open();
    EXPECT_TRUE(Eventually([] { return g_nResolving.load() == 0; }));
}

TEST(Dial, TriesAllAddressesAndGivesEachItsShare)
{
    const Blackhole hole;
    Peer peer;
    asio::io_context context;
    auto work = asio::make_work_guard(context);
    std::thread worker([&] { context.run(); });
    {
        asio::ip::tcp::socket socket(context);
        const auto pCall = CallOf(seconds(2));
        const auto loopback = asio::ip::address_v4::loopback();
        EXPECT_FALSE(
            Netrova::Dial(pCall, context, {{loopback, hole.Port()}, {loopback, peer.Port()}}, socket));
        EXPECT_TRUE(socket.is_open());
        EXPECT_EQ(peer.Port(), socket.remote_endpoint().port());
        asio::ip::tcp::socket none(context);
        EXPECT_EQ(asio::error::timed_out, Netrova::Dial(pCall, context, {}, none));
    }
    work.reset();
    worker.join();
}
