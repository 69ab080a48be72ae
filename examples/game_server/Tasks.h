// The game's own queue: work from any thread for the one thread that runs the game.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <queue>
#include <utility>

class Tasks {
public:
    using Task = std::function<void()>;

    // Any thread. Never blocks for longer than a push.
    void Post(Task task)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_tasks.push(std::move(task));
        }
        m_cond.notify_one();
    }

    // Runs the tasks in order on the calling thread, and everySecond in between, until Stop.
    void Run(const Task& everySecond)
    {
        using Clock = std::chrono::steady_clock;
        auto next = Clock::now() + std::chrono::seconds(1);
        m_bStop = false;
        while (!m_bStop) {
            if (Task task = Take(next))
                task();
            if (Clock::now() >= next) {
                everySecond();
                next = Clock::now() + std::chrono::seconds(1);
            }
        }
    }
    // What is there now, without waiting for more.
    void RunPending()
    {
        while (Task task = Take(std::chrono::steady_clock::now()))
            task();
    }
    // Run returns once it has done what was posted before.
    void Stop()
    {
        Post([this] { m_bStop = true; });
    }

private:
    // An empty one if none comes in time. The lock is free again when the task runs.
    Task Take(std::chrono::steady_clock::time_point until)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_cond.wait_until(lock, until, [this] { return !m_tasks.empty(); }))
            return {};
        Task task = std::move(m_tasks.front());
        m_tasks.pop();
        return task;
    }

    std::mutex m_mutex;
    std::condition_variable m_cond;
    std::queue<Task> m_tasks;
    bool m_bStop = false;  // the game's thread alone
};
