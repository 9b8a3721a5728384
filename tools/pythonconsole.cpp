// SPDX-License-Identifier: MIT
#include "tools/pythonconsole.h"

#include "python/pythonmodule.h"
#include "tools/fixedfont.h"
#include "tools/pythoninputdlg.h"
#include "ui_pythonconsole.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QKeyEvent>
#include <QPointer>
#include <QScrollBar>
#include <QSettings>
#include <QStringListModel>
#include <QTextBlock>
#include <QThread>

#include <cstring>
#include <utility>

PythonConsole *PythonConsole::s_current = nullptr;
QMutex PythonConsole::s_mutex;

namespace {

const QString historyKey = QStringLiteral("Python History");
constexpr int storedStatements = 50;
constexpr int shownStatements = 15;
constexpr int mostLines = 5000;
constexpr std::size_t mostBytes = 65536;
constexpr std::size_t mostPromptBytes = 1024;
// Of a burst that does not end; nobody reads more.
constexpr int mostErrorCharacters = 1000000;
constexpr int errorPause = 100; // milliseconds after the last chunk of a burst
constexpr int framePause = 16; // milliseconds between two paintings
constexpr std::chrono::milliseconds
    silence(30); // after which a script that goes on is stopped to paint
// So many chunks of a burst are painted one by one; what a script prints before it goes on computing
// is mostly less.
constexpr int paintedChunks = 20;
// Threads that print faster than their text can be shown wait from then on.
constexpr int mostChunksInFlight = 500;
// Statements that start each other from nested events would use up the stack.
constexpr int mostRunningStatements = 50;

bool isGuiThread(const QObject *object)
{
    return object->thread() == QThread::currentThread();
}

/// What a script asks with a chunk: itself, unless it is long or ends a line.
QString promptIn(const char *chunk)
{
    const bool isPrompt = std::strlen(chunk) <= mostPromptBytes && !std::strchr(chunk, '\n');
    return isPrompt ? QString::fromUtf8(chunk) : QString();
}

/// What the present thread, which is not the GUI thread, asks with its last chunk.
thread_local QString threadPrompt;

/// A copy on the heap, cut to the length that one chunk may have.
char *copyOf(const char *text)
{
    const std::size_t size = std::strlen(text);
    if (size <= mostBytes)
        return qstrdup(text);
    constexpr char ellipsis[] = "...";
    std::size_t kept = mostBytes - (sizeof ellipsis - 1);
    // Not in the middle of a character.
    while (kept > 0 && (static_cast<unsigned char>(text[kept]) & 0xC0) == 0x80)
        --kept;
    return qstrdup((std::string(text, kept) + ellipsis).c_str());
}

} // namespace

PythonConsole::PythonConsole(CPython *python, QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::PythonConsole>())
    , m_python(python)
    , m_history(new QStringListModel(this))
    , m_completer(new QCompleter(m_history, this))
    , m_errorTimer(new QTimer(this))
    , m_paintReminder(silence, [] {
        CPython::callDuringRun([] {
            if (s_current)
                s_current->paintDuringRun();
        });
    })
{
    m_ui->setupUi(this);
    m_ui->console->setFont(fixedFont(9));
    {
        const QMutexLocker lock(&s_mutex);
        s_current = this;
    }
    PythonModule::setConsole({writeText, readLine});
    if (m_python->isLoaded()) {
        setWindowTitle(tr("Python ") + QString::fromUtf8(m_python->versionString())
                       + tr(" Console"));
    } else {
        m_ui->prompt->setEnabled(false);
        m_ui->console->setPlaceholderText(
            tr("Python is not installed or a compatible version is not installed."));
    }
    buildHistory();
    m_errorTimer->setSingleShot(true);
    m_paintTimer.setSingleShot(true);
    m_roomTimer.setSingleShot(true);
    m_ui->console->document()->setMaximumBlockCount(mostLines);
    makeConnections();
}

PythonConsole::~PythonConsole()
{
    endInput();
    {
        QMutexLocker lock(&s_mutex);
        if (s_current == this) {
            s_current = nullptr;
            PythonModule::setConsole({});
        }
        while (m_waitingThreads > 0)
            m_answered.wait(&s_mutex);
    }
    // Text that is still on its way belongs to its receiver.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    storeHistory();
}

void PythonConsole::buildHistory()
{
    m_history->setStringList(QSettings().value(historyKey).toStringList());
    m_completer->setModelSorting(QCompleter::UnsortedModel);
    m_completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    m_completer->setMaxVisibleItems(shownStatements);
    m_ui->prompt->setCompleter(m_completer);
    // After the completer's own filter, so that it comes first.
    m_completer->popup()->installEventFilter(this);
}

void PythonConsole::makeConnections()
{
    connect(m_ui->clear, &QToolButton::clicked, m_ui->console, &QPlainTextEdit::clear);
    connect(m_ui->prompt, &QLineEdit::returnPressed, this, &PythonConsole::runStatement);
    QScrollBar *const bar = m_ui->console->verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this, [this, bar](int value) {
        m_follows = value == bar->maximum();
    });
    // More text below, or less room for it; or all of it in view.
    connect(bar, &QScrollBar::rangeChanged, this, [this, bar](int, int maximum) {
        m_follows = m_follows || bar->value() >= maximum;
        if (m_follows)
            bar->setValue(maximum);
    });
    connect(
        this,
        &PythonConsole::newStdoutData,
        this,
        [this](const char *text) {
            append(QString::fromUtf8(text));
            delete[] text;
            makeRoom();
        },
        Qt::QueuedConnection);
    connect(
        this,
        &PythonConsole::newStderrData,
        this,
        [this](const char *text) {
            appendError(QString::fromUtf8(text));
            delete[] text;
            makeRoom();
        },
        Qt::QueuedConnection);
    connect(this,
            &PythonConsole::inputRequested,
            this,
            &PythonConsole::serveThreads,
            Qt::QueuedConnection);
    connect(m_errorTimer, &QTimer::timeout, this, &PythonConsole::reportErrors);
    connect(&m_roomTimer, &QTimer::timeout, this, [this] {
        const QMutexLocker lock(&s_mutex);
        m_chunksInFlight -= std::exchange(m_chunksShown, 0);
        m_answered.wakeAll();
    });
    connect(&m_paintTimer, &QTimer::timeout, this, &PythonConsole::resumePainting);
}

QSize PythonConsole::preferredSize() const
{
    const QFontMetrics metrics = fontMetrics();
    return {100 * metrics.horizontalAdvance(QLatin1Char('0')), 25 * metrics.lineSpacing()};
}

void PythonConsole::runStatement()
{
    const QString statement = m_ui->prompt->text().trimmed();
    if (statement.isEmpty() || m_runningStatements >= mostRunningStatements)
        return;
    remember(statement);
    const QByteArray line = (statement + QLatin1Char('\n')).toUtf8();
    const QPointer<PythonConsole> alive(this);
    ++m_runningStatements;
    writeText(0, (">>> " + line).constData());
    std::ignore = CPython::runStatement(line.constData());
    if (alive)
        --m_runningStatements;
}

/// Puts a statement on top of the history unless it is in it.
void PythonConsole::remember(const QString &statement)
{
    int row = m_history->stringList().indexOf(statement);
    if (row < 0) {
        row = 0;
        m_history->insertRow(row);
        m_history->setData(m_history->index(row), statement);
        // At once, so that a crash loses none.
        storeHistory();
    }
    m_completer->setCurrentRow(row);
}

void PythonConsole::storeHistory() const
{
    const QStringList statements = m_history->stringList().mid(0, storedStatements);
    if (!statements.isEmpty())
        QSettings().setValue(historyKey, statements);
}

void PythonConsole::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down)
        m_completer->complete();
    QWidget::keyPressEvent(event);
}

/// Enter runs what stands in the field. The completer would put its own row there afterwards, and keep
/// the list open meanwhile.
bool PythonConsole::eventFilter(QObject *watched, QEvent *event)
{
    const bool isEnter = event->type() == QEvent::KeyPress
        && (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Return
            || static_cast<QKeyEvent *>(event)->key() == Qt::Key_Enter);
    if (!isEnter || watched != m_completer->popup())
        return QWidget::eventFilter(watched, event);
    m_completer->popup()->hide();
    QCoreApplication::sendEvent(m_ui->prompt, event);
    return true;
}

void PythonConsole::writeText(int unit, const char *text)
{
    // Half of the chunks of print(..., end='') and of tracebacks are empty.
    if (!*text)
        return;
    QMutexLocker lock(&s_mutex);
    PythonConsole *const console = s_current;
    if (!console)
        return;
    if (isGuiThread(console)) {
        // Only this thread destroys it.
        lock.unlock();
        console->receive(unit, text);
        return;
    }
    console->waitForRoom();
    if (s_current != console)
        return;
    char *const copy = copyOf(text);
    ++console->m_chunksInFlight;
    console->m_paintReminder.ask();
    if (unit == 1)
        Q_EMIT console->newStderrData(copy);
    else
        Q_EMIT console->newStdoutData(copy);
    if (unit != 1) {
        threadPrompt = promptIn(text);
        QMetaObject::invokeMethod(
            console,
            [console, prompt = threadPrompt] { console->m_pendingPrompt = prompt; },
            Qt::QueuedConnection);
    }
}

/// Holds a thread back while its text comes faster than it can be shown. Called with the mutex held. A
/// script of the GUI thread that lets no events through is not waited for: it may wait for that thread.
void PythonConsole::waitForRoom()
{
    constexpr unsigned long pause = 50; // milliseconds until the GUI thread is looked at again
    ++m_waitingThreads;
    while (m_chunksInFlight >= mostChunksInFlight && !m_inputHasEnded
           && m_depthLettingThrough == CPython::runDepth()) {
        m_answered.wait(&s_mutex, pause);
    }
    --m_waitingThreads;
    m_answered.wakeAll();
}

/// A chunk of another thread was shown. Room is made when the event loop comes round, so that it does:
/// it would go on showing what is posted meanwhile for ever.
void PythonConsole::makeRoom()
{
    ++m_chunksShown;
    if (!m_roomTimer.isActive())
        m_roomTimer.start(0);
}

/// Shows a chunk that the GUI thread prints, and lets events through.
void PythonConsole::receive(int unit, const char *text)
{
    const std::unique_ptr<char[]> copy(copyOf(text));
    const QString shown = QString::fromUtf8(copy.get());
    const QPointer<PythonConsole> alive(this);
    holdPainting();
    if (unit == 1)
        appendError(shown);
    else
        append(shown);
    const int outerDepth = m_depthLettingThrough.exchange(CPython::runDepth());
    QCoreApplication::processEvents();
    if (!alive)
        return;
    m_depthLettingThrough = outerDepth;
    if (unit != 1)
        m_pendingPrompt = promptIn(copy.get());
}

/// Adds text at the end. The view follows the end unless the user has scrolled away from it, and a
/// selection stays.
void PythonConsole::append(const QString &text)
{
    QScrollBar *const bar = m_ui->console->verticalScrollBar();
    const bool follows = m_follows;
    // Stays with its line while lines above it are dropped.
    const QTextCursor top =
        follows ? QTextCursor() : m_ui->console->cursorForPosition(QPoint(0, 0));
    const int topRow = bar->value() - top.block().firstLineNumber();
    // A cursor of its own and an edit block: the text area's own cursor would have it lay out and
    // scroll in between.
    QTextCursor cursor(m_ui->console->document());
    cursor.beginEditBlock();
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(text);
    cursor.endEditBlock();
    bar->setValue(follows ? bar->maximum() : top.block().firstLineNumber() + topRow);
}

void PythonConsole::appendError(const QString &text)
{
    append(text);
    m_errors += text;
    if (m_errors.size() > 2 * mostErrorCharacters) {
        const int end = m_errors.indexOf(QLatin1Char('\n'), m_errors.size() - mostErrorCharacters);
        m_errors.remove(0, end < 0 ? m_errors.size() - mostErrorCharacters : end);
        m_errors.prepend(QLatin1String("..."));
    }
    m_errorTimer->start(errorPause);
}

/// Puts painting off until the display can show the next frame. Painting after each chunk would take
/// several times as long as all the rest.
void PythonConsole::holdPainting()
{
    if (!m_ui->console->isVisible())
        return;
    m_burst = m_lastChunk.isValid() && m_lastChunk.elapsed() < framePause ? m_burst + 1 : 0;
    m_lastChunk.start();
    if (m_burst >= paintedChunks && m_lastPaint.isValid() && m_lastPaint.elapsed() < framePause) {
        m_ui->console->setUpdatesEnabled(false);
        if (!m_paintTimer.isActive())
            m_paintTimer.start(framePause);
        m_paintReminder.ask();
    } else {
        resumePainting();
    }
}

void PythonConsole::resumePainting()
{
    m_paintTimer.stop();
    m_ui->console->setUpdatesEnabled(true);
    m_lastPaint.start();
}

/// Shows what is held back, and what threads have printed, while a script goes on without printing, which
/// lets no timer fire. Only that: no other event is let through.
void PythonConsole::paintDuringRun()
{
    m_isPaintingDuringRun = true;
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    m_isPaintingDuringRun = false;
    resumePainting();
    m_ui->console->viewport()->repaint();
    m_ui->console->verticalScrollBar()->repaint();
    const QMutexLocker lock(&s_mutex);
    if (!m_requests.empty())
        Q_EMIT inputRequested();
}

void PythonConsole::reportErrors()
{
    const QString errors = m_errors;
    m_errors.clear();
    Q_EMIT errorOccurred(errors);
}

std::string PythonConsole::readLine()
{
    s_mutex.lock();
    PythonConsole *const console = s_current;
    if (!console || !isGuiThread(console)) {
        std::string line = (console ? console->answerToThread() : std::string()) + '\n';
        s_mutex.unlock();
        return line;
    }
    s_mutex.unlock();
    return console->handleInput() + '\n';
}

/// Waits for the GUI thread to ask the user. Called with the mutex held.
std::string PythonConsole::answerToThread()
{
    const auto request = std::make_shared<InputRequest>();
    request->prompt = threadPrompt;
    m_requests.push_back(request);
    ++m_waitingThreads;
    Q_EMIT inputRequested();
    while (!request->isAnswered && !m_inputHasEnded)
        m_answered.wait(&s_mutex);
    --m_waitingThreads;
    m_answered.wakeAll();
    return request->answer;
}

/// Asks the user for the threads that wait, one after the other.
void PythonConsole::serveThreads()
{
    const QPointer<PythonConsole> alive(this);
    while (alive && m_questions == 0 && !m_isPaintingDuringRun) {
        std::shared_ptr<InputRequest> request;
        {
            const QMutexLocker lock(&s_mutex);
            if (m_requests.empty())
                return;
            request = m_requests.front();
            m_requests.pop_front();
        }
        const std::string answer = ask(request->prompt);
        if (!alive)
            return;
        const QMutexLocker lock(&s_mutex);
        request->answer = answer;
        request->isAnswered = true;
        m_answered.wakeAll();
    }
}

/// The user's answer to a script of the GUI thread.
std::string PythonConsole::handleInput()
{
    const QPointer<PythonConsole> alive(this);
    const std::string answer = ask(m_pendingPrompt);
    // Threads that asked meanwhile: the script may wait for them from now on.
    if (alive)
        serveThreads();
    return answer;
}

/// The user's answer as UTF-8; empty when the dialog was rejected.
std::string PythonConsole::ask(const QString &prompt)
{
    if (m_inputHasEnded)
        return {};
    const QString question = prompt.isEmpty() ? tr("Script requests user input") : prompt;
    const QPointer<PythonInputDlg> dialog(new PythonInputDlg(tr("Python: ") + question, this));
    const QPointer<PythonConsole> alive(this);
    const int outerDepth = m_depthLettingThrough.exchange(CPython::runDepth());
    ++m_questions;
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (alive) {
        --m_questions;
        m_depthLettingThrough = outerDepth;
    }
    // This console may be gone, and the dialog with it.
    const std::unique_ptr<PythonInputDlg> owner(dialog);
    return owner && accepted ? owner->text().toUtf8().toStdString() : std::string();
}

void PythonConsole::endInput()
{
    {
        const QMutexLocker lock(&s_mutex);
        m_inputHasEnded = true;
        m_answered.wakeAll();
    }
    const QList<PythonInputDlg *> dialogs = findChildren<PythonInputDlg *>();
    for (PythonInputDlg *const dialog : dialogs)
        dialog->reject();
}
