// SPDX-License-Identifier: MIT
#include "session/functionspane.h"

#include "session/functionstext.h"
#include "session/panetext.h"
#include "ui_functionspane.h"

#include <QFontDatabase>
#include <QTextDocument>
#include <QVector>

#include <algorithm>
#include <optional>
#include <tuple>

namespace {

/// The end of a line, to be replaced by another.
struct LineChange
{
    int start;
    int end;
    QString text;
};

} // namespace

/// What makes \a text of the shown one, in which lines end in a paragraph separator. Nothing when
/// more than \a most lines differ, or their number does.
static std::optional<QVector<LineChange>> lineChanges(QString shown, const QString &text, int most)
{
    shown.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    QVector<LineChange> changes;
    auto [shownAt, textAt] =
        std::mismatch(shown.cbegin(), shown.cend(), text.cbegin(), text.cend());
    while (shownAt != shown.cend() || textAt != text.cend()) {
        const auto shownEnd = std::find(shownAt, shown.cend(), QLatin1Char('\n'));
        const auto textEnd = std::find(textAt, text.cend(), QLatin1Char('\n'));
        const QString lineEnd(textAt, static_cast<int>(textEnd - textAt));
        // A carriage return before the line feed would not be a line end of its own.
        if (changes.size() == most || lineEnd.endsWith(QLatin1Char('\r'))
            || (shownEnd == shown.cend()) != (textEnd == text.cend())) {
            return std::nullopt;
        }
        changes.append({static_cast<int>(shownAt - shown.cbegin()),
                        static_cast<int>(shownEnd - shown.cbegin()),
                        lineEnd});
        std::tie(shownAt, textAt) = std::mismatch(shownEnd, shown.cend(), textEnd, text.cend());
    }
    return changes;
}

FunctionsPane::FunctionsPane(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::FunctionsPane>())
{
    m_ui->setupUi(this);
    m_text = std::make_unique<PaneText>(m_ui->functions);
    m_ui->functions->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
}

FunctionsPane::~FunctionsPane() = default;

void FunctionsPane::setFunctions(const QString &name, const QVariantList &functions)
{
    const QString text = functionsText(name, functions);
    m_text->rememberPlace();
    if (!m_text->isBrokenLike(text) || !updateLines(text)) {
        m_text->set(text);
        return;
    }
    // What clearing and inserting would have left behind.
    const QTextCursor cursor = m_ui->functions->textCursor();
    if (!cursor.atEnd() || cursor.hasSelection())
        m_ui->functions->moveCursor(QTextCursor::End);
    m_text->restorePlace();
}

void FunctionsPane::clear()
{
    m_text->clear();
}

/// Brings the shown text up to date line by line when few of its lines change, which is what most
/// changes of a parameter do: the text area takes far longer to set a text than to keep one. False,
/// with nothing changed, when the whole text had better be set.
bool FunctionsPane::updateLines(const QString &text)
{
    QTextDocument *const document = m_ui->functions->document();
    const auto changes = lineChanges(document->toRawText(), text, document->blockCount() / 50);
    if (!changes)
        return false;
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    // From the back, so that the positions of the others stay.
    for (auto change = changes->crbegin(); change != changes->crend(); ++change) {
        cursor.setPosition(change->start);
        cursor.setPosition(change->end, QTextCursor::KeepAnchor);
        cursor.insertText(change->text);
    }
    cursor.endEditBlock();
    return true;
}
