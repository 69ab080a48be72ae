// The processes of a measurement: clients and services run in processes of their own, so that none of them
// shares a heap, a thread or a counter with another. What the operating system has to do for that is in
// Process.h, in the folder of the system.
#pragma once

#include <functional>

#include "Process.h"
#include "bench/Fail.h"

namespace Bench {

// Runs the body in a process of its own and gives what it returns.
template <class T>
T InProcess(bool bOneCore, const std::function<T()>& body)
{
    return Process<T>(bOneCore, [&](const auto& give) { give(body()); }).Take();
}

// A service in a process of its own, until the end of this object. The function that serves gets the function
// that tells the service's port, and does not return.
class ServiceProcess {
public:
    using Ready = std::function<void(unsigned short)>;

    ServiceProcess(bool bOneCore, const std::function<void(const Ready&)>& serve)
        : m_process(bOneCore, [serve](const auto& give) { serve(give); }), m_nPort(m_process.Take())
    {
    }
    unsigned short Port() const { return m_nPort; }

private:
    Process<unsigned short> m_process;
    unsigned short m_nPort;
};

}  // namespace Bench
