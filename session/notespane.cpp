// SPDX-License-Identifier: MIT
#include "session/notespane.h"

#include "ui_notespane.h"

NotesPane::NotesPane(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::NotesPane>())
{
    m_ui->setupUi(this);
}

NotesPane::~NotesPane() = default;

void NotesPane::setLines(const QStringList &lines)
{
    m_ui->notes->clear();
    m_ui->notes->moveCursor(QTextCursor::End);
    m_ui->notes->insertPlainText(lines.join(QLatin1Char('\n')));
}

void NotesPane::clear()
{
    m_ui->notes->clear();
}
