// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

/// Interrupts one run of Python code that takes longer than the time limit, by a KeyboardInterrupt.
/// Made on the thread that runs the code, before it takes the interpreter lock.
class ExecutionWatchdog final
{
public:
    /// \a limit gives the limit in whole seconds and is asked again each second; 0 takes it back.
    /// \a mayContinue is asked once, on another thread, when the limit is reached; true lets the run
    /// go on without limit.
    ExecutionWatchdog(std::function<int()> limit, std::function<bool()> mayContinue);
    /// Waits for the other thread; the interpreter lock must be free by then.
    ~ExecutionWatchdog();
    ExecutionWatchdog(const ExecutionWatchdog &) = delete;
    ExecutionWatchdog &operator=(const ExecutionWatchdog &) = delete;

    /// Says that the code has ended. Needs the interpreter lock, so that a late interruption does not
    /// hit whatever runs next.
    void finish();

private:
    void watch();
    [[nodiscard]] bool waitForEnd();
    void interrupt();

    const std::function<int()> m_limit;
    const std::function<bool()> m_mayContinue;
    const unsigned long m_watchedThread;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_done = false;
    bool m_interrupted = false;
    // The last member: its thread uses all others.
    std::thread m_thread;
};
