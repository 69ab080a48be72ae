// The socket of a link: one read in flight, one gathered write in flight, and the order of closing.
#pragma once

#include <asio.hpp>
#include <cstddef>
#include <memory>
#include <vector>

#include "platform/Netrova.h"

namespace Netrova {

using Socket = asio::ip::tcp::socket;

// All work on the socket is done on a strand, so the Post calls may come from any thread, also while
// locks are held: they only queue. The link is kept alive while an operation is under way.
class Transport : public std::enable_shared_from_this<Transport> {
public:
    Transport(asio::io_context& context, Socket socket, std::shared_ptr<Link::_THandle> pLink);

    // They throw std::bad_alloc, and then nothing has been queued.
    void PostRead();   // there are credits
    void PostWrite();  // there are blocks to send
    void PostClose();  // the last one for this transport

private:
    void Read();
    void OnRead(const std::error_code& failed, std::size_t nCount);
    void Write();
    void OnWritten(const std::error_code& failed, std::size_t nCount);
    void BeginClose();
    void Lose();
    void CloseSocket();

    asio::strand<asio::io_context::executor_type> m_strand;
    // From here on: on the strand only.
    Socket m_socket;
    asio::steady_timer m_graceTimer;  // the time that a closing link has for its last bytes
    std::shared_ptr<Link::_THandle> m_pLink;
    std::vector<char> m_vecRead;
    std::vector<std::vector<char>> m_vecWriting;
    bool m_bWriting = false;
    bool m_bClosing = false;
};

}  // namespace Netrova
