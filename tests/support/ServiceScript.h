// The Velkar service as a test plays it: Service() in the fixtures. The same over the in-memory network
// (LogicTest) and over real sockets (LoopbackTest).
//
//   By itself it accepts every registration. All else is up to the test:
//     Service().On<XC2S_CheckInReq>([](const auto& req, auto& ans) { ans.nResult = 30006; });
//                                     answers each such request; ans comes as a success that echoes req.
//                                     A handler that returns bool answers only if it returns true.
//     Service().SayYes();             answers every request with success, but those with an On
//     Service().SayNothing();         takes back all of both
//
//   Frames from the library, each taken once, in order of arrival for each class, those that were
//   answered by themselves included (Forget what an earlier step of the test has left):
//     auto req = Service().Expect<XC2S_CheckInReq>();     waits for one; throws after 20 s
//     auto req = Service().Expect<XC2S_CheckInReq>([](const auto& r) { return r.strUserID == "abc"; });
//     Service().ExpectNothing();      nobody has sent a frame that no Expect has taken (heartbeats,
//                                     registrations and frames that an On answers do not count)
//     Service().Count<XC2S_Heartbeat>(); Service().Names(); Service().Received();   the whole log
//     Service().Forget();             empties the log
//
//   Frames to the library, on the newest connection:
//     Service().Reply(*req);                              success
//     Service().Reply(*req, [](auto& ans) { ans.nState = 3; });
//     Service().Send(msg1, msg2);     any messages, together in one delivery
//     Service().SendCut(3, msg);      the first 3 bytes, then the rest
//     Service().SendRaw(bytes);       anything, in one delivery; FrameOf(msg) gives a frame's bytes
//     auto ans = Service().Ask(req);  sends a request of the service and expects its answer
//
//   The connection:
//     Service().AcceptRegistration() / RefuseRegistration(3, "no") / IgnoreRegistration()
//              / AnswerRegistrationTwice()
//     Service().Drop();               ends the connection behind what has been sent; Cut() at once
//     Service().Down(); Service().Up();   drops all and refuses connects; accepts again on the same port
//     Service().WaitForConnection(2); waits until the library has connected for the second time
//     Service().WaitForDisconnect();  waits until no connection is open
//     Service().HoldReading(true);    leaves unread what the library sends
//
// A frame that is not exactly a message of the protocol is a fault; the fixtures fail a test with faults.
// Callable from any thread. On's handlers run on the transport's thread, until SayNothing or the end of
// the fixture: what they capture must live as long. They must not Expect.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/Answers.h"
#include "tests/support/Transport.h"

namespace Support {

inline constexpr std::chrono::seconds kPatience{20};

// A message's bytes with and without the frame's length.
std::string BodyOf(const Wirova::IMessage& msg);
std::string FrameOf(const Wirova::IMessage& msg);
// False unless the body is exactly one such message.
bool LoadBody(const std::string& strBody, Wirova::IMessage& msg);

struct ReceivedFrame {
    int nConnection;
    int nMsgID;
    std::string strName;
    std::string strBody;
    bool bAnswered;  // by an On, or a registration
    bool bTaken;     // by an Expect
};

class ServiceScript final : private Transport::Sink {
public:
    explicit ServiceScript(std::unique_ptr<Transport> pTransport);
    ~ServiceScript() override { m_pTransport->Stop(); }
    ServiceScript(const ServiceScript&) = delete;
    ServiceScript& operator=(const ServiceScript&) = delete;

    unsigned short Port() const { return m_pTransport->Port(); }

    // ---- answers by themselves ----
    template <class Request, class Handler>
    void On(Handler handler)
    {
        SetResponder(Request::kMsgID, [handler](const std::string& strBody) -> std::string {
            Request req;
            if (!LoadBody(strBody, req))
                return {};
            AnswerTo<Request> ans;
            FillSuccess(req, ans);
            if constexpr (std::is_void_v<decltype(handler(std::as_const(req), ans))>)
                handler(std::as_const(req), ans);
            else if (!handler(std::as_const(req), ans))
                return {};
            return FrameOf(ans);
        });
    }
    void SayYes();
    void SayNothing();

    // ---- what came in ----
    template <class Message>
    std::unique_ptr<Message> Expect()
    {
        return Expect<Message>([](const Message&) { return true; });
    }
    template <class Message, class Predicate>
    std::unique_ptr<Message> Expect(Predicate predicate)
    {
        auto pMessage = std::make_unique<Message>();
        Take(Message::kMsgID, [&](const std::string& strBody) {
            pMessage = std::make_unique<Message>();
            return LoadBody(strBody, *pMessage) && predicate(std::as_const(*pMessage));
        });
        return pMessage;
    }
    void ExpectNothing();
    template <class Message>
    int Count() const
    {
        return CountOf(Message::kMsgID);
    }
    std::vector<ReceivedFrame> Received() const;
    std::vector<std::string> Names() const;  // heartbeats left out
    void Forget();

    // ---- what goes out ----
    template <class Request>
    void Reply(const Request& req)
    {
        Reply(req, [](AnswerTo<Request>&) {});
    }
    template <class Request, class Change>
    void Reply(const Request& req, Change change)
    {
        AnswerTo<Request> ans;
        FillSuccess(req, ans);
        change(ans);
        Send(ans);
    }
    template <class... Messages>
    void Send(const Messages&... messages)
    {
        SendRaw((FrameOf(messages) + ...));
    }
    void SendCut(std::size_t nFirst, const Wirova::IMessage& msg);
    void SendRaw(const std::string& strBytes) { m_pTransport->Send(NewestConnection(), strBytes); }
    template <class Request>
    std::unique_ptr<AnswerTo<Request>> Ask(const Request& req)
    {
        Send(req);
        return Expect<AnswerTo<Request>>();
    }

    // ---- registration ----
    void AcceptRegistration() { SetRegistration(1); }
    void RefuseRegistration(int nResult, const std::string& strText) { SetRegistration(1, nResult, strText); }
    void IgnoreRegistration() { SetRegistration(0); }
    void AnswerRegistrationTwice() { SetRegistration(2); }

    // ---- the connection ----
    void Drop() { CloseConnection(NewestConnection(), false); }
    void Cut() { CloseConnection(NewestConnection(), true); }
    void Down();
    void Up() { m_pTransport->Accept(true); }
    void WaitForConnection(int nNumber = 1);
    void WaitForDisconnect();
    int Connections() const;  // opened so far
    void HoldReading(bool bHold) { m_pTransport->HoldReading(bHold); }
    // What the transport has taken is in the log.
    void Settle() { m_pTransport->Settle(); }

    std::vector<std::string> Faults() const;

private:
    // Takes a body and returns the bytes of the answer, empty for none.
    using Responder = std::function<std::string(const std::string& strBody)>;

    void OnOpen(int nConnection) override;
    void OnBytes(int nConnection, std::string strBytes) override;
    void OnClose(int nConnection, bool bAbruptly) override;
    void OnFrame(int nConnection, std::string strBody);

    void SetResponder(int nMsgID, Responder responder);
    // How often each registration is answered, and what with.
    void SetRegistration(int nAnswers, int nResult = 0, const std::string& strText = {});
    void Take(int nMsgID, const std::function<bool(const std::string&)>& accept);
    int CountOf(int nMsgID) const;
    int NewestConnection() const;  // throws without one
    void CloseConnection(int nConnection, bool bAbruptly);
    void WaitUntil(const std::string& strWhat, const std::function<bool()>& condition);

    mutable std::mutex m_mutex;  // guards everything below but the transport
    std::condition_variable m_cond;
    std::vector<ReceivedFrame> m_vecReceived;
    std::vector<std::string> m_vecFaults;
    std::map<int, std::string> m_mapUnread;  // open connections: bytes that are no whole frame yet
    std::set<int> m_setClosedHere;
    int m_nConnections = 0;
    std::map<int, Responder> m_mapResponders;
    std::string m_strRegistrationAnswers;  // the bytes for each registration
    const std::unique_ptr<Transport> m_pTransport;
};

}  // namespace Support
