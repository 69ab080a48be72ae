// Sixty-four callers against a service that delays, swallows, repeats, answers under wrong ids, hangs up,
// resets, goes deaf, goes away and comes back. In the pauses between the squalls who is in for the game is in
// the user map and at the service, and nobody else. Over any transport: comm/StormTest.cpp,
// loopback/StormLoopbackTest.cpp.
//
// VELKAR_STORM_SECONDS=180 ./test_logic --gtest_filter='StormTest.*'     as long as that
#pragma once

#include <cstdlib>
#include <deque>
#include <random>
#include <thread>

#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/support/GameServer.h"
#include "tests/support/Ledger.h"
#include "tests/support/ServiceScript.h"

namespace Support {

template <class Fixture>
class Storm : public Fixture {
protected:
    using Milliseconds = std::chrono::milliseconds;
    static constexpr int kCallers = 64;
    struct State {
        Ledger ledger;
        std::deque<std::string> deqLate;  // answers that this connection will still get
        int nRegistrations = 0;
        std::minstd_rand random;
    };
    struct Caller {
        std::atomic<bool> bIn{false};
        std::atomic<bool> bParked{false};  // waits for the end of the pause
        int nCalls = 0;
        std::future<void> end;
    };

    // pace(bCalm) sets how fast the library's time passes.
    template <class Pace>
    void Blow(Milliseconds squall, Milliseconds longestSilence, Pace pace)
    {
        const char* const pszSeconds = std::getenv("VELKAR_STORM_SECONDS");
        const auto end = std::chrono::steady_clock::now() +
                         (pszSeconds != nullptr ? std::chrono::seconds(std::atoi(pszSeconds)) : squall * 2);
        this->Game().settings.nReconnectCycle = this->Game().settings.nHeartbeatCycle = 1;
        PlayService();
        ASSERT_TRUE(this->Game().Start());
        for (int n = 0; n < kCallers; ++n)
            m_callers[n].end = this->Game().Later([this, n] { PlayCaller(m_callers[n], UserOf(n)); });
        const struct EndOfCallers {  // also when the service has waited in vain
            ~EndOfCallers() { bOver = true; }
            std::atomic<bool>& bOver;
        } endOfCallers{m_bOver};
        int nSqualls = 0;
        for (; std::chrono::steady_clock::now() < end && !this->HasFailure(); ++nSqualls) {
            pace(false);
            m_bCalm = false;
            Rage(squall, longestSilence);
            m_bCalm = true;
            pace(true);
            ExpectAgreement();
        }
        m_bOver = true;
        int nCalls = 0;
        for (Caller& caller : m_callers) {
            caller.end.get();
            nCalls += caller.nCalls;
        }
        std::printf("%d squalls, %d calls, %d registrations\n", nSqualls, nCalls, m_state->nRegistrations);
        this->Service().SayNothing();
    }

private:
    static std::string UserOf(int n) { return "user" + std::to_string(n); }
    int Dice(int nSides) { return static_cast<int>(m_state->random()) % nSides; }

    // Under a wrong id, late, twice, or in time.
    template <class Answer>
    bool AnswerSomehow(Answer& ans)
    {
        const int nDice = m_bCalm ? 9 : Dice(10);
        if (nDice == 0)
            ans.nReqID += 1'000'000;
        else if (nDice < 4)
            m_state->deqLate.push_back(FrameOf(ans));
        return nDice == 0 || nDice > 2;
    }
    void PlayService()
    {
        auto& service = this->Service();
        service.template On<XC2S_VelkarConnectReq>([this](const auto&, auto&) {
            const auto state = m_state.Lock();
            ++state->nRegistrations;
            state->deqLate.clear();
            state->ledger.Register();
        });
        service.template On<XC2S_CheckInReq>([this](const auto& req, auto& ans) {
            if (!m_bCalm && Dice(20) == 0)
                return false;
            ans.strSeqNo = m_state->ledger.CheckIn(req.strUserID);
            ans.strErrorMsg = "for " + req.strUserID;
            return AnswerSomehow(ans);
        });
        service.template On<XC2S_CheckOutReq>([this](const auto& req, auto& ans) {
            m_state->ledger.CheckOut(req.strUserID, req.strSeqNo);
            return AnswerSomehow(ans);
        });
        service.template See<XC2S_FailedCheckOutReq>([this](const auto& req) {
            for (const auto* pUser : req.vecCheckOutInfo)
                m_state->ledger.CheckOut(pUser->strUserID, pUser->strSeqNo);
        });
        service.template See<XC2S_UserListSyncReq>([this](const auto& req) {
            for (const auto* pUser : req.vecCheckOutInfo)
                m_state->ledger.CheckIn(pUser->strUserID, pUser->strSeqNo);
        });
    }

    bool CheckIn(const std::string& strUser)
    {
        const auto res = this->Game().Checkin(strUser);
        EXPECT_TRUE(res.nResult != 0 || res.szError == "for " + strUser) << res.szError;
        return res.nResult == 0;
    }
    // Without a call in flight the map has the user, or has not, as the game believes.
    void PlayCaller(Caller& caller, const std::string& strUser)
    {
        while (!m_bOver) {
            EXPECT_EQ(UserInfoMap().HasUserInfo(strUser), caller.bIn) << strUser;
            caller.bParked = m_bCalm.load();
            if (caller.bParked || Dice(4) == 0) {
                std::this_thread::sleep_for(Milliseconds(2 + Dice(20)));
                continue;
            }
            ++caller.nCalls;
            if (caller.bIn)
                this->Game().Checkout(strUser);
            caller.bIn = !caller.bIn && CheckIn(strUser);
        }
    }

    void SendLate()
    {
        std::deque<std::string> deqLate;
        deqLate.swap(m_state->deqLate);
        for (const std::string& strFrame : deqLate)
            this->Service().SendRaw(strFrame);
    }
    void Rage(Milliseconds squall, Milliseconds longestSilence)
    {
        const auto end = std::chrono::steady_clock::now() + squall;
        const auto silence = [&] { std::this_thread::sleep_for(longestSilence / (1 + Dice(4))); };
        while (std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(Milliseconds(2));
            const int nRegistrations = m_state->nRegistrations;
            const int nDice = Dice(300);
            try {
                if (nDice < 8) {  // later than the callers wait, more often than not
                    SendLate();
                } else if (nDice < 11) {
                    this->Service().HoldReading(true);
                    silence();
                    this->Service().HoldReading(false);
                } else if (nDice < 16) {
                    nDice % 2 == 0 ? this->Service().Cut() : this->Service().Drop();
                } else if (nDice == 16) {
                    this->Service().Down();
                    silence();
                    this->Service().Up();
                }
                while (nDice > 10 && nDice < 17 && m_state->nRegistrations == nRegistrations)
                    std::this_thread::yield();
            } catch (const std::logic_error&) {  // the link has been lost already
            }
        }
    }
    // Everything that was sent has been handled, on a link that stands.
    void WaitForQuiet()
    {
        for (bool bQuiet = false; !bQuiet; std::this_thread::sleep_for(Milliseconds(5))) {
            try {
                SendLate();
                this->Service().Ask(XS2C_QueryGameMoneyReq());
                bQuiet = true;
            } catch (const std::logic_error&) {
            }
        }
    }
    void ExpectAgreement()
    {
        for (const Caller& caller : m_callers) {
            while (!caller.bParked)
                std::this_thread::sleep_for(Milliseconds(1));
        }
        WaitForQuiet();
        // One heartbeat more delivers what has failed last.
        while (FailedCheckOutVector().GetCount() + FailedCheckOutVector().GetSentCount() != 0)
            std::this_thread::sleep_for(Milliseconds(1));
        WaitForQuiet();
        Ledger::Users mapExpected;
        for (int n = 0; n < kCallers; ++n) {
            CUserInfo info;
            EXPECT_EQ(UserInfoMap().FindUserInfo(UserOf(n), info), m_callers[n].bIn) << UserOf(n);
            if (m_callers[n].bIn)
                mapExpected[UserOf(n)] = info.GetSeqNo();
        }
        EXPECT_EQ(m_state->ledger.Settle(), mapExpected);
        this->Service().Forget();
    }

    Guarded<State> m_state;
    std::array<Caller, kCallers> m_callers;
    std::atomic<bool> m_bCalm{false};
    std::atomic<bool> m_bOver{false};
};

}  // namespace Support
