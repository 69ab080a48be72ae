// One run: connect, check users in, measure, wait for the last answers, check the users out.
#pragma once

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <deque>
#include <memory>
#include <vector>

#include "load/GameServer.h"
#include "load/Options.h"

namespace Load {

class Run {
public:
    using Note = std::function<void(const Call&, const User&, const char* pszOutcome)>;
    // Throws std::system_error if the service's address means nothing. pfnNote, if not empty, hears of each
    // call that is in the score.
    Run(const Options& options, Mix& mix, std::function<void(const std::string&)> pfnSay, Note pfnNote);

    // Blocks until the run is over. Throws std::runtime_error if no server could register.
    const Score& Execute();

private:
    enum class Phase { Connecting, Warming, Measuring, Draining, Leaving, Over };

    void Tick();
    void OnSecond();
    void EndMeasurement();
    void Enter(Phase phase);
    bool IsPhaseOver() const;
    Phase NextPhase() const;
    bool AreAllUp() const;
    std::size_t CountIn() const;
    std::size_t CountWaiting() const;
    void Work(GameServer& server);  // the calls that the phase wants of it now
    void Warm(GameServer& server);
    void Measure(GameServer& server);
    void Leave(GameServer& server);
    void NoteDue();
    void MakeDue();
    bool MakeSomewhere(Clock::time_point due);
    bool IsFree(const GameServer& server) const
    {
        return server.GetWaiting() < static_cast<std::size_t>(m_options.nInFlight);
    }
    bool HasCallLeft() const { return m_options.nCalls == 0 || m_nMade < m_options.nCalls; }

    const Options& m_options;
    const std::function<void(const std::string&)> m_pfnSay;
    asio::io_context m_context{1};
    Score m_score;
    Stage m_stage;
    std::vector<std::unique_ptr<GameServer>> m_vecServers;
    asio::steady_timer m_tick;
    asio::signal_set m_signals;

    Phase m_phase = Phase::Connecting;
    Clock::time_point m_phaseStart{}, m_lastSecond{}, m_lastBeat{};
    bool m_bHurry = false;  // an interrupt: the measurement ends early
    std::uint64_t m_nMade = 0, m_nDue = 0;
    std::deque<Clock::time_point> m_deqDue;  // calls whose time has come and which could not be made yet
    std::size_t m_nNext = 0;                 // the server whose turn it is
};

}  // namespace Load
