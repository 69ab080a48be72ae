// No signal of the host is handled on a thread of the library.
#pragma once

#include <cstddef>

namespace Kernova::Internal {

// While it exists the calling thread gets no signal, but for those that a fault of the thread itself raises.
// Threads that are started meanwhile stay so, and the host's own threads handle what is sent to the process.
// Windows has no such signals.
class SignalsBlocked {
public:
    SignalsBlocked();
    ~SignalsBlocked();
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    // The system's record of what was blocked before.
    [[maybe_unused]] alignas(std::max_align_t) unsigned char m_before[128];
};

}  // namespace Kernova::Internal
