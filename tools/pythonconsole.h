// SPDX-License-Identifier: MIT
#pragma once

#include "tools/reminder.h"

#include <QElapsedTimer>
#include <QMutex>
#include <QTimer>
#include <QWaitCondition>
#include <QWidget>

#include <atomic>
#include <deque>
#include <memory>
#include <string>

class CPython;
class QCompleter;
class QStringListModel;
namespace Ui {
class PythonConsole;
}

/// The interactive console: shows what the interpreter prints, runs typed statements, and asks the
/// user for the lines that scripts read. The console made last receives the interpreter's streams.
/// Its statements are kept between runs under the setting "Python History", newest first.
///
/// Each chunk of text that the GUI thread prints lets events through, so whatever is called from a
/// script may find the world changed afterwards.
class PythonConsole : public QWidget
{
    Q_OBJECT

public:
    /// \a python is the interpreter whose streams are shown; it may be without a library.
    explicit PythonConsole(CPython *python, QWidget *parent = nullptr);
    ~PythonConsole() override;

    /// Room for 25 lines of 100 characters of this widget's font.
    [[nodiscard]] QSize preferredSize() const;
    /// Answers what scripts ask for, now and from now on, with an empty line. For a program that is
    /// about to quit: nobody would answer a script that waits.
    void endInput();

    /// Shows UTF-8 text, from any thread. Unit 1 is the error stream.
    static void writeText(int unit, const char *text);
    /// Asks the user for a line; UTF-8 with its line feed. From any thread, without the interpreter
    /// lock.
    [[nodiscard]] static std::string readLine();

Q_SIGNALS:
    // Text from other threads; the receiver frees it.
    void newStdoutData(const char *str);
    void newStderrData(const char *str);
    std::string inputRequested();
    /// A burst of error output, such as a traceback, has ended.
    void errorOccurred(QString errMessage);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    /// A thread that waits for a line.
    struct InputRequest
    {
        QString prompt;
        std::string answer; // UTF-8, empty until it is there
        bool isAnswered = false;
    };

    void buildHistory();
    void makeConnections();
    void runStatement();
    void remember(const QString &statement);
    void storeHistory() const;

    void receive(int unit, const char *text);
    void append(const QString &text);
    void appendError(const QString &text);
    void waitForRoom();
    void makeRoom();
    void holdPainting();
    void resumePainting();
    void reportErrors();
    void paintDuringRun();
    [[nodiscard]] std::string handleInput();
    [[nodiscard]] std::string ask(const QString &prompt);
    [[nodiscard]] std::string answerToThread();
    void serveThreads();

    /// The one that the streams address; null without any. Changed and used by other threads under
    /// the mutex only.
    static PythonConsole *s_current;
    static QMutex s_mutex;

    const std::unique_ptr<Ui::PythonConsole> m_ui;
    CPython *const m_python;
    QStringListModel *const m_history;
    QCompleter *const m_completer;
    /// The last chunk of output that did not end a line: what a script asks for.
    QString m_pendingPrompt;
    // What other threads wait for, under the mutex.
    std::deque<std::shared_ptr<InputRequest>> m_requests;
    QWaitCondition m_answered;
    bool m_inputHasEnded = false;
    int m_waitingThreads = 0;
    /// Chunks of other threads that were not shown yet, and those shown since the event loop came
    /// round last.
    int m_chunksInFlight = 0;
    int m_chunksShown = 0;
    /// The depth of events that are let through from inside scripts.
    std::atomic<int> m_depthLettingThrough{0};
    QTimer m_roomTimer;
    QTimer *const m_errorTimer;
    /// Of the present burst; the beginning of a very long one is dropped.
    QString m_errors;
    QTimer m_paintTimer;
    /// The view is at the end, where the user has not scrolled away from it.
    bool m_follows = true;
    QElapsedTimer m_lastPaint;
    QElapsedTimer m_lastChunk;
    int m_burst = 0;
    int m_runningStatements = 0;
    /// Dialogs that are open.
    int m_questions = 0;
    bool m_isPaintingDuringRun = false;
    /// For what a script has printed before it goes on in silence.
    Reminder m_paintReminder;
};
