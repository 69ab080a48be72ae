// A program that exchanges requests and answers, as bench_peers measures it.
#pragma once

#include <string>

#include "bench/Rounds.h"

namespace Peers {

struct Peer {
    const char* pszName;
    // Starts the server in the calling process, tells its port and does not return.
    std::function<void(const Bench::ServiceProcess::Ready& ready)> serve;
    // A round: so many blocking callers on one connection, checkins and checkouts by turns.
    std::function<Bench::Result(int nCallers, unsigned short nPort, int nMilliseconds)> run;
};

// The frames of the library themselves. A body is a frame without its length; the Req ID of a request is its
// caller's number.
struct Frames {
    std::function<std::string(int nCaller, bool bCheckin)> request;
    std::function<std::string(const std::string& strBody)> answer;
    std::function<bool(const std::string& strBody, bool bCheckin)> isAnswer;
};

Peer Grpc();
Peer Thrift();
Peer Hiredis();
// Boost.Asio and Asio have names in common that are not the same, so that this peer is a shared library which
// sees nothing of the messages: it is handed the frames.
__attribute__((visibility("default"))) Peer BoostAsio(const Frames& frames);

// What the callers send and what the servers answer: the values of the library's frames against its service.
inline std::string UserOf(int nCaller) { return "user" + std::to_string(nCaller); }
inline constexpr const char* kAddress = "10.0.0.1";
inline constexpr int kProductID = 7;
inline constexpr int kRemainMinutes = 600;
inline constexpr const char* kCRMCode = "CRM";
inline constexpr const char* kEndDate = "20991231235959";
inline constexpr const char* kSeqNo = "1";
inline constexpr const char* kFree = "N";

}  // namespace Peers
