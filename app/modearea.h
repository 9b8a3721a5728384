// SPDX-License-Identifier: MIT
#pragma once

#include <QMdiArea>

/// The tabbed area of the modes. A tab that was added before the main window was shown is the current
/// one when the window is activated; the toolkit would leave it inactive until the next one is added.
/// The crosses of the tabs can be seen on dark palettes too.
class ModeArea final : public QMdiArea
{
    Q_OBJECT

public:
    explicit ModeArea(QWidget *parent = nullptr);

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    void activateEarlySubWindow();

    QStyle *const m_crossStyle;
};
