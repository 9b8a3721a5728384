// SPDX-License-Identifier: MIT
#include "app/modearea.h"

#include <QEvent>
#include <QMdiSubWindow>

ModeArea::ModeArea(QWidget *parent)
    : QMdiArea(parent)
{
    setMinimumHeight(1);
    setViewMode(QMdiArea::TabbedView);
    setTabsClosable(true);
    setTabsMovable(true);
    // Every mode is maximised by itself. By default each activation restores the mode shown before and
    // maximises the next, which takes longer the more modes there are.
    setOption(QMdiArea::DontMaximizeSubWindowOnActivation);
    setAccessibleName(tr("Modes"));
}

bool ModeArea::event(QEvent *event)
{
    const bool handled = QMdiArea::event(event);
    if (event->type() == QEvent::WindowActivate && !activeSubWindow())
        activateEarlySubWindow();
    return handled;
}

/// A sub-window shown while the area was not believes that it is active, which the area never heard
/// of; asking either to activate it does nothing. So the area is told again.
void ModeArea::activateEarlySubWindow()
{
    const QList<QMdiSubWindow *> subWindows = subWindowList();
    for (QMdiSubWindow *const subWindow : subWindows) {
        const Qt::WindowStates states = subWindow->windowState();
        if (states & Qt::WindowActive) {
            Q_EMIT subWindow->windowStateChanged(states & ~Qt::WindowActive, states);
            return;
        }
    }
}
