// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QVector>

/// Keeps watched objects alive while Python runs.
///
/// A generator that prints lets events through in the middle of a generation, which itself was
/// started by the signal of a widget. What is closed then is hidden at once, but must not be
/// destroyed before that call has returned to the widget. Deletions that were asked for with
/// deleteLater() are therefore put off until no call into Python is under way.
class DeferredDeletion final : public QObject
{
    Q_OBJECT

public:
    explicit DeferredDeletion(QObject *parent = nullptr);

    void watch(QObject *object) { object->installEventFilter(this); }
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void retry();

    QTimer m_retryTimer;
    QVector<QPointer<QObject>> m_postponed;
};
