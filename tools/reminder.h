// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>

/// Calls a function some time after it was asked to, on a thread of its own; once however often it was
/// asked meanwhile.
class Reminder final
{
public:
    Reminder(std::chrono::milliseconds pause, void (*call)());
    /// A call under way may go on for a moment: it may wait for what the present thread holds.
    ~Reminder();
    Reminder(const Reminder &) = delete;
    Reminder &operator=(const Reminder &) = delete;

    /// From any thread.
    void ask();

private:
    struct State;

    const std::shared_ptr<State> m_state;
};
