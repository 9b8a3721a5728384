// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

#include <memory>

class PaneText;
namespace Ui {
class NotesPane;
}

/// The notes of a generation result.
class NotesPane : public QWidget
{
    Q_OBJECT

public:
    explicit NotesPane(QWidget *parent = nullptr);
    ~NotesPane() override;

    /// Replaces the whole text with one line per element.
    void setLines(const QStringList &lines);
    void clear();

private:
    const std::unique_ptr<Ui::NotesPane> m_ui;
    std::unique_ptr<PaneText> m_text;
};
