// Windows cannot divide a process: clients and services are threads of one process there. Rows for one core
// are for whoever starts the program on one core, and what they use is not counted.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "bench/Usage.h"

namespace Bench {

inline Usage GetUsage() { return {}; }

// A thread that runs the body, and goes on for as long as the body does. The body is handed the function that
// gives the starter one value.
template <class T>
class Process {
public:
    using Give = std::function<void(const T&)>;

    Process(bool, const std::function<void(const Give&)>& body)
    {
        std::thread([pGiven = m_pGiven, body] {
            body([&pGiven](const T& value) {
                const std::lock_guard lock(pGiven->mutex);
                pGiven->value = value;
                pGiven->there.notify_all();
            });
        }).detach();
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    // Waits for the value.
    T Take()
    {
        std::unique_lock lock(m_pGiven->mutex);
        m_pGiven->there.wait(lock, [this] { return m_pGiven->value.has_value(); });
        return *m_pGiven->value;
    }

private:
    struct Given {
        std::mutex mutex;
        std::condition_variable there;
        std::optional<T> value;
    };
    std::shared_ptr<Given> m_pGiven = std::make_shared<Given>();
};

}  // namespace Bench
