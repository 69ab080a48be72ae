#include "load/Run.h"

#include <algorithm>
#include <asio/ip/tcp.hpp>
#include <csignal>
#include <cstdio>
#include <numeric>
#include <stdexcept>

#include "load/Text.h"

namespace Load {
namespace {

constexpr std::chrono::milliseconds kTick{1};
constexpr std::chrono::seconds kConnectTime{5}, kWarmTime{300}, kLeaveTime{60};
// What comes later than this is lost: long enough that the last calls can still be late.
constexpr auto kDrainTime = kAnswerTimeout + std::chrono::seconds(1);

asio::ip::tcp::endpoint Resolve(asio::io_context& context, const Options& options)
{
    asio::ip::tcp::resolver resolver(context);
    return *resolver.resolve(asio::ip::tcp::v4(), options.strHost, std::to_string(options.nPort)).begin();
}

}  // namespace

Run::Run(const Options& options, Mix& mix, std::function<void(const std::string&)> pfnSay, Note pfnNote)
    : m_options(options),
      m_pfnSay(std::move(pfnSay)),
      m_score{std::vector<CallScore>(mix.vecCalls.size())},
      m_stage{m_context,
              Resolve(m_context, options),
              mix,
              m_score,
              Random(options.nSeed),
              false,
              m_pfnSay,
              [this](GameServer& server) { Work(server); },
              std::move(pfnNote)},
      m_tick(m_context),
      m_signals(m_context, SIGINT, SIGTERM)
{
    for (int n = 0; n < options.nServers; ++n) {
        const auto nFirst = static_cast<int>(std::int64_t{n} * options.nUsers / options.nServers);
        const auto nEnd = static_cast<int>((std::int64_t{n} + 1) * options.nUsers / options.nServers);
        m_vecServers.push_back(std::make_unique<GameServer>(m_stage, n + 1, nFirst, nEnd - nFirst));
    }
}

const Score& Run::Execute()
{
    m_signals.async_wait([this](const asio::error_code& error, int) {
        if (error)
            return;
        m_bHurry = true;
        m_signals.async_wait([this](const asio::error_code& again, int) {
            if (!again)
                Enter(Phase::Over);
        });
    });
    for (const auto& pServer : m_vecServers)
        pServer->Connect();
    Enter(Phase::Connecting);
    m_lastBeat = Clock::now();
    Tick();
    m_context.run();
    return m_score;
}

// ---- phases ----

bool Run::AreAllUp() const { return std::ranges::all_of(m_vecServers, &GameServer::IsUp); }

std::size_t Run::CountIn() const
{
    return std::accumulate(m_vecServers.begin(), m_vecServers.end(), std::size_t{0},
                           [](std::size_t n, auto& p) { return n + p->GetUsers().GetInCount(); });
}

std::size_t Run::CountWaiting() const
{
    return std::accumulate(m_vecServers.begin(), m_vecServers.end(), std::size_t{0},
                           [](std::size_t n, auto& p) { return n + p->GetWaiting(); });
}

void Run::Enter(Phase phase)
{
    m_phase = phase;
    m_phaseStart = Clock::now();
    m_stage.bCounting = phase == Phase::Measuring;
    if (phase == Phase::Measuring)
        m_score.start = m_lastSecond = m_phaseStart;
    if (phase == Phase::Over) {
        for (const auto& pServer : m_vecServers)
            pServer->End();
        m_signals.cancel();
        m_tick.cancel();
    }
}

bool Run::IsPhaseOver() const
{
    const auto time = Clock::now() - m_phaseStart;
    switch (m_phase) {
        case Phase::Connecting:
            return m_bHurry || AreAllUp() || time > kConnectTime;
        case Phase::Warming:
            return m_bHurry || time > kWarmTime ||
                   (CountIn() * 100 >= std::size_t{1} * static_cast<std::size_t>(m_options.nUsers) *
                                           static_cast<std::size_t>(m_options.nWarm) &&
                    CountWaiting() == 0);
        case Phase::Measuring:
            return m_bHurry || time >= std::chrono::seconds(m_options.nSeconds) || !HasCallLeft();
        case Phase::Draining:
            return time > kDrainTime || std::ranges::all_of(m_vecServers, [](const auto& pServer) {
                       return pServer->GetOpen() == 0;
                   });
        case Phase::Leaving:
            return time > kLeaveTime || std::ranges::none_of(m_vecServers, &GameServer::IsUp) ||
                   (CountWaiting() == 0 && CountIn() == 0);
        case Phase::Over:
            break;
    }
    return false;
}

Run::Phase Run::NextPhase() const
{
    const bool bWarm = m_options.nWarm > 0 && m_stage.mix.FindMaker(Makes::In) != nullptr;
    const bool bLeave = m_stage.mix.FindMaker(Makes::Out) != nullptr;
    switch (m_phase) {
        case Phase::Connecting:
            if (std::ranges::none_of(m_vecServers, &GameServer::IsUp))
                throw std::runtime_error("No game server could register.");
            return bWarm ? Phase::Warming : Phase::Measuring;
        case Phase::Warming:
            return Phase::Measuring;
        case Phase::Measuring:
            return Phase::Draining;
        case Phase::Draining:
            return bLeave ? Phase::Leaving : Phase::Over;
        default:
            return Phase::Over;
    }
}

void Run::Tick()
{
    for (const auto& pServer : m_vecServers)
        pServer->NoteOverdue();
    while (IsPhaseOver()) {
        if (m_phase == Phase::Measuring)
            EndMeasurement();
        Enter(NextPhase());
    }
    if (m_phase == Phase::Over)
        return;
    if (m_phase == Phase::Measuring && m_options.dRate > 0)
        NoteDue();
    for (const auto& pServer : m_vecServers)
        Work(*pServer);
    if (Clock::now() - m_lastBeat > kHeartbeatCycle) {
        m_lastBeat = Clock::now();
        for (const auto& pServer : m_vecServers)
            pServer->Beat();
    }
    if (m_phase == Phase::Measuring && Clock::now() - m_lastSecond >= std::chrono::seconds(1))
        OnSecond();
    m_tick.expires_after(kTick);
    m_tick.async_wait([this](const asio::error_code& error) {
        if (!error)
            Tick();
    });
}

void Run::EndMeasurement()
{
    m_score.dSeconds = std::chrono::duration<double>(Clock::now() - m_score.start).count();
    m_score.nNotMade = m_deqDue.size();
}

// The live line: of the second that is over.
void Run::OnSecond()
{
    m_lastSecond += std::chrono::seconds(1);
    const auto nSecond = static_cast<std::size_t>((m_lastSecond - m_score.start) / std::chrono::seconds(1));
    const Second now = nSecond <= m_score.vecSeconds.size() ? m_score.vecSeconds[nSecond - 1] : Second{};
    const CallScore sum = m_score.Sum();
    m_pfnSay(Format("%4llu s %9llu/s   p50 %s   p99 %s   waiting %llu   refused %llu   late %llu   lost %llu",
                    static_cast<unsigned long long>(nSecond), static_cast<unsigned long long>(now.nAnswered),
                    TimeText(now.times.Percentile(0.5)).c_str(), TimeText(now.times.Percentile(0.99)).c_str(),
                    static_cast<unsigned long long>(CountWaiting()),
                    static_cast<unsigned long long>(sum.nRefused), static_cast<unsigned long long>(sum.nLate),
                    static_cast<unsigned long long>(sum.nLost)));
}

// ---- what is done in them ----

void Run::Work(GameServer& server)
{
    if (m_phase == Phase::Warming)
        Warm(server);
    else if (m_phase == Phase::Measuring)
        m_options.dRate == 0 ? Measure(server) : MakeDue();
    else if (m_phase == Phase::Leaving)
        Leave(server);
}

void Run::Warm(GameServer& server)
{
    Call& call = *m_stage.mix.FindMaker(Makes::In);
    const Users& users = server.GetUsers();
    const std::size_t nUsers = users.GetInCount() + users.GetOutCount() + server.GetWaiting();
    const std::size_t nWanted = (nUsers * static_cast<std::size_t>(m_options.nWarm) + 99) / 100;
    while (IsFree(server) && users.GetInCount() + server.GetWaiting() < nWanted &&
           server.Make(call, Clock::now())) {
    }
}

void Run::Leave(GameServer& server)
{
    while (IsFree(server) && server.Make(*m_stage.mix.FindMaker(Makes::Out), Clock::now())) {
    }
}

void Run::Measure(GameServer& server)
{
    while (HasCallLeft() && IsFree(server) && server.Make(Clock::now()))
        ++m_nMade;
}

// With a rate, a call that comes later than its time, because too many wait, is measured from its time on: a
// service that stands still costs all those who would have called.
void Run::NoteDue()
{
    const auto now = Clock::now();
    const double dSeconds = std::chrono::duration<double>(now - m_score.start).count();
    for (const auto nDue = static_cast<std::uint64_t>(dSeconds * m_options.dRate); m_nDue < nDue; ++m_nDue)
        m_deqDue.push_back(now);
}

void Run::MakeDue()
{
    while (!m_deqDue.empty() && HasCallLeft() && MakeSomewhere(m_deqDue.front()))
        m_deqDue.pop_front();
}

// On the next server that can take one more. False if none can.
bool Run::MakeSomewhere(Clock::time_point due)
{
    for (std::size_t n = 0; n < m_vecServers.size(); ++n) {
        GameServer& server = *m_vecServers[m_nNext];
        m_nNext = (m_nNext + 1) % m_vecServers.size();
        if (IsFree(server) && server.Make(due)) {
            ++m_nMade;
            return true;
        }
    }
    return false;
}

}  // namespace Load
