// A service's end of real TCP connections: listens on 127.0.0.1, on a port that the system chooses.
#pragma once

#include <memory>

#include "tests/support/Transport.h"

namespace Support {

class LoopbackService final : public Transport {
public:
    LoopbackService();
    ~LoopbackService() override;

    void Start(Sink& sink) override;
    void Stop() override;
    unsigned short Port() const override;
    // Leaves some milliseconds later, so that an answer does not overtake the call that waits for it.
    void Send(int nConnection, const std::string& strBytes) override;
    void Close(int nConnection, bool bAbruptly) override;
    void Accept(bool bAccept) override;
    void HoldReading(bool bHold) override;
    // Over sockets nobody knows what is still on its way: there is nothing to wait for...
    void Settle() override {}
    // ...but that nothing comes for a while.
    void WaitForSilence() override;

private:
    class Impl;
    const std::unique_ptr<Impl> m_pImpl;
};

}  // namespace Support
