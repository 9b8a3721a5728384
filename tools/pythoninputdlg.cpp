// SPDX-License-Identifier: MIT
#include "tools/pythoninputdlg.h"

#include "ui_pythoninputdlg.h"

PythonInputDlg::PythonInputDlg(const QString &title, QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::PythonInputDlg>())
{
    m_ui->setupUi(this);
    if (!title.isEmpty())
        setWindowTitle(title);
    connect(m_ui->ok, &QPushButton::clicked, this, &QDialog::accept);
}

PythonInputDlg::~PythonInputDlg() = default;

QString PythonInputDlg::text() const
{
    return m_ui->input->text();
}
