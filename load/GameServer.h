// One game server as the service sees it: a link, a registration, heartbeats, its users and their calls.
// Belongs to the one thread of the program.
#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <unordered_map>

#include "load/Mix.h"
#include "load/Score.h"
#include "load/Users.h"
#include "sandbox/base/Clock.h"
#include "sandbox/wire/TcpLink.h"

namespace Load {

constexpr std::chrono::seconds kHeartbeatCycle{10};

class GameServer;

// What all servers share. Outlives them.
struct Stage {
    asio::io_context& context;
    asio::ip::tcp::endpoint service;
    Mix& mix;
    Score& score;
    Random random;
    bool bCounting = false;  // calls that are made now go into the score
    std::function<void(const std::string&)> pfnSay;
    std::function<void(GameServer&)> pfnAnswered;  // a call has its answer
    // What has come of a call that is in the score: done, refused, late or lost. May be empty.
    std::function<void(const Call&, const User&, const char* pszOutcome)> pfnNote;
    Sandbox::SystemClock clock{};
};

class GameServer final : private Sandbox::Link::IOwner {
public:
    GameServer(Stage& stage, int nNumber, int nFirstUser, int nUsers);
    GameServer(const GameServer&) = delete;
    GameServer& operator=(const GameServer&) = delete;

    void Connect();  // and again, a second after each loss
    bool IsUp() const { return m_bRegistered; }

    // Makes one call of the mix, or that one. The answer's time counts from due. False if the link is down or
    // no user is free for it.
    bool Make(Clock::time_point due);
    bool Make(Call& call, Clock::time_point due);

    std::size_t GetWaiting() const { return m_nWaiting; }  // calls without an answer that are not overdue
    std::size_t GetOpen() const { return m_mapPending.size(); }  // those and the overdue ones
    const Users& GetUsers() const { return m_users; }

    void Beat();         // sends a heartbeat
    void NoteOverdue();  // calls that have waited for kAnswerTimeout wait no more
    void End();          // what has no answer is lost; the link is closed for good

private:
    struct Pending {
        Call* pCall;
        User user;
        Clock::time_point due;
        bool bCounted, bOverdue = false;
    };
    void OnFrame(Sandbox::Link& link, Wirova::Stream* body) override;
    void OnClosed(Sandbox::Link& link, const std::string& strWhy) override;
    void OnConnected(asio::ip::tcp::socket socket);
    void OnRegistered(Wirova::Stream* body);
    void OnAnswer(const Wirova::IMessage& ans);
    void OnRequest(const Wirova::ClassInfo& info, const Wirova::IMessage& req);
    void Retry();
    void Send(const Wirova::IMessage& msg) { m_pLink->Post(Sandbox::FrameOf(msg), {}); }
    void SendUserList();
    CallScore& ScoreOf(const Call& call);
    void CountAnswer(const Pending& pending, bool bSuccess, const std::string& strText);
    void CountLost(const Pending& pending);
    void Note(const Pending& pending, const char* pszOutcome);

    Stage& m_stage;
    const std::string m_strSID;
    Users m_users;
    std::shared_ptr<Sandbox::TcpLink> m_pLink;
    asio::steady_timer m_retry;
    bool m_bRegistered = false, m_bEnded = false;
    Wirova::int32 m_nLastReqID = 0;
    std::unordered_map<Wirova::int32, Pending> m_mapPending;
    std::deque<Wirova::int32> m_deqInOrder;  // Req IDs as they were sent, answered ones too
    std::size_t m_nWaiting = 0;
};

}  // namespace Load
