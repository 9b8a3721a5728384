// SPDX-License-Identifier: MIT
#include "app/recentfilelist.h"

#include <QAction>
#include <QSettings>
#include <QStringList>
#include <QWidget>

#include <algorithm>
#include <utility>

static constexpr int slotCount = std::tuple_size_v<RecentFiles>;

static bool isTailOfAnother(const QString &tail, const RecentFiles &files, int slot)
{
    for (int i = 0; i < slotCount; ++i) {
        if (i != slot && (tail.isEmpty() || files.at(i).endsWith(tail)))
            return true;
    }
    return false;
}

QString recentFileLabel(const RecentFiles &files, int slot)
{
    if (slot < 0 || slot >= slotCount)
        return {};
    const QString &path = files.at(slot);
    const QLatin1Char separator('/');
    QString tail = path.mid(path.lastIndexOf(separator) + 1);
    bool isShortened = false;
    while (!path.isEmpty() && isTailOfAnother(tail, files, slot)) {
        // In front of the tail stands its separator; the component before that begins after the next.
        const int last = path.size() - tail.size() - 2;
        const int before = last < 0 ? -1 : path.lastIndexOf(separator, last);
        if (before <= 0)
            return path;
        tail = path.mid(before + 1);
        isShortened = true;
    }
    return isShortened ? QLatin1String("...") + tail : tail;
}

RecentFileList::RecentFileList(QWidget *parent, QString settingsKey)
    : QObject(parent)
    , m_parentWidget(parent)
    , m_key(std::move(settingsKey))
{
    const QStringList stored = QSettings().value(m_key).toStringList();
    std::copy_n(stored.begin(), std::min(stored.size(), slotCount), m_files.begin());
    refreshMenu();
}

QMenu *RecentFileList::menu(const QString &title)
{
    refreshMenu();
    if (!title.isEmpty())
        m_menu->setTitle(title);
    return m_menu;
}

void RecentFileList::addFile(const QString &fileName)
{
    if (fileName.isEmpty())
        return;
    // A copy, also because the caller's text may be a slot.
    QString path = fileName;
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    const auto oldPlace = std::find(m_files.begin(), m_files.end() - 1, path);
    if (oldPlace == m_files.begin())
        return;
    // Where the file is new, the last slot drops out.
    std::rotate(m_files.begin(), oldPlace, oldPlace + 1);
    m_files.front() = path;
    refreshMenu();
    QSettings().setValue(m_key, QStringList(m_files.begin(), m_files.end()));
}

void RecentFileList::refreshMenu()
{
    if (m_menu == nullptr) {
        m_menu = new QMenu(tr("Recent Files"), m_parentWidget);
        m_menu->setToolTipsVisible(true);
    }
    m_menu->clear();
    for (int i = 0; i < slotCount && !m_files.at(i).isEmpty(); ++i)
        m_menu->addAction(updatedAction(i));
    if (m_menu->isEmpty())
        m_menu->addAction(tr("No recent files"))->setEnabled(false);
}

QAction *RecentFileList::updatedAction(int slot)
{
    QAction *&action = m_actions.at(slot);
    if (action == nullptr) {
        action = new QAction(this);
        // The receiver gets a copy of the path: opening the file changes the list and this action.
        connect(action, &QAction::triggered, this, [this, action = action] {
            Q_EMIT fileSelected(action->data().toString());
        });
    }
    // In a menu a single ampersand would vanish and underline the letter after it.
    QString text = recentFileLabel(m_files, slot);
    text.replace(QLatin1Char('&'), QLatin1String("&&"));
    action->setText(text);
    action->setToolTip(m_files.at(slot));
    action->setData(m_files.at(slot));
    return action;
}
