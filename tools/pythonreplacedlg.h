// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QTextDocument>

#include <memory>

namespace Ui {
class PythonReplaceDlg;
}

/// The fields and buttons of find and replace. The searching is the editor's.
class PythonReplaceDlg : public QDialog
{
    Q_OBJECT

public:
    explicit PythonReplaceDlg(QWidget *parent = nullptr);
    ~PythonReplaceDlg() override;

    [[nodiscard]] QString findText() const;
    void setFindText(const QString &text);
    [[nodiscard]] QString replaceText() const;
    [[nodiscard]] QTextDocument::FindFlags findFlags() const;
    /// Whether Find Next continues from the start at the end of the text.
    [[nodiscard]] bool wrapsAround() const;

Q_SIGNALS:
    void nextClicked();
    void replaceOneClicked();
    void replaceAllClicked();

private:
    const std::unique_ptr<Ui::PythonReplaceDlg> m_ui;
};
