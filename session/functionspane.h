// SPDX-License-Identifier: MIT
#pragma once

#include <QVariantList>
#include <QWidget>

#include <memory>

class PaneText;
namespace Ui {
class FunctionsPane;
}

/// The register-setting functions of a generation result as read-only text.
class FunctionsPane : public QWidget
{
    Q_OBJECT

public:
    explicit FunctionsPane(QWidget *parent = nullptr);
    ~FunctionsPane() override;

    /// Replaces the whole text; the cursor is at its end afterwards, and what was in sight still is.
    void setFunctions(const QString &name, const QVariantList &functions);
    void clear();

private:
    [[nodiscard]] bool updateLines(const QString &text);

    const std::unique_ptr<Ui::FunctionsPane> m_ui;
    std::unique_ptr<PaneText> m_text;
};
