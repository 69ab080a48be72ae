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

    // Any thread, the connector's too. Does not wait for the task.
    void Post(Task task)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_tasks.push(std::move(task));
        }
        m_cond.notify_one();
    }

    // Runs the tasks in order on the calling thread, and everySecond once a second between them, until Stop.
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
    // Runs the tasks that have been posted so far and returns.
    void RunPending()
    {
        while (Task task = Take(std::chrono::steady_clock::now()))
            task();
    }
    // Run returns once it has run all tasks that were posted before this call.
    void Stop()
    {
        Post([this] { m_bStop = true; });
    }

private:
    // The next task; an empty one if none is there before the time is over. The caller runs the task without
    // the lock.
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
    bool m_bStop = false;  // used on the game's thread only
};
