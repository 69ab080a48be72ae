// One TCP connection: cuts what comes in into frames and writes what goes out, each when it is due.
// Belongs to the server's thread.
#pragma once

#include <array>
#include <asio.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "sandbox/base/Clock.h"
#include "sandbox/wire/Frames.h"

namespace Sandbox {

struct Connector;

// How bytes leave a link.
struct Delivery {
    std::chrono::milliseconds delay{0};
    std::size_t nPiece = 0;             // above 0: in pieces of so many bytes, with a pause between them
    std::chrono::milliseconds hold{0};  // above 0: together with what leaves next, or alone after so long
    bool bLast = false;                 // the link is closed behind them
};

class Link final : public std::enable_shared_from_this<Link> {
public:
    // Whoever the frames are for.
    class IOwner {
    public:
        // One frame's body, within Guard.
        virtual void OnFrame(Link& link, Wirova::Stream* body) = 0;
        // Once for each link. strWhy says why, as a reader would like it.
        virtual void OnClosed(Link& link, const std::string& strWhy) = 0;

    protected:
        ~IOwner() = default;
    };

    Link(asio::ip::tcp::socket socket, IOwner& owner, const IClock& clock);

    void Start();
    // Queues bytes that leave after the delay; those of the same delay keep their order, and nothing comes
    // between pieces. Closes the link if the peer leaves more than kMaxQueuedBytes waiting.
    void Post(std::string strBytes, const Delivery& delivery);
    void Close(const std::string& strWhy);
    // Runs work that serves a frame; whatever it throws closes the link.
    void Guard(const std::function<void()>& work);
    bool IsOpen() const { return m_bOpen; }

    // How lines name it: the peer's address, or the connector's name once it has registered.
    const std::string& GetName() const { return m_strName; }
    // Null until it has registered. The registry keeps both directions in step.
    Connector* GetConnector() const { return m_pConnector; }
    void SetConnector(Connector* pConnector, const std::string& strName);

    std::int64_t GetStartTime() const { return m_msStarted; }  // of IClock::Milliseconds
    std::int64_t GetLastHeard() const { return m_msHeard; }    // when bytes came in last

    // Nothing more is read while this much waits to be written; a little less, and reading goes on.
    static constexpr std::size_t kPauseAt = 1u << 20;
    static constexpr std::size_t kMaxQueuedBytes = 32u << 20;
    // More pieces are not made of one frame: what is left then is the last one.
    static constexpr std::size_t kMaxPieces = 256;
    static constexpr std::chrono::milliseconds kPiecePause{2};

private:
    using Due = std::chrono::steady_clock::time_point;
    struct Item {
        std::string strBytes;
        std::size_t nPiece;
        bool bLast;
        bool IsPlain() const { return nPiece == 0 && !bLast; }  // may be written together with others
    };

    void Read();
    void OnRead(const asio::error_code& error, int nRead);
    void TakeFrames();
    bool IsPaused() const { return m_nQueuedBytes >= kPauseAt; }
    void Enqueue(std::string strBytes, const Delivery& delivery);
    void ReleaseHeld();
    void Write();
    void TakeDueItems(Due now);
    void WriteNextPiece();
    void OnWritten();

    asio::ip::tcp::socket m_socket;
    asio::steady_timer m_timer;  // until the first frame in the queue is due
    IOwner& m_owner;
    const IClock& m_clock;
    std::string m_strName;
    Connector* m_pConnector = nullptr;
    std::int64_t m_msStarted;
    std::int64_t m_msHeard;
    bool m_bOpen = true;

    bool m_bReading = false;
    std::array<char, 16 * 1024> m_arrInput;
    StreamPtr m_input;  // bytes that are not a whole frame yet, or wait for the pause to end

    // The timer is for the queue while nothing is being written, for the pauses between pieces meanwhile.
    bool m_bWriting = false;
    Item m_writing{};
    std::size_t m_nWritten = 0;  // of m_writing
    std::size_t m_nPieces = 0;   // of m_writing
    std::multimap<Due, Item> m_mapQueue;
    std::string m_strHeld;  // waits for what leaves next
    asio::steady_timer m_holdTimer;
    std::size_t m_nQueuedBytes = 0;  // in the queue, m_writing and m_strHeld
};

}  // namespace Sandbox
