// The fastest service there can be: it answers registrations, checkins and checkouts as soon as their bytes
// have arrived, or a set time later. Of what arrives it only remembers how often, how much, and when the last
// one was there.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/LoopbackService.h"
#include "tests/support/ServiceScript.h"
#include "wirova/Frame.h"

namespace Bench {

inline Wirova::int32 NumberAt(const char* pBytes)
{
    unsigned char bytes[4];
    std::copy_n(pBytes, 4, reinterpret_cast<char*>(bytes));
    return Wirova::GetBigEndian<Wirova::int32>(bytes);
}

template <class Request>
std::string SuccessFrame(std::string_view strBody)
{
    Request req;
    Support::AnswerTo<Request> ans;
    Support::LoadBody(std::string(strBody), req);
    Support::FillSuccess(req, ans);
    return Support::FrameOf(ans);
}

// Appends the frame of the answer to a registration, a checkin or a checkout; nothing for any other message.
inline void AppendAnswer(Wirova::int32 nMsgID, std::string_view strBody, std::string& strOut)
{
    if (nMsgID == XC2S_VelkarConnectReq::kMsgID)
        strOut += Support::FrameOf(XS2C_VelkarConnectAns());
    else if (nMsgID == XC2S_CheckInReq::kMsgID)
        strOut += SuccessFrame<XC2S_CheckInReq>(strBody);
    else if (nMsgID == XC2S_CheckOutReq::kMsgID)
        strOut += SuccessFrame<XC2S_CheckOutReq>(strBody);
}

class AtOnceService final : private Support::Transport::Sink {
public:
    explicit AtOnceService(std::chrono::microseconds delay = {}) : m_sockets(delay)
    {
        m_sockets.Start(*this);
    }
    ~AtOnceService() override { m_sockets.Stop(); }
    AtOnceService(const AtOnceService&) = delete;
    AtOnceService& operator=(const AtOnceService&) = delete;

    unsigned short Port() const { return m_sockets.Port(); }

    using Clock = std::chrono::steady_clock;
    struct Arrivals {
        int nFrames = 0;
        std::size_t nBytes = 0;
        Clock::time_point last;  // when the newest one had arrived to its last byte
    };
    // Blocks until so many of that message have arrived since the last Forget.
    template <class Message>
    Arrivals WaitFor(int nFrames)
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait(lock, [&] { return m_mapArrivals[Message::kMsgID].nFrames >= nFrames; });
        return m_mapArrivals[Message::kMsgID];
    }
    void Forget()
    {
        const std::lock_guard lock(m_mutex);
        m_mapArrivals.clear();
    }
    // A frame that answers every request of that message, with the request's Req ID put into it. It is kept
    // and never copied: the next request comes only after the answer has left. Before the first request.
    template <class Message>
    void SetAnswer(const Wirova::IMessage& answer)
    {
        m_mapAnswers[Message::kMsgID] = std::make_shared<std::string>(Support::FrameOf(answer));
    }
    void Drop() { m_sockets.Close(m_nConnection, false); }

private:
    void OnOpen(int nConnection) override
    {
        m_nConnection = nConnection;
        m_strIn.clear();
    }
    void OnClose(int, bool) override {}
    // Takes whole frames off the front and answers them in one delivery.
    void OnBytes(int nConnection, std::string strBytes) override
    {
        m_strIn += strBytes;
        std::string strOut;
        std::size_t nDone = 0;
        while (m_strIn.size() - nDone >= 8) {
            const auto nLength = static_cast<std::size_t>(NumberAt(m_strIn.data() + nDone));
            if (m_strIn.size() - nDone - 4 < nLength)
                break;
            const Wirova::int32 nMsgID = NumberAt(m_strIn.data() + nDone + 4);
            Note(nMsgID, nLength + 4);
            const auto itAnswer = m_mapAnswers.find(nMsgID);
            if (itAnswer != m_mapAnswers.end()) {
                itAnswer->second->replace(8, 4, m_strIn, nDone + 8, 4);
                m_sockets.SendShared(nConnection, itAnswer->second);
            }
            AppendAnswer(nMsgID, std::string_view(m_strIn).substr(nDone + 4, nLength), strOut);
            nDone += 4 + nLength;
        }
        m_strIn.erase(0, nDone);
        if (!strOut.empty())
            m_sockets.SendShared(nConnection, std::make_shared<const std::string>(std::move(strOut)));
    }

    void Note(Wirova::int32 nMsgID, std::size_t nBytes)
    {
        const std::lock_guard lock(m_mutex);
        auto& arrivals = m_mapArrivals[nMsgID];
        ++arrivals.nFrames;
        arrivals.nBytes += nBytes;
        arrivals.last = Clock::now();
        m_arrived.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::map<Wirova::int32, Arrivals> m_mapArrivals;
    std::map<Wirova::int32, std::shared_ptr<std::string>> m_mapAnswers;
    std::atomic<int> m_nConnection{0};
    std::string m_strIn;  // of the newest connection, and not yet a whole frame
    Support::LoopbackService m_sockets;
};

}  // namespace Bench
