// SPDX-License-Identifier: MIT
#include "session/errorspane.h"

#include "session/panetext.h"
#include "ui_errorspane.h"

ErrorsPane::ErrorsPane(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ErrorsPane>())
{
    m_ui->setupUi(this);
    m_text = std::make_unique<PaneText>(m_ui->errors);
}

ErrorsPane::~ErrorsPane() = default;

void ErrorsPane::setLines(const QStringList &lines)
{
    m_text->set(lines.join(QLatin1Char('\n')));
}

void ErrorsPane::clear()
{
    m_text->clear();
}
