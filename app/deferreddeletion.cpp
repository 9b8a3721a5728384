// SPDX-License-Identifier: MIT
#include "app/deferreddeletion.h"

#include "python/cpython.h"

#include <QEvent>

DeferredDeletion::DeferredDeletion(QObject *parent)
    : QObject(parent)
{
    // The timer runs in the event loop, so it sees the end of the call only after everything that
    // was on the stack around it has returned.
    m_retryTimer.setInterval(10);
    connect(&m_retryTimer, &QTimer::timeout, this, &DeferredDeletion::retry);
}

bool DeferredDeletion::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::DeferredDelete || !CPython::isRunning())
        return QObject::eventFilter(watched, event);
    m_postponed.append(watched);
    m_retryTimer.start();
    return true;
}

void DeferredDeletion::retry()
{
    if (CPython::isRunning())
        return;
    m_retryTimer.stop();
    const QVector<QPointer<QObject>> objects = std::exchange(m_postponed, {});
    for (const QPointer<QObject> &object : objects) {
        if (object)
            object->deleteLater();
    }
}
