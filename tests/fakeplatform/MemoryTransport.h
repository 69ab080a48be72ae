// The network of the fake platform: a peer in memory for the links of Netrova.
//
// Each Send is one chunk, and each received callback of the link adds one chunk, or as much of it as the
// Recv asked for: a test decides what arrives together. The library's sends come to the sink on the
// transport's thread, each by itself, in order.
#pragma once

#include <memory>
#include <string>
#include <thread>

#include "tests/fakeplatform/Line.h"

namespace Fake {

class MemoryTransport final : public Support::Transport {
public:
    // Listens on a port of its own that nobody else has had.
    MemoryTransport();
    ~MemoryTransport() override { Stop(); }

    void Start(Sink& sink) override;
    void Stop() override;
    unsigned short Port() const override { return m_nPort; }
    void Send(int nConnection, const std::string& strBytes) override;
    void Close(int nConnection, bool bAbruptly) override;
    void Accept(bool bAccept) override;
    void HoldReading(bool bHold) override;
    void Settle() override;
    void WaitForSilence() override { Settle(); }

private:
    void Run(Sink& sink);
    bool IsWriting();

    const std::shared_ptr<Inbox> m_pInbox = std::make_shared<Inbox>();
    unsigned short m_nPort;
    std::thread m_thread;
};

}  // namespace Fake
