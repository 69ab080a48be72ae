// What Asio has no portable option for.
#pragma once

#include <cstdint>

namespace Netrova {

// A peer that is gone without a word is given up after about this long: probes on an idle connection
// begin after kKeepAliveIdle and come every kKeepAliveInterval, and sent bytes may stay unacknowledged
// for kDeadPeer. Seconds.
inline constexpr int kKeepAliveIdle = 10;
inline constexpr int kKeepAliveInterval = 2;
inline constexpr int kKeepAliveCount = 10;  // Windows always sends 10
inline constexpr int kDeadPeer = kKeepAliveIdle + kKeepAliveInterval * kKeepAliveCount;

// Prepares a connected TCP socket, given by its native handle: these times, and that no program that the
// host starts inherits it and keeps the connection open. What the system does not know is left out: a
// connection without it still works.
void SetLinkOptions(std::uintptr_t nSocket);

// Prepares a TCP socket that is going to listen: nobody else can listen on its port at the same time, and a
// program that has just ended does not keep the port from its successor.
void SetListenOptions(std::uintptr_t nSocket);

}  // namespace Netrova
