// Waiting for something that other threads bring about.
#pragma once

#include <chrono>
#include <thread>

// Looks until the condition holds; false after 20 seconds, far more than anything here takes.
template <class Condition>
bool Eventually(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
