// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

#include <memory>

class PaneText;
namespace Ui {
class ErrorsPane;
}

/// The errors of a generation result, or the text of a Python error.
class ErrorsPane : public QWidget
{
    Q_OBJECT

public:
    explicit ErrorsPane(QWidget *parent = nullptr);
    ~ErrorsPane() override;

    /// Replaces the whole text with one line per element.
    void setLines(const QStringList &lines);
    void clear();

private:
    const std::unique_ptr<Ui::ErrorsPane> m_ui;
    std::unique_ptr<PaneText> m_text;
};
