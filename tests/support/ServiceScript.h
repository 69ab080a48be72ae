// The Velkar service as a test plays it: Service() in the fixtures. The same over the in-memory network
// (LogicTest) and over real sockets (LoopbackTest).
//
//   By itself it accepts every registration. All else is up to the test:
//     Service().On<XC2S_CheckInReq>([](const auto& req, auto& ans) { ans.nResult = 30006; });
//                                     answers each such request; ans comes as a success that echoes req.
//                                     A handler that returns bool answers only if it returns true.
//     Service().On<XC2S_CheckInReq>("nResult=30006 strErrorMsg=no");      the same in words
//     Service().See<XC2S_UserListSyncReq>([](const auto& req) { ... });   sees each, without an answer
//     Service().SayYes();             answers every request with success, but those with an On
//     Service().SayNothing();         takes back all of both
//
//   Frames from the library, each taken once, in order of arrival for each class, those that were
//   answered by themselves included (Forget what an earlier step of the test has left):
//     auto req = Service().Expect<XC2S_CheckInReq>();     waits for one; throws after 20 s
//     auto req = Service().Expect<XC2S_CheckInReq>([](const auto& r) { return r.strUserID == "abc"; });
//     Service().ExpectNothing();      nobody has sent a frame that no Expect has taken (heartbeats,
//                                     registrations and frames that an On answers do not count)
//     Service().Count<XC2S_Heartbeat>(); Service().Names();   of the whole log
//     Service().Forget();             empties the log
//
//   Frames to the library, on the newest connection:
//     Service().Reply(*req);                              success
//     Service().Reply(*req, "nState=3 vecMenu={strBranchID=b}");   the fields as tests/wirova/MessageText.h
//                                     reads them
//     Service().Send(msg1, msg2);     any messages, together in one delivery
//     Service().Send<XS2C_NotifyStorageInfo>("strUserID=abc");
//     Service().SendRaw(bytes);       anything, in one delivery; FrameOf(msg) gives a frame's bytes
//     auto ans = Service().Ask(req);  sends a request of the service and expects its answer
//
//   The connection:
//     Service().AcceptRegistration() / RefuseRegistration("nResult=3 strMessage=no") / IgnoreRegistration()
//              / AnswerRegistrationTwice()
//     Service().Drop();               ends the connection behind what has been sent; Cut() at once
//     Service().Down(); Service().Up();   drops all and refuses connects; accepts again on the same port
//     Service().WaitForConnection(2); waits until the library has connected for the second time
//     Service().WaitForDisconnect();  waits until no connection is open
//     Service().HoldReading(true);    leaves unread what the library sends
//     Service().AllowBrokenFrames();  a connection that ends inside a frame is no fault
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
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/Answers.h"
#include "tests/support/Guarded.h"
#include "tests/support/Transport.h"
#include "tests/wirova/MessageText.h"

namespace Support {

inline constexpr std::chrono::seconds kPatience{20};

// A message's bytes with and without the frame's length.
std::string BodyOf(const Wirova::IMessage& msg);
std::string FrameOf(const Wirova::IMessage& msg);
// False unless the body is exactly one such message.
bool LoadBody(const std::string& strBody, Wirova::IMessage& msg);
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
        m_state->mapResponders[Request::kMsgID] = ResponderOf<Request>(handler);
    }
    template <class Message, class Handler>
    void See(Handler handler)
    {
        m_state->mapResponders[Message::kMsgID] = [handler](const std::string& strBody) {
            Message msg;
            LoadBody(strBody, msg);
            handler(std::as_const(msg));
            return std::string();
        };
    }
    void SayYes();
    void SayNothing();

    // ---- what came in ----
    template <class Message>
    std::unique_ptr<Message> Expect(const std::function<bool(const Message&)>& predicate =
                                        [](const Message&) { return true; })
    {
        auto pMessage = std::make_unique<Message>();
        Take(Message::kMsgID, [&](const std::string& strBody) {
            pMessage = std::make_unique<Message>();
            return LoadBody(strBody, *pMessage) && predicate(*pMessage);
        });
        return pMessage;
    }
    void ExpectNothing();
    template <class Message>
    int Count()
    {
        const auto vecReceived = Received();
        return static_cast<int>(std::ranges::count(vecReceived, Message::kMsgID, &ReceivedFrame::nMsgID));
    }
    std::vector<std::string> Names();  // heartbeats left out
    void Forget();

    // ---- what goes out ----
    template <class Request>
    void Reply(const Request& req, const std::string& strFields = {})
    {
        AnswerTo<Request> ans;
        FillSuccess(req, ans);
        Assign(ans, strFields);
        Send(ans);
    }
    template <class... Messages>
    void Send(const Messages&... messages)
    {
        SendRaw((FrameOf(messages) + ...));
    }
    void SendRaw(const std::string& strBytes) { m_pTransport->Send(NewestConnection(), strBytes); }
    template <class Message>
    void Send(const std::string& strFields)
    {
        Message msg;
        Assign(msg, strFields);
        Send(msg);
    }
    // Throws std::logic_error if the connection ends before the answer has come.
    template <class Request>
    std::unique_ptr<AnswerTo<Request>> Ask(const Request& req)
    {
        const int nConnection = NewestConnection();
        m_pTransport->Send(nConnection, FrameOf(req));
        auto pAnswer = std::make_unique<AnswerTo<Request>>();
        Take(
            AnswerTo<Request>::kMsgID,
            [&](const std::string& strBody) { return LoadBody(strBody, *pAnswer); }, nConnection);
        return pAnswer;
    }

    // ---- registration ----
    void AcceptRegistration() { SetRegistration(1); }
    void RefuseRegistration(const std::string& strFields) { SetRegistration(1, strFields); }
    void IgnoreRegistration() { SetRegistration(0); }
    void AnswerRegistrationTwice() { SetRegistration(2); }

    // ---- the connection ----
    void Drop() { CloseConnection(NewestConnection(), false); }
    void Cut() { CloseConnection(NewestConnection(), true); }
    void Down();
    void Up() { m_pTransport->Accept(true); }
    void WaitForConnection(int nNumber = 1);
    void WaitForDisconnect();
    int Connections()  // opened so far
    {
        Settle();
        return m_state->nConnections;
    }
    void HoldReading(bool bHold) { m_pTransport->HoldReading(bHold); }
    // What the transport has taken is in the log.
    void Settle() { m_pTransport->Settle(); }

    void AllowBrokenFrames() { m_state->bBrokenFrames = true; }

    std::vector<std::string> Faults() { return m_state->vecFaults; }

private:
    struct ReceivedFrame {
        int nMsgID;
        std::string strBody;
        bool bAnswered;       // by an On, or a registration
        bool bTaken = false;  // by an Expect
    };
    // Takes a body and returns the bytes of the answer, empty for none.
    using Responder = std::function<std::string(const std::string& strBody)>;

    struct State {
        std::condition_variable cond;
        std::vector<ReceivedFrame> vecReceived;
        std::vector<std::string> vecFaults;
        std::map<int, std::string> mapUnread;  // open connections: bytes that are no whole frame yet
        std::set<int> setClosedHere;
        int nConnections = 0;
        bool bBrokenFrames = false;
        std::map<int, Responder> mapResponders;
    };

    void OnOpen(int nConnection) override;
    void OnBytes(int nConnection, std::string strBytes) override;
    void OnClose(int nConnection, bool bAbruptly) override;
    void OnFrame(int nConnection, std::string strBody);

    template <class Request, class Handler>
    static Responder ResponderOf(Handler handler)
    {
        return [handler](const std::string& strBody) {
            Request req;
            LoadBody(strBody, req);
            AnswerTo<Request> ans;
            FillSuccess(req, ans);
            bool bAnswers = true;
            if constexpr (std::is_convertible_v<Handler, std::string>)
                Assign(ans, handler);
            else if constexpr (std::is_void_v<decltype(handler(std::as_const(req), ans))>)
                handler(std::as_const(req), ans);
            else
                bAnswers = handler(std::as_const(req), ans);
            return bAnswers ? FrameOf(ans) : std::string();
        };
    }
    // How often each registration is answered, and what with.
    void SetRegistration(int nAnswers, const std::string& strFields = {});
    // Throws std::logic_error if that connection ends before; 0: any may.
    void Take(int nMsgID, const std::function<bool(const std::string&)>& accept, int nConnection = 0);
    std::vector<ReceivedFrame> Received()
    {
        Settle();
        return m_state->vecReceived;
    }
    int NewestConnection();  // throws without one
    void CloseConnection(int nConnection, bool bAbruptly);
    void WaitUntil(const std::string& strWhat, const std::function<bool(State&)>& condition);

    Guarded<State> m_state;
    const std::unique_ptr<Transport> m_pTransport;
};

}  // namespace Support
