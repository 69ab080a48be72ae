// What the thread of a log service does beside writing lines: looks, and the status file.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "platform/Logova.h"

namespace Logova {

// Used on the thread of one queue alone, which shares its ownership: a write that hangs may outlive the
// service.
class StatusReporter {
public:
    static constexpr std::chrono::milliseconds kLook{500};

    // strPath: the status file, empty for none. A name that ends in ".json" is given JSON. complain(text) is
    // told of a file that cannot be written.
    StatusReporter(const Reporter& reporter, std::string strPath, std::chrono::seconds period,
                   std::function<void(const char*)> complain);

    // Every kLook, and with bEnd for the last time.
    void Run(bool bEnd);

private:
    void WriteStatus();

    const Reporter m_reporter;
    const std::string m_strPath;
    const std::chrono::seconds m_period;
    const std::function<void(const char*)> m_complain;
    std::chrono::steady_clock::time_point m_nextStatus{};
};

}  // namespace Logova
