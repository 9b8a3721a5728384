// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <QObject>
#include <QPointer>
#include <QString>

#include <array>

class QAction;
class QWidget;

/// The most recent first; free slots are empty and come last.
using RecentFiles = std::array<QString, 12>;

/// The text that names a slot among the others: the shortest tail of its path, in whole path
/// components, that no other slot ends with. Tails of more than one component start with "...".
/// Empty for a free slot.
[[nodiscard]] QString recentFileLabel(const RecentFiles &files, int slot);

/// The most recently used files, kept in the settings store and shown as a menu.
class RecentFileList final : public QObject
{
    Q_OBJECT

public:
    /// \a settingsKey names the list in the settings store. \a parent also becomes the menu's.
    RecentFileList(QWidget *parent, QString settingsKey);

    /// The menu with up-to-date entries; an empty \a title leaves its title as it is.
    [[nodiscard]] QMenu *menu(const QString &title);

    /// Puts a file first, and stores the list unless it was first already.
    void addFile(const QString &fileName);

Q_SIGNALS:
    void fileSelected(const QString &fileName);

private:
    void refreshMenu();
    [[nodiscard]] QAction *updatedAction(int slot);

    QWidget *const m_parentWidget;
    const QString m_key;
    RecentFiles m_files;
    std::array<QAction *, std::tuple_size_v<RecentFiles>> m_actions = {};
    QPointer<QMenu> m_menu; // belongs to the parent widget, which may delete it first
};
