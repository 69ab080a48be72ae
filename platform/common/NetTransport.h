// The socket of a link as its strand sees it: what may have to wait for the peer, and the order of closing.
#pragma once

#include <asio.hpp>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

#include "platform/Netrova.h"
#include "platform/common/LinkSocket.h"
#include "platform/common/Mutex.h"

namespace Netrova {

// The Post calls may come from any thread, also while locks are held: they only queue work for the strand.
// The link is kept alive while an operation is under way.
class Transport : public std::enable_shared_from_this<Transport> {
public:
    // Throws std::bad_alloc and std::system_error.
    Transport(asio::io_context& context, Socket socket, std::shared_ptr<Link::_THandle> pLink);

    // They throw std::bad_alloc, and then nothing has been queued.
    void PostRead();   // the strand reads from now on
    void PostWrite();  // there are blocks to send
    void PostWatch();  // the link's Watch runs every kWatchCycle while it returns true
    void PostClose();  // the last one for this transport
    void PostLose();   // the connection is over

    static constexpr std::chrono::milliseconds kWatchCycle{50};

    // kMaxStall of the contract; a test makes it shorter.
    static void SetMaxStall(std::chrono::milliseconds stall) { s_maxStall.store(stall); }

    // ---- beside the strand; LinkSocket tells what they do ----
    LinkSocket::Sent WriteNow(const Blocks& vecBlocks, std::size_t nFront, std::size_t& nCount);
    bool MayBlock() const;  // whether there is a ReadNow: the strand reads otherwise
    std::size_t ReadNow(char* pBytes, std::size_t nSize);

private:
    template <void (Transport::*kStep)()>
    void Post();
    std::shared_ptr<LinkSocket> GetSocket();  // null once it has been closed
    void Read();
    void OnRead(const std::error_code& failed, std::size_t nCount);
    void Write();
    void WatchStall(std::size_t nTransferred);
    void OnWritten(const std::error_code& failed, std::size_t nCount);
    void DetachIfIdle();
    void Watch();
    void BeginClose();
    void Lose();
    void CloseSocket();

    asio::strand<asio::io_context::executor_type> m_strand;
    Kernova::Internal::Mutex m_mutex;
    std::shared_ptr<LinkSocket> m_pSocket GUARDED_BY(m_mutex);
    // From here on: on the strand only.
    asio::steady_timer m_graceTimer;  // the time that a closing link has for its last bytes
    asio::steady_timer m_watchTimer;
    asio::steady_timer m_stallTimer;  // the time that the writing has for its next byte
    std::size_t m_nTransferred = 0;   // bytes of the writing under way that have left
    std::shared_ptr<Link::_THandle> m_pLink;
    std::vector<char> m_vecRead;
    Blocks m_vecWriting;
    bool m_bReading = false;  // an asynchronous operation is under way
    bool m_bWriting = false;  // likewise
    bool m_bClosing = false;

    static inline std::atomic<std::chrono::milliseconds> s_maxStall{std::chrono::seconds(Link::kMaxStall)};
};

}  // namespace Netrova
