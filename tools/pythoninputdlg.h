// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class PythonInputDlg;
}

/// Asks for the line of input that a running script waits for.
class PythonInputDlg : public QDialog
{
    Q_OBJECT

public:
    /// An empty \a title leaves a general one.
    explicit PythonInputDlg(const QString &title, QWidget *parent = nullptr);
    ~PythonInputDlg() override;

    [[nodiscard]] QString text() const;

private:
    const std::unique_ptr<Ui::PythonInputDlg> m_ui;
};
