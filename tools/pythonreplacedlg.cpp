// SPDX-License-Identifier: MIT
#include "tools/pythonreplacedlg.h"

#include "ui_pythonreplacedlg.h"

PythonReplaceDlg::PythonReplaceDlg(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::PythonReplaceDlg>())
{
    m_ui->setupUi(this);
    connect(m_ui->cancel, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_ui->next, &QPushButton::clicked, this, &PythonReplaceDlg::nextClicked);
    connect(m_ui->replaceOne, &QPushButton::clicked, this, &PythonReplaceDlg::replaceOneClicked);
    connect(m_ui->replaceAll, &QPushButton::clicked, this, &PythonReplaceDlg::replaceAllClicked);
}

PythonReplaceDlg::~PythonReplaceDlg() = default;

QString PythonReplaceDlg::findText() const
{
    return m_ui->find->text();
}

void PythonReplaceDlg::setFindText(const QString &text)
{
    m_ui->find->setText(text);
}

QString PythonReplaceDlg::replaceText() const
{
    return m_ui->replace->text();
}

QTextDocument::FindFlags PythonReplaceDlg::findFlags() const
{
    QTextDocument::FindFlags flags;
    flags.setFlag(QTextDocument::FindCaseSensitively, m_ui->caseSensitive->isChecked());
    flags.setFlag(QTextDocument::FindWholeWords, m_ui->wholeWords->isChecked());
    return flags;
}

bool PythonReplaceDlg::wrapsAround() const
{
    return m_ui->wrap->isChecked();
}
