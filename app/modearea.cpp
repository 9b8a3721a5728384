// SPDX-License-Identifier: MIT
#include "app/modearea.h"

#include "params/readablepalette.h"

#include <QChildEvent>
#include <QMdiSubWindow>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>
#include <QTabBar>

namespace {

/// Draws the cross of a tab in the colour of the texts where the style's own, a picture in one colour
/// for all palettes, cannot be told from the ground.
class CrossStyle final : public QProxyStyle
{
public:
    void drawPrimitive(PrimitiveElement element,
                       const QStyleOption *option,
                       QPainter *painter,
                       const QWidget *widget) const override
    {
        if (element == PE_IndicatorTabClose && !isVisible(option, widget))
            drawCross(*option, painter);
        else
            QProxyStyle::drawPrimitive(element, option, painter, widget);
    }

private:
    [[nodiscard]] bool isVisible(const QStyleOption *option, const QWidget *widget) const
    {
        const QColor ground = option->palette.color(QPalette::Window);
        QImage image(option->rect.size(), QImage::Format_RGB32);
        image.fill(ground);
        QPainter painter(&image);
        QProxyStyle::drawPrimitive(PE_IndicatorTabClose, option, &painter, widget);
        painter.end();
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (contrast(image.pixelColor(x, y), ground) >= readableContrast)
                    return true;
            }
        }
        return false;
    }

    static void drawCross(const QStyleOption &option, QPainter *painter)
    {
        const int side = qMin(option.rect.width(), option.rect.height());
        QRectF cross(0, 0, side / 2.0, side / 2.0);
        cross.moveCenter(QRectF(option.rect).center());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(option.palette.color(QPalette::WindowText), side / 8.0));
        painter->drawLine(cross.topLeft(), cross.bottomRight());
        painter->drawLine(cross.topRight(), cross.bottomLeft());
        painter->restore();
    }
};

} // namespace

ModeArea::ModeArea(QWidget *parent)
    : QMdiArea(parent)
    , m_crossStyle(new CrossStyle)
{
    setMinimumHeight(1);
    setViewMode(QMdiArea::TabbedView);
    setTabsClosable(true);
    setTabsMovable(true);
    // Every mode is maximised by itself. By default each activation restores the mode shown before and
    // maximises the next, which takes longer the more modes there are.
    setOption(QMdiArea::DontMaximizeSubWindowOnActivation);
    setAccessibleName(tr("Modes"));
    m_crossStyle->setParent(this);
    findChild<QTabBar *>()->installEventFilter(this);
}

bool ModeArea::eventFilter(QObject *object, QEvent *event)
{
    // The buttons of the tabs, each before it is seen first. The area filters the events of all other
    // objects as well.
    if (event->type() == QEvent::ChildPolished && qobject_cast<QTabBar *>(object)) {
        auto *const child = static_cast<QChildEvent *>(event)->child();
        if (auto *const button = qobject_cast<QWidget *>(child))
            button->setStyle(m_crossStyle);
    }
    return QMdiArea::eventFilter(object, event);
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
