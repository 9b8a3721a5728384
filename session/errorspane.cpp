// SPDX-License-Identifier: MIT
#include "session/errorspane.h"

#include "ui_errorspane.h"

ErrorsPane::ErrorsPane(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ErrorsPane>())
{
    m_ui->setupUi(this);
}

ErrorsPane::~ErrorsPane() = default;

void ErrorsPane::setLines(const QStringList &lines)
{
    m_ui->errors->clear();
    m_ui->errors->moveCursor(QTextCursor::End);
    m_ui->errors->insertPlainText(lines.join(QLatin1Char('\n')));
}

void ErrorsPane::clear()
{
    m_ui->errors->clear();
}
