// Thrift: the generated concurrent client, which lets all callers share one connection, against a server with
// a thread for each connection. Both use the buffered transport and the binary protocol, as Thrift's tutorial
// does.
#include <thrift/async/TConcurrentClientSyncInfo.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/server/TThreadedServer.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TServerSocket.h>
#include <thrift/transport/TSocket.h>

#include "Sessions.h"
#include "bench/peers/Peer.h"

namespace Peers {

namespace {

using namespace apache::thrift;

class Service final : public bench_thrift::SessionsIf {
    void checkIn(bench_thrift::CheckInAnswer& ans, const bench_thrift::CheckInRequest& req) override
    {
        ans.user_id = req.user_id;
        ans.user_no = req.user_no;
        ans.user_ip = req.user_ip;
        ans.free = kFree;
        ans.product_id = kProductID;
        ans.remain_minutes = kRemainMinutes;
        ans.crm_code = kCRMCode;
        ans.end_date = kEndDate;
        ans.seq_no = kSeqNo;
    }
    void checkOut(bench_thrift::CheckOutAnswer& ans, const bench_thrift::CheckOutRequest& req) override
    {
        ans.user_id = req.user_id;
        ans.user_no = req.user_no;
        ans.success = true;
    }
};

// Tells the port as soon as the server listens.
class Listening final : public server::TServerEventHandler {
public:
    Listening(const transport::TServerSocket& socket, const Bench::ServiceProcess::Ready& ready)
        : m_socket(socket), m_ready(ready)
    {
    }
    void preServe() override { m_ready(static_cast<unsigned short>(m_socket.getPort())); }

private:
    const transport::TServerSocket& m_socket;
    const Bench::ServiceProcess::Ready& m_ready;
};

void Serve(const Bench::ServiceProcess::Ready& ready)
{
    const auto pSocket = std::make_shared<transport::TServerSocket>("127.0.0.1", 0);
    server::TThreadedServer server(
        std::make_shared<bench_thrift::SessionsProcessor>(std::make_shared<Service>()), pSocket,
        std::make_shared<transport::TBufferedTransportFactory>(),
        std::make_shared<protocol::TBinaryProtocolFactory>());
    server.setServerEventHandler(std::make_shared<Listening>(*pSocket, ready));
    server.serve();
}

Bench::Result Run(int nCallers, unsigned short nPort, int nMilliseconds)
{
    const auto pTransport = std::make_shared<transport::TBufferedTransport>(
        std::make_shared<transport::TSocket>("127.0.0.1", nPort));
    pTransport->open();
    bench_thrift::SessionsConcurrentClient client(std::make_shared<protocol::TBinaryProtocol>(pTransport),
                                                  std::make_shared<async::TConcurrentClientSyncInfo>());
    const Bench::Result result = Bench::Measure(nCallers, nMilliseconds, [&](int nCaller, long n) {
        bool bSuccess = false;
        if (n % 2 == 0) {
            bench_thrift::CheckInRequest req;
            req.user_id = UserOf(nCaller);
            req.user_ip = kAddress;
            bench_thrift::CheckInAnswer ans;
            client.checkIn(ans, req);
            bSuccess = ans.seq_no == kSeqNo;
        } else {
            bench_thrift::CheckOutRequest req;
            req.user_id = UserOf(nCaller);
            req.seq_no = kSeqNo;
            bench_thrift::CheckOutAnswer ans;
            client.checkOut(ans, req);
            bSuccess = ans.success;
        }
        if (!bSuccess)
            Bench::Fail("A call over Thrift has failed.");
        return false;
    });
    pTransport->close();
    return result;
}

}  // namespace

Peer Thrift() { return {"Thrift", Serve, Run}; }

}  // namespace Peers
