// The connected socket of a link, which a reading thread, a writing thread and the event loop use side by
// side.
#pragma once

#include <asio.hpp>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Netrova {

using Socket = asio::ip::tcp::socket;
using Blocks = std::vector<std::vector<char>>;

// The destructor closes the socket. Every thread that is inside Send or Receive shares the ownership, so the
// system cannot give the descriptor to another connection meanwhile.
class LinkSocket {
public:
    // Takes a connected socket. Throws std::system_error.
    explicit LinkSocket(Socket socket);
    ~LinkSocket();
    LinkSocket(const LinkSocket&) = delete;
    LinkSocket& operator=(const LinkSocket&) = delete;

    enum class Sent { All, Part, Failed };
    // Sends what the system takes without waiting for the peer: the blocks without the first nFront bytes of
    // the first one. nCount is the number of bytes sent. One thread at a time, the event loop included.
    Sent Send(const Blocks& vecBlocks, std::size_t nFront, std::size_t& nCount);
    // The system's code of what has failed in the two calls; 0 if the peer has ended the connection.
    int GetError() const { return m_nError.load(); }
    // Blocks until there are bytes; 0 when the connection has ended in any way, or after End. One thread at a
    // time, the event loop included.
    std::size_t Receive(char* pBytes, std::size_t nSize);

    // ---- by the event loop, one operation at a time ----
    // The socket for asynchronous operations, until Detach. Throws std::system_error.
    Socket& Attach();
    // When no asynchronous operation is under way. What arrives wakes no thread of the event loop from now
    // on.
    void Detach();
    // Throws away what has been received, up to so many bytes.
    void Drain(std::size_t nMost);
    // Ends the connection for both sides, and with it every operation that is under way.
    void End();

private:
    Socket m_socket;  // where the event loop wakes threads for a socket that it knows, only while attached
    std::uintptr_t m_nHandle;
    std::atomic<int> m_nError{0};
    // On Windows: the end of the receive that is under way, and the end of the connection.
    [[maybe_unused]] void* m_pReadEvent = nullptr;
    [[maybe_unused]] void* m_pEndEvent = nullptr;
};

}  // namespace Netrova
