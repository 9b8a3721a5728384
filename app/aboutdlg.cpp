// SPDX-License-Identifier: MIT
#include "app/aboutdlg.h"

#include "ui_aboutdlg.h"

#include <QCoreApplication>

AboutDlg::AboutDlg(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::AboutDlg>())
{
    m_ui->setupUi(this);
    m_ui->build->setText(
        tr("Version :  %1\n\nBuild Date : %2")
            .arg(QCoreApplication::applicationVersion(), QString::fromLatin1(__DATE__)));
    connect(m_ui->buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
}

AboutDlg::~AboutDlg() = default;
