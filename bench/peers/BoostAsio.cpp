// Boost.Asio: what its own example of a chat becomes if callers wait for answers. One thread runs the
// context; a frame is read as its length and then its body, what is to be written waits in a queue, and each
// request has a promise. The frames are those of the library.
#include <utility>  // Boost.Asio 1.74 uses it and does not include it

#include <boost/asio.hpp>
#include <deque>
#include <future>
#include <map>
#include <memory>

#include "bench/peers/Peer.h"

namespace Peers {

namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;

// As the frames have it: big-endian.
int NumberAt(const std::string& strBytes, std::size_t nAt)
{
    unsigned nNumber = 0;
    for (std::size_t n = nAt; n < nAt + 4; ++n)
        nNumber = nNumber << 8 | static_cast<unsigned char>(strBytes[n]);
    return static_cast<int>(nNumber);
}

// One end of a connection. Everything runs on the context's thread.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    using OnBody = std::function<void(Connection&, const std::string&)>;

    Connection(tcp::socket socket, OnBody onBody) : m_socket(std::move(socket)), m_onBody(std::move(onBody))
    {
        m_socket.set_option(tcp::no_delay(true));
    }
    void ReadFrame()
    {
        m_strIn.resize(4);
        boost::asio::async_read(m_socket, boost::asio::buffer(m_strIn),
                                [self = shared_from_this()](error_code failed, std::size_t) {
                                    if (!failed)
                                        self->ReadBody();
                                });
    }
    void Send(std::string strFrame)
    {
        m_deqOut.push_back(std::move(strFrame));
        if (m_deqOut.size() == 1)
            WriteNext();
    }
    void Close() { m_socket.close(); }

private:
    void ReadBody()
    {
        m_strIn.resize(static_cast<std::size_t>(NumberAt(m_strIn, 0)));
        boost::asio::async_read(m_socket, boost::asio::buffer(m_strIn),
                                [self = shared_from_this()](error_code failed, std::size_t) {
                                    if (failed)
                                        return;
                                    self->m_onBody(*self, self->m_strIn);
                                    self->ReadFrame();
                                });
    }
    void WriteNext()
    {
        boost::asio::async_write(m_socket, boost::asio::buffer(m_deqOut.front()),
                                 [self = shared_from_this()](error_code failed, std::size_t) {
                                     if (failed)
                                         return;
                                     self->m_deqOut.pop_front();
                                     if (!self->m_deqOut.empty())
                                         self->WriteNext();
                                 });
    }

    tcp::socket m_socket;
    OnBody m_onBody;
    std::string m_strIn;
    std::deque<std::string> m_deqOut;
};

void AcceptNext(tcp::acceptor& acceptor, const Frames& frames)
{
    acceptor.async_accept([&](error_code failed, tcp::socket socket) {
        if (!failed) {
            const auto onBody = [&frames](Connection& connection, const std::string& strBody) {
                connection.Send(frames.answer(strBody));
            };
            std::make_shared<Connection>(std::move(socket), onBody)->ReadFrame();
        }
        AcceptNext(acceptor, frames);
    });
}

void Serve(const Frames& frames, const Bench::ServiceProcess::Ready& ready)
{
    boost::asio::io_context context{1};  // is run by one thread
    tcp::acceptor acceptor(context, {boost::asio::ip::address_v4::loopback(), 0});
    AcceptNext(acceptor, frames);
    ready(acceptor.local_endpoint().port());
    context.run();
}

class Client {
public:
    explicit Client(unsigned short nPort)
    {
        tcp::socket socket(m_context);
        socket.connect({boost::asio::ip::address_v4::loopback(), nPort});
        m_pConnection = std::make_shared<Connection>(
            std::move(socket), [this](Connection&, const std::string& strBody) { OnAnswer(strBody); });
        m_pConnection->ReadFrame();
        m_thread = std::thread([this] { m_context.run(); });
    }
    ~Client()
    {
        boost::asio::post(m_context, [this] { m_pConnection->Close(); });
        m_thread.join();
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Waits for the answer and gives its body.
    std::string Call(int nReqID, std::string strFrame)
    {
        std::promise<std::string> promise;
        std::future<std::string> answer = promise.get_future();
        boost::asio::post(m_context, [this, nReqID, strFrame = std::move(strFrame),
                                      promise = std::move(promise)]() mutable {
            m_mapWaiting[nReqID] = std::move(promise);
            m_pConnection->Send(std::move(strFrame));
        });
        return answer.get();
    }

private:
    void OnAnswer(const std::string& strBody)
    {
        const auto it = m_mapWaiting.find(NumberAt(strBody, 4));
        if (it == m_mapWaiting.end())
            Bench::Fail("Nobody waits for this answer.");
        it->second.set_value(strBody);
        m_mapWaiting.erase(it);
    }

    boost::asio::io_context m_context{1};  // is run by one thread
    std::shared_ptr<Connection> m_pConnection;
    std::map<int, std::promise<std::string>> m_mapWaiting;
    std::thread m_thread;
};

Bench::Result Run(const Frames& frames, int nCallers, unsigned short nPort, int nMilliseconds)
{
    Client client(nPort);
    return Bench::Measure(nCallers, nMilliseconds, [&](int nCaller, long n) {
        const bool bCheckin = n % 2 == 0;
        if (!frames.isAnswer(client.Call(nCaller, frames.request(nCaller, bCheckin)), bCheckin))
            Bench::Fail("A call over Boost.Asio has failed.");
        return false;
    });
}

}  // namespace

Peer BoostAsio(const Frames& frames)
{
    return {"Boost.Asio", [frames](const Bench::ServiceProcess::Ready& ready) { Serve(frames, ready); },
            [frames](int nCallers, unsigned short nPort, int nMilliseconds) {
                return Run(frames, nCallers, nPort, nMilliseconds);
            }};
}

}  // namespace Peers
