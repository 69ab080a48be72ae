// gRPC: one channel with a blocking stub that all callers share, against gRPC's blocking server. Both keep
// the library's defaults; a call has the five seconds that a call of the connector has.
#include <grpcpp/grpcpp.h>

#include "bench/peers/Peer.h"
#include "sessions.grpc.pb.h"

namespace Peers {

namespace {

class Service final : public bench_grpc::Sessions::Service {
    grpc::Status CheckIn(grpc::ServerContext*, const bench_grpc::CheckInRequest* pReq,
                         bench_grpc::CheckInAnswer* pAns) override
    {
        pAns->set_user_id(pReq->user_id());
        pAns->set_user_no(pReq->user_no());
        pAns->set_user_ip(pReq->user_ip());
        pAns->set_free(kFree);
        pAns->set_product_id(kProductID);
        pAns->set_remain_minutes(kRemainMinutes);
        pAns->set_crm_code(kCRMCode);
        pAns->set_end_date(kEndDate);
        pAns->set_seq_no(kSeqNo);
        return grpc::Status::OK;
    }
    grpc::Status CheckOut(grpc::ServerContext*, const bench_grpc::CheckOutRequest* pReq,
                          bench_grpc::CheckOutAnswer* pAns) override
    {
        pAns->set_user_id(pReq->user_id());
        pAns->set_user_no(pReq->user_no());
        pAns->set_success(true);
        return grpc::Status::OK;
    }
};

void Serve(const Bench::ServiceProcess::Ready& ready)
{
    Service service;
    int nPort = 0;
    grpc::ServerBuilder builder;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &nPort);
    builder.RegisterService(&service);
    const std::unique_ptr<grpc::Server> pServer = builder.BuildAndStart();
    if (!pServer)
        Bench::Fail("The gRPC server does not start.");
    ready(static_cast<unsigned short>(nPort));
    pServer->Wait();
}

bool IsSuccess(const bench_grpc::CheckInAnswer& ans) { return ans.seq_no() == kSeqNo; }
bool IsSuccess(const bench_grpc::CheckOutAnswer& ans) { return ans.success(); }

using Stub = bench_grpc::Sessions::Stub;

template <class Request, class Answer>
void Exchange(Stub& stub, const Request& req,
              grpc::Status (Stub::*pfnCall)(grpc::ClientContext*, const Request&, Answer*))
{
    grpc::ClientContext context;
    context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(5));
    Answer ans;
    if (!(stub.*pfnCall)(&context, req, &ans).ok() || !IsSuccess(ans))
        Bench::Fail("A call over gRPC has failed.");
}

Bench::Result Run(int nCallers, unsigned short nPort, int nMilliseconds)
{
    const auto pChannel =
        grpc::CreateChannel("127.0.0.1:" + std::to_string(nPort), grpc::InsecureChannelCredentials());
    if (!pChannel->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(5)))
        Bench::Fail("The gRPC server cannot be reached.");
    const std::unique_ptr<Stub> pStub = bench_grpc::Sessions::NewStub(pChannel);
    return Bench::Measure(nCallers, nMilliseconds, [&](int nCaller, long n) {
        if (n % 2 == 0) {
            bench_grpc::CheckInRequest req;
            req.set_user_id(UserOf(nCaller));
            req.set_user_ip(kAddress);
            Exchange(*pStub, req, &Stub::CheckIn);
        } else {
            bench_grpc::CheckOutRequest req;
            req.set_user_id(UserOf(nCaller));
            req.set_seq_no(kSeqNo);
            Exchange(*pStub, req, &Stub::CheckOut);
        }
        return false;
    });
}

}  // namespace

Peer Grpc() { return {"gRPC", Serve, Run}; }

}  // namespace Peers
