// SPDX-License-Identifier: MIT
#include "python/executionwatchdog.h"

#include "python/pyref.h"

#include <chrono>
#include <utility>

ExecutionWatchdog::ExecutionWatchdog(std::function<int()> limit, std::function<bool()> mayContinue)
    : m_limit(std::move(limit))
    , m_mayContinue(std::move(mayContinue))
    , m_watchedThread(py.PyThread_get_thread_ident())
    , m_thread([this] { watch(); })
{
}

ExecutionWatchdog::~ExecutionWatchdog()
{
    {
        const std::lock_guard lock(m_mutex);
        m_done = true;
    }
    m_ended.notify_all();
    m_thread.join();
}

void ExecutionWatchdog::finish()
{
    const std::lock_guard lock(m_mutex);
    m_done = true;
    if (m_interrupted)
        py.PyThreadState_SetAsyncExc(m_watchedThread, nullptr);
}

void ExecutionWatchdog::watch()
{
    for (int seconds = 0; !waitForEnd();) {
        if (++seconds < m_limit())
            continue;
        if (m_limit() != 0 && !m_mayContinue())
            interrupt();
        return;
    }
}

/// Waits for a second at most.
bool ExecutionWatchdog::waitForEnd()
{
    std::unique_lock lock(m_mutex);
    return m_ended.wait_for(lock, std::chrono::seconds(1), [this] { return m_done; });
}

/// Not PyErr_SetInterrupt(): without signal handlers that does nothing, or crashes.
void ExecutionWatchdog::interrupt()
{
    const GilGuard interpreter;
    const std::lock_guard lock(m_mutex);
    if (m_done || !interpreter.isLocked())
        return;
    m_interrupted = true;
    py.PyThreadState_SetAsyncExc(m_watchedThread, *py.KeyboardInterrupt);
}
