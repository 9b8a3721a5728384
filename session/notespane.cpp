// SPDX-License-Identifier: MIT
#include "session/notespane.h"

#include "session/panetext.h"
#include "ui_notespane.h"

NotesPane::NotesPane(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::NotesPane>())
{
    m_ui->setupUi(this);
    m_text = std::make_unique<PaneText>(m_ui->notes);
}

NotesPane::~NotesPane() = default;

void NotesPane::setLines(const QStringList &lines)
{
    m_text->set(lines.join(QLatin1Char('\n')));
}

void NotesPane::clear()
{
    m_text->clear();
}
