// The other end of a client's links on real sockets.
#pragma once

#include <gtest/gtest.h>

#include <asio.hpp>
#include <stdexcept>
#include <string>

#include "platform/Platova.h"
#include "tests/platform/NetClient.h"
#include "tests/support/LoopbackService.h"

namespace Loopback {

using namespace NetClient;

inline unsigned int Code(const std::error_code& code) { return static_cast<unsigned int>(code.value()); }

// The far end of a client's newest link. It reads nothing before the first Read.
class Peer final : private Support::Transport::Sink {
public:
    Peer()
    {
        m_service.Start(*this);
        m_service.HoldReading(true);
    }
    ~Peer() override { m_service.Stop(); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    unsigned short Port() const { return m_service.Port(); }
    void Refuse() { m_service.Accept(false); }
    void Meet(Client& client)
    {
        const int nBefore = m_nConnection;
        if (!client.Connect(Port()) || !Eventually([&] { return m_nConnection > nBefore; }))
            throw std::runtime_error("not connected");
    }

    void Write(const std::string& str) { m_service.Send(m_nConnection, str); }
    bool IsHeldUp() { return m_service.IsHeldUp(m_nConnection); }
    void Close() { m_service.Close(m_nConnection, false); }  // in order, behind what has been written
    void Reset() { m_service.Close(m_nConnection, true); }
    // Waits for so many bytes, or for the end.
    std::string Read(std::size_t nSize)
    {
        m_service.HoldReading(false);
        EXPECT_TRUE(Eventually([&] {
            const std::lock_guard lock(m_mutex);
            return m_strRead.size() >= nSize || m_bEnded;
        }));
        const std::lock_guard lock(m_mutex);
        const std::string strResult = m_strRead.substr(0, nSize);
        m_strRead.erase(0, nSize);
        return strResult;
    }
    bool HasUnread()
    {
        const std::lock_guard lock(m_mutex);
        return !m_strRead.empty();
    }
    std::string ReadToTheEnd() { return Read(std::string::npos); }
    bool WasReset() const { return m_bReset; }  // the end was no orderly one

private:
    void OnOpen(int nConnection) override { m_nConnection = nConnection; }
    void OnBytes(int, std::string strBytes) override
    {
        const std::lock_guard lock(m_mutex);
        m_strRead += strBytes;
    }
    void OnClose(int, bool bAbruptly) override
    {
        m_bReset = bAbruptly;
        m_bEnded = true;
    }

    std::atomic<int> m_nConnection{0};
    std::atomic<bool> m_bEnded{false}, m_bReset{false};
    std::mutex m_mutex;
    std::string m_strRead;
    Support::LoopbackService m_service{std::chrono::microseconds(0)};
};

// One link between a client and its peer, for tests whose callbacks use nothing of their own.
class Linked : public testing::Test {
protected:
    Linked()
    {
        m_peer.Meet(m_client);
        m_pLink = m_client.Active();
        Link::AddRef(m_pLink);
    }
    ~Linked() override
    {
        m_client.Destroy();
        EXPECT_EQ(0, Link::Release(m_pLink)) << "a reference is left";
    }

    Peer m_peer;
    Client m_client;
    LinkHandle* m_pLink;  // with a reference
};

// A door that callbacks wait at.
class Gate {
public:
    void Open() { m_bOpen.store(true); }
    void Wait() const
    {
        EXPECT_TRUE(Eventually([this] { return m_bOpen.load(); }));
    }

private:
    std::atomic<bool> m_bOpen{false};
};

}  // namespace Loopback
