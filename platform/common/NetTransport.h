// The socket of a link as its strand sees it: what may have to wait for the peer, and the order of closing.
#pragma once

#include <asio.hpp>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

#include "platform/Netrova.h"
#include "platform/common/HandlerMemory.h"
#include "platform/common/LinkSocket.h"
#include "platform/common/Mutex.h"

namespace Netrova {

// Its steps run on the pool's threads, one at a time: on its strand. The Post calls may come from any thread,
// also while locks are held: they only note the step. The strand takes no memory once the transport is made,
// so a step that has been noted runs. The link is kept alive while an operation is under way.
class Transport : public std::enable_shared_from_this<Transport> {
public:
    // Throws std::bad_alloc and std::system_error.
    Transport(asio::io_context& context, Socket socket, std::shared_ptr<Link::_THandle> pLink);

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
    // Steps that are due, as bits; those of one round run in this order.
    enum Step : unsigned int {
        kReadDone = 1,
        kWriteDone = 2,
        kRead = 4,
        kWrite = 8,
        kWatchDue = 16,
        kWatch = 32,
        kStallDue = 64,
        kClose = 128,
        kGraceOver = 256,
        kLose = 512,
    };

    void Post(Step step);
    void RunSteps();
    void RunRound(unsigned int nSteps);
    // A handler of the event loop that notes the step.
    auto Then(Step step, HandlerMemory& memory)
    {
        return In(memory, [pSelf = shared_from_this(), step](const std::error_code& failed) {
            if (!failed)
                pSelf->Post(step);
        });
    }
    std::shared_ptr<LinkSocket> GetSocket();  // null once it has been closed
    void Read();
    void OnRead();
    void Write();
    void WriteBlock();
    void WatchStall();
    void OnWritten();
    void DetachIfIdle();
    void Watch();
    void BeginClose();
    void NoteEnd(const std::error_code& failed);
    void Lose();
    void CloseSocket();

    // How an operation has ended. Written before its step is noted, read by the step.
    struct Outcome {
        std::error_code failed;
        std::size_t nCount = 0;
    };

    asio::io_context& m_context;
    Kernova::Internal::Mutex m_mutex;
    std::shared_ptr<LinkSocket> m_pSocket GUARDED_BY(m_mutex);
    unsigned int m_nDue GUARDED_BY(m_mutex) = 0;
    bool m_bRunning GUARDED_BY(m_mutex) = false;  // a thread runs the steps or is going to
    HandlerMemory m_stepMemory, m_readMemory, m_writeMemory, m_graceMemory, m_watchMemory, m_stallMemory;
    Outcome m_readOutcome, m_writeOutcome;
    // From here on: on the strand only.
    asio::steady_timer m_graceTimer;  // the time that a closing link has for its last bytes
    asio::steady_timer m_watchTimer;
    asio::steady_timer m_stallTimer;  // the time that the writing has for its next byte
    std::shared_ptr<Link::_THandle> m_pLink;
    std::vector<char> m_vecRead;
    Blocks m_vecWriting;
    std::size_t m_nBlock = 0;  // the block of them that is being written
    std::size_t m_nFront = 0;  // its bytes that have left
    bool m_bReading = false;   // an asynchronous operation is under way
    bool m_bWriting = false;   // likewise
    bool m_bClosing = false;

    static inline std::atomic<std::chrono::milliseconds> s_maxStall{std::chrono::seconds(Link::kMaxStall)};
};

}  // namespace Netrova
