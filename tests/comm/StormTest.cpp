// Callers against a service that delays, repeats, swallows, answers under wrong ids and hangs up. When it is
// over, who is in for the game is in the user map and at the service, and nobody else.
#include <deque>
#include <random>
#include <thread>

#include "session/FailedCheckOutVector.h"
#include "session/UserInfoMap.h"
#include "tests/fakeplatform/LogicTest.h"

namespace {

class StormTest : public LogicTest {
protected:
    using Users = std::map<std::string, std::string>;  // to their Seq Nos
    struct State {
        Users mapIn;                        // who is in at the service
        std::set<std::string> setDoubtful;  // not heard of since the last registration
        std::deque<std::string> deqLate;    // answers that this connection will still get
        int nLastSeqNo = 0;
        int nRegistrations = 0;
        std::minstd_rand random;
    };

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
    void CheckOut(const std::string& strUser, const std::string& strSeqNo)
    {
        const auto state = m_state.Lock();
        const auto it = state->mapIn.find(strUser);
        if (it != state->mapIn.end() && (strSeqNo.empty() || strSeqNo == it->second))
            state->mapIn.erase(it);
    }
    std::string CheckIn(const std::string& strUser, std::string strSeqNo = {})
    {
        const auto state = m_state.Lock();
        if (strSeqNo.empty())
            strSeqNo = std::to_string(++state->nLastSeqNo);
        state->setDoubtful.erase(strUser);
        return state->mapIn[strUser] = strSeqNo;
    }
    // Here and at the service, with one session.
    void ExpectIn(const std::string& strUser)
    {
        CUserInfo info;
        EXPECT_TRUE(UserInfoMap().FindUserInfo(strUser, info)) << strUser;
        EXPECT_EQ(m_state->mapIn[strUser], info.GetSeqNo()) << strUser;
    }
    void PlayService()
    {
        Service().On<XC2S_VelkarConnectReq>([this](const auto&, auto&) {
            const auto state = m_state.Lock();
            ++state->nRegistrations;
            state->deqLate.clear();
            for (const auto& [strUser, strSeqNo] : state->mapIn)
                state->setDoubtful.insert(strUser);
        });
        Service().On<XC2S_CheckInReq>([this](const auto& req, auto& ans) {
            if (!m_bCalm && Dice(20) == 0)
                return false;
            ans.strSeqNo = CheckIn(req.strUserID);
            return AnswerSomehow(ans);
        });
        Service().On<XC2S_CheckOutReq>([this](const auto& req, auto& ans) {
            CheckOut(req.strUserID, req.strSeqNo);
            return AnswerSomehow(ans);
        });
        Service().See<XC2S_FailedCheckOutReq>([this](const auto& req) {
            for (const auto* pUser : req.vecCheckOutInfo)
                CheckOut(pUser->strUserID, pUser->strSeqNo);
        });
        Service().See<XC2S_UserListSyncReq>([this](const auto& req) {
            for (const auto* pUser : req.vecCheckOutInfo)
                CheckIn(pUser->strUserID, pUser->strSeqNo);
        });
    }
    // Hangs up now and then, and sends what is late.
    void Rage(std::chrono::milliseconds length)
    {
        const auto end = std::chrono::steady_clock::now() + length;
        for (bool bGoOn = true; bGoOn; std::this_thread::sleep_for(std::chrono::milliseconds(2))) {
            bGoOn = std::chrono::steady_clock::now() < end;
            const int nRegistrations = m_state->nRegistrations;
            if (bGoOn && Dice(60) == 0) {
                Service().Cut();
                while (m_state->nRegistrations == nRegistrations)
                    std::this_thread::yield();
            }
            std::deque<std::string> deqLate;
            if (!bGoOn || Dice(40) == 0)  // later than the callers wait, more often than not
                deqLate.swap(m_state->deqLate);
            for (const std::string& strFrame : deqLate)
                Service().SendRaw(strFrame);
        }
    }

    Support::Guarded<State> m_state;
    std::atomic<bool> m_bCalm{false};
};

TEST_F(StormTest, WhoIsInIsInEverywhereAndNobodyElse)
{
    Game().settings.nReconnectCycle = Game().settings.nHeartbeatCycle = 1;
    PlayService();
    ASSERT_TRUE(Game().Start());
    SetSecond(std::chrono::milliseconds(10));
    std::vector<std::future<bool>> vecCallers;
    for (int n = 0; n < 16; ++n) {
        vecCallers.push_back(Game().Later([this, strUser = "user" + std::to_string(n)] {
            bool bIn = false;
            while (!m_bCalm) {
                if (bIn) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(Dice(60)));
                    ExpectIn(strUser);
                    Game().Checkout(strUser);
                }
                bIn = !bIn && Game().Checkin(strUser).nResult == 0;
            }
            return bIn;
        }));
    }
    Rage(std::chrono::seconds(3));
    m_bCalm = true;
    Users mapExpected;
    for (std::size_t n = 0; n < vecCallers.size(); ++n) {
        CUserInfo info;
        const std::string strUser = "user" + std::to_string(n);
        const bool bIn = vecCallers[n].get();
        EXPECT_EQ(UserInfoMap().FindUserInfo(strUser, info), bIn) << strUser;
        if (bIn)
            mapExpected[strUser] = info.GetSeqNo();
    }
    Rage({});
    // One heartbeat more delivers what has failed last.
    while (FailedCheckOutVector().GetCount() + FailedCheckOutVector().GetSentCount() != 0)
        std::this_thread::yield();
    Service().Settle();
    for (const std::string& strUser : m_state->setDoubtful)
        m_state->mapIn.erase(strUser);
    EXPECT_EQ(m_state->mapIn, mapExpected);
    Service().SayNothing();
}

}  // namespace
