// SPDX-License-Identifier: MIT
#pragma once

#include <QApplication>
#include <QDebug>
#include <QFileDialog>
#include <QLineEdit>
#include <QTimer>

#include <functional>

/// Answers the modal dialogs that the program opens, from outside and in order. A dialog that nobody
/// expects is rejected and counted.
class ModalDriver
{
public:
    ModalDriver()
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
        m_timer.start(5);
    }

    using Answer = std::function<void(QDialog *)>;
    /// What to do with every dialog that nothing else was said about.
    void answerAll(const Answer &answer) { m_general = answer; }
    /// What to do with the next dialog; it has to close it.
    void expect(const Answer &answer) { m_answers.append(answer); }
    /// Types a path into a file chooser and confirms it.
    static void choose(QDialog *chooser, const QString &path)
    {
        chooser->findChild<QLineEdit *>("fileNameEdit")->setText(path);
        static_cast<QDialog *>(chooser)->accept();
    }
    /// The title of the newest dialog, for a file chooser with its filters.
    QString newest() const { return m_newest; }
    int unexpected() const { return m_unexpected; }
    int pending() const { return m_answers.size(); }

private:
    void look()
    {
        auto *const dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        constexpr char seen[] = "seenByModalDriver";
        if (!dialog || !dialog->isVisible() || dialog->property(seen).toBool())
            return;
        dialog->setProperty(seen, true);
        m_newest = dialog->windowTitle();
        if (const auto *const chooser = qobject_cast<QFileDialog *>(dialog))
            m_newest += ": " + chooser->nameFilters().join(", ");
        if (m_answers.isEmpty() && m_general) {
            QTimer::singleShot(0, dialog, [answer = m_general, dialog] { answer(dialog); });
        } else if (m_answers.isEmpty()) {
            ++m_unexpected;
            qWarning() << "unexpected" << dialog << dialog->property("text").toString();
            dialog->reject();
        } else {
            // Not from here: while this slot runs, the timer is silent, and the answer may open
            // another dialog.
            const Answer answer = m_answers.takeFirst();
            QTimer::singleShot(0, dialog, [answer, dialog] { answer(dialog); });
        }
    }

    QTimer m_timer;
    QVector<Answer> m_answers;
    Answer m_general;
    QString m_newest;
    int m_unexpected = 0;
};
