// One TCP connection: cuts what comes in into frames, and writes what goes out when it is due. Belongs to the
// server's thread; every operation under way holds a reference, so the link outlives them.
#pragma once

#include <array>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <map>

#include "sandbox/base/Clock.h"
#include "sandbox/wire/Link.h"

namespace Sandbox {

class TcpLink final : public Link {
public:
    // Owner and clock must outlive the link.
    TcpLink(asio::ip::tcp::socket socket, IOwner& owner, const IClock& clock);

    void Start();  // begins to read
    void Post(std::string strBytes, const Delivery& delivery) override;
    void Close(const std::string& strWhy) override;
    void SetPace(bool bFrozen, std::size_t nBytesPerSecond) override;
    bool IsFrozen() const override { return m_bFrozen; }
    void Abandon(const std::string& strWhy) override;
    void Release() override;

    // A frame is cut into this many pieces at most; the last piece is whatever is left then.
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
    bool IsPaused() const { return m_bFrozen || m_nQueuedBytes >= kPauseAt; }
    void ReadAfter(std::size_t nRead);
    void Discard();
    // The most bytes of one read or write, and the pause behind so many of them.
    std::size_t GetStep(std::size_t nMost) const;
    std::chrono::milliseconds GetPause(std::size_t nBytes) const;
    void StopIo();
    void Enqueue(std::string strBytes, const Delivery& delivery);
    void ReleaseHeld();
    void Write();
    void TakeDueItems(Due now);
    void WriteNextPiece();
    void OnWritten();

    asio::ip::tcp::socket m_socket;
    // While nothing is being written: until the first item of the queue is due. Otherwise: the pause between
    // two pieces.
    asio::steady_timer m_timer;
    IOwner& m_owner;
    const IClock& m_clock;

    // Of outages.
    bool m_bFrozen = false;
    std::size_t m_nBytesPerSecond = 0;  // 0: as fast as it goes
    asio::steady_timer m_readTimer;     // the pause behind a read of a slow link

    bool m_bReading = false;
    std::array<char, 16 * 1024> m_arrInput;
    std::array<char, 1024> m_arrDiscarded;  // of a link that is abandoned
    StreamPtr m_input;  // bytes that are not a whole frame yet, or that came in during a pause

    bool m_bWriting = false;
    Item m_writing{};
    std::size_t m_nWritten = 0;  // bytes of m_writing
    std::size_t m_nPieces = 0;   // of m_writing
    std::multimap<Due, Item> m_mapQueue;
    std::string m_strHeld;  // waits for the next bytes, or for m_holdTimer
    asio::steady_timer m_holdTimer;
    std::size_t m_nQueuedBytes = 0;  // in the queue, m_writing and m_strHeld
};

}  // namespace Sandbox
