// SPDX-License-Identifier: MIT
#include "tools/reminder.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

/// What the thread shares with the reminder, which it may outlive.
struct Reminder::State
{
    void run(std::chrono::milliseconds pause, void (*call)());

    std::mutex mutex;
    std::condition_variable changed;
    bool isAsked = false;
    bool hasEnded = false;
};

void Reminder::State::run(std::chrono::milliseconds pause, void (*call)())
{
    std::unique_lock lock(mutex);
    while (true) {
        changed.wait(lock, [this] { return isAsked || hasEnded; });
        if (changed.wait_for(lock, pause, [this] { return hasEnded; }))
            return;
        isAsked = false;
        lock.unlock();
        call();
        lock.lock();
    }
}

Reminder::Reminder(std::chrono::milliseconds pause, void (*call)())
    : m_state(std::make_shared<State>())
{
    std::thread([state = m_state, pause, call] { state->run(pause, call); }).detach();
}

Reminder::~Reminder()
{
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->hasEnded = true;
    }
    m_state->changed.notify_one();
}

void Reminder::ask()
{
    {
        const std::lock_guard lock(m_state->mutex);
        if (std::exchange(m_state->isAsked, true))
            return;
    }
    m_state->changed.notify_one();
}
