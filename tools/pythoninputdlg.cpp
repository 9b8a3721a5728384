// SPDX-License-Identifier: MIT
#include "tools/pythoninputdlg.h"

#include "ui_pythoninputdlg.h"

PythonInputDlg::PythonInputDlg(const QString &title, QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::PythonInputDlg>())
{
    m_ui->setupUi(this);
    // A lone [*] would be the place of a mark for changes.
    if (!title.isEmpty())
        setWindowTitle(QString(title).replace(QLatin1String("[*]"), QLatin1String("[*][*]")));
    connect(m_ui->ok, &QPushButton::clicked, this, &QDialog::accept);
}

PythonInputDlg::~PythonInputDlg() = default;

QString PythonInputDlg::text() const
{
    return m_ui->input->text();
}
