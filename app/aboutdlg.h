// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class AboutDlg;
}

/// The program's version and build date.
class AboutDlg : public QDialog
{
    Q_OBJECT

public:
    explicit AboutDlg(QWidget *parent = nullptr);
    ~AboutDlg() override;

private:
    const std::unique_ptr<Ui::AboutDlg> m_ui;
};
