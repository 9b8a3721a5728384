// SPDX-License-Identifier: MIT
//
// The main window's copies of unsaved sessions in the rescue folder.

#include "app/tarnwick.h"

#include "app/sessionfile.h"
#include "files/rescuefolder.h"
#include "python/pythonmodule.h"
#include "session/session.h"

#include <QEvent>
#include <QFile>
#include <QMdiSubWindow>

void Tarnwick::prepareRescue()
{
    m_rescueWriter.setMaxThreadCount(1);
    m_rescueTimer.setSingleShot(true);
    m_rescueTimer.setInterval(2000);
    connect(&m_rescueTimer, &QTimer::timeout, this, [this] {
        // In the middle of a run, where a print lets this through, a form may be half filled.
        PythonModule::isRunning() ? m_rescueTimer.start() : rescueSession();
    });
}

/// A value was changed, or a mode added. The timer runs exactly while there are changes that the rescue
/// folder doesn't have.
void Tarnwick::modesChanged()
{
    markModified();
    m_rescueTimer.start();
}

/// Writes the session to its file in the rescue folder, the same one each time.
void Tarnwick::rescueSession()
{
    m_rescueTimer.stop();
    if (!m_session)
        return;
    // Modes are missing that a copy made before may have.
    if (!canBeSaved()) {
        m_rescueTimer.start();
        return;
    }
    if (m_rescueFile.isEmpty()) {
        // A copy that is still to be written has its name already.
        m_rescueWriter.waitForDone();
        m_rescueFile =
            RescueFolder().newFile(m_session->partNumber() + QLatin1String("_modes_def.txt"));
    }
    // The text of many modes and its writing take longer than what else follows a change.
    m_rescueWriter.start([file = m_rescueFile, session = sessionDescription()] {
        std::ignore = RescueFolder().write(file, sessionFileText(session));
    });
}

/// For when modes are about to go. What the rescue folder has of them stays there: later changes, of
/// the modes that are left or of another session, get a file of their own.
void Tarnwick::leaveRescuedModes()
{
    if (m_rescueTimer.isActive()) {
        // A form may be half filled then, and is not to replace what was written before.
        if (PythonModule::isRunning())
            m_rescueFile.clear();
        rescueSession();
    }
    m_rescueTimer.stop();
    m_rescueFile.clear();
}

/// For when nothing is unsaved any more.
void Tarnwick::discardRescue()
{
    m_rescueTimer.stop();
    if (!m_rescueFile.isEmpty()) {
        m_rescueWriter.waitForDone();
        QFile::remove(m_rescueFile);
    }
    m_rescueFile.clear();
}

bool Tarnwick::eventFilter(QObject *watched, QEvent *event)
{
    // A mode's tab is closed; it still has its values.
    if (event->type() == QEvent::Close && qobject_cast<QMdiSubWindow *>(watched))
        leaveRescuedModes();
    return QMainWindow::eventFilter(watched, event);
}
