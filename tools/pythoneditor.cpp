// SPDX-License-Identifier: MIT
#include "tools/pythoneditor.h"

#include "files/rescuefolder.h"
#include "files/textfile.h"
#include "python/cpython.h"
#include "tools/fixedfont.h"
#include "tools/pythonreplacedlg.h"
#include "ui_pythoneditor.h"

#include <QApplication>
#include <QFileInfo>
#include <QKeyEvent>
#include <QScrollBar>
#include <QSettings>
#include <QTextBlock>

static const QString fontScaleKey = QStringLiteral("editorFontScale");
static const QString darkModeKey = QStringLiteral("editorDarkMode");

PythonEditor::PythonEditor(QWidget *parent)
    : QWidget(parent)
    , m_replaceDialog(new PythonReplaceDlg(this))
    , m_ui(std::make_unique<Ui::PythonEditor>())
{
    m_ui->setupUi(this);
    m_ui->edit->setFont(fixedFont(9));
    m_basePointSize = m_ui->edit->font().pointSizeF();
    m_ui->ovr->setVisible(m_ui->edit->overwriteMode());
    readSettings();
    makeConnections();
}

PythonEditor::~PythonEditor()
{
    if (isModified())
        rescueText();
    // The document ends after this object's own part.
    m_ui->edit->document()->disconnect(this);
}

void PythonEditor::readSettings()
{
    const QSettings settings;
    m_ui->scale->setValue(settings.value(fontScaleKey, 100).toInt());
    applyFontScale(m_ui->scale->value());
    m_ui->dark->setChecked(settings.value(darkModeKey, 0).toInt() > 0);
    if (settings.contains(darkModeKey))
        applyDarkMode(m_ui->dark->isChecked());
    else
        followDesktop();
}

void PythonEditor::makeConnections()
{
    connect(
        m_ui->edit, &QPlainTextEdit::cursorPositionChanged, this, &PythonEditor::updateLineLabel);
    connect(m_ui->edit->document(),
            &QTextDocument::modificationChanged,
            this,
            &PythonEditor::filterModification);
    connect(m_ui->find, &QLineEdit::returnPressed, this, [this] {
        findText(m_ui->find->text(), false, true);
    });
    connect(m_ui->run, &QToolButton::clicked, this, &PythonEditor::runFile);
    connect(m_ui->save, &QToolButton::clicked, this, &PythonEditor::saveFile);
    connect(
        m_ui->scale, qOverload<int>(&QSpinBox::valueChanged), this, &PythonEditor::applyFontScale);
    connect(m_ui->dark, &QCheckBox::clicked, this, &PythonEditor::applyDarkMode);
    connect(qApp, &QGuiApplication::paletteChanged, this, &PythonEditor::followDesktop);
    connect(
        m_replaceDialog, &PythonReplaceDlg::nextClicked, this, &PythonEditor::findNextFromDialog);
    connect(m_replaceDialog,
            &PythonReplaceDlg::replaceOneClicked,
            this,
            &PythonEditor::replaceFromDialog);
    connect(m_replaceDialog,
            &PythonReplaceDlg::replaceAllClicked,
            this,
            &PythonEditor::replaceAllFromDialog);
}

bool PythonEditor::isModified() const
{
    return m_ui->edit->document()->isModified();
}

QSize PythonEditor::preferredSize() const
{
    const QFontMetrics metrics = fontMetrics();
    return {100 * metrics.horizontalAdvance(QLatin1Char('0')), 35 * metrics.lineSpacing()};
}

/// The text with line feeds. Not toPlainText(), which turns non-breaking blanks into others.
QString PythonEditor::text() const
{
    QString text = m_ui->edit->document()->toRawText();
    text.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    return text;
}

void PythonEditor::loadFile(const QString &path)
{
    // Scripts may change the current folder before the file is saved.
    const QFileInfo file(QFileInfo(path).absoluteFilePath());
    QByteArray bytes;
    if (file.filePath() == m_fileName || !readTextFile(file.filePath(), &bytes))
        return;
    // When the session has unsaved changes as well, nobody was asked about these.
    if (isModified())
        rescueText();
    m_ui->edit->clear();
    m_ui->line->setText(tr("Line 0"));
    m_ui->edit->setPlainText(m_source.decode(bytes));
    m_fileName = file.filePath();
    const bool keepsItsBytes = m_source.encode(text()) == bytes;
    m_ui->edit->setReadOnly(!keepsItsBytes);
    m_ui->file->setText(keepsItsBytes
                            ? file.fileName()
                            : tr("%1 (read-only: saving would change it)").arg(file.fileName()));
    m_ui->file->setToolTip(m_fileName);
}

/// Keeps the text that the file does not have.
void PythonEditor::rescueText() const
{
    if (!m_fileName.isEmpty() && !m_ui->edit->isReadOnly())
        RescueFolder().keep(QFileInfo(m_fileName).fileName(), m_source.encode(text()));
}

/// False when the loaded file could not be written.
bool PythonEditor::saveFile()
{
    if (m_fileName.isEmpty() || m_ui->edit->isReadOnly())
        return true;
    if (!writeTextFile(m_fileName, m_source.encode(text()))) {
        rescueText();
        return false;
    }
    m_ui->edit->document()->setModified(false);
    return true;
}

void PythonEditor::runFile()
{
    if (!isModified() || saveFile())
        m_ui->edit->document()->setModified(false);
    else
        CPython::printErrorLine(tr("%1 could not be saved. What runs is the file as it was.")
                                    .arg(QFileInfo(m_fileName).fileName())
                                    .toStdString());
    Q_EMIT runClicked();
}

void PythonEditor::filterModification(bool m)
{
    if (m == m_lastModified)
        return;
    Q_EMIT modificationChanged(m);
    m_lastModified = m;
}

void PythonEditor::updateLineLabel()
{
    const int line = m_ui->edit->textCursor().blockNumber();
    if (line == m_lastLine)
        return;
    m_ui->line->setText(tr("Line %1").arg(line + 1));
    m_lastLine = line;
}

void PythonEditor::applyFontScale(int percent)
{
    const double size = percent * m_basePointSize / 100;
    QFont font = m_ui->edit->font();
    if (size == font.pointSizeF())
        return;
    font.setPointSizeF(size);
    m_ui->edit->setFont(font);
    QSettings().setValue(fontScaleKey, percent);
}

void PythonEditor::applyDarkMode(bool on)
{
    m_ui->edit->setDarkMode(on);
    // Writing takes as long as all the rest of the editor's start.
    QSettings settings;
    if (settings.value(darkModeKey) != QVariant(on ? 1 : 0))
        settings.setValue(darkModeKey, on ? 1 : 0);
}

/// While the user has chosen no palette, takes the one that fits the desktop's: the colours of the
/// other could not be read on its ground.
void PythonEditor::followDesktop()
{
    if (QSettings().contains(darkModeKey))
        return;
    const QPalette desktop = QApplication::palette();
    const bool isDark =
        desktop.color(QPalette::Base).lightness() < desktop.color(QPalette::Text).lightness();
    m_ui->dark->setChecked(isDark);
    m_ui->edit->setDarkMode(isDark);
}

void PythonEditor::keyPressEvent(QKeyEvent *event)
{
    if (handleKey(event->key(), event->modifiers()))
        event->accept();
    else
        QWidget::keyPressEvent(event);
}

/// The keys that the text area and the find field leave unhandled.
bool PythonEditor::handleKey(int key, Qt::KeyboardModifiers modifiers)
{
    const bool plain = modifiers == Qt::NoModifier;
    const bool control = modifiers == Qt::ControlModifier;
    if (key == Qt::Key_F3 && (plain || modifiers == Qt::ShiftModifier))
        findText(m_ui->find->text(), !plain, true);
    else if (key == Qt::Key_F3 && control && takeSearchText())
        findText(m_ui->find->text(), false, true);
    else if (key == Qt::Key_F5 && plain)
        runFile();
    else if (key == Qt::Key_F12 && plain)
        cutToEndOfLine();
    else if ((key == Qt::Key_Save && plain) || (key == Qt::Key_S && control))
        saveFile();
    else if (key == Qt::Key_Insert && plain)
        toggleOverwriteMode();
    else if (key == Qt::Key_F && control) {
        std::ignore = takeSearchText();
        m_ui->find->setFocus(Qt::ShortcutFocusReason);
    } else if (key == Qt::Key_H && control)
        showReplaceDialog();
    else if (key == Qt::Key_Escape && plain && m_ui->find->hasFocus())
        m_ui->edit->setFocus(Qt::ShortcutFocusReason);
    else
        return false;
    return true;
}

/// Selects the next match from the cursor on, and with \a wrap from the other end of the text. False
/// when there is none; the cursor then keeps its place.
bool PythonEditor::findText(const QString &text, bool backward, bool wrap)
{
    QTextDocument::FindFlags flags;
    flags.setFlag(QTextDocument::FindBackward, backward);
    if (!m_ui->edit->find(text, flags)) {
        if (!wrap)
            return false;
        QTextCursor cursor = m_ui->edit->textCursor();
        const int position = cursor.position();
        QScrollBar *const bar = m_ui->edit->verticalScrollBar();
        const int firstLine = bar->value();
        cursor.movePosition(backward ? QTextCursor::End : QTextCursor::Start);
        m_ui->edit->setTextCursor(cursor);
        if (!m_ui->edit->find(text, flags)) {
            cursor.setPosition(position);
            m_ui->edit->setTextCursor(cursor);
            bar->setValue(firstLine);
            return false;
        }
    }
    m_ui->edit->keepCursorMargin(backward);
    return true;
}

/// Puts the text under the cursor into the find field. False when there is none.
bool PythonEditor::takeSearchText()
{
    const QString text = m_ui->edit->searchTextUnderCursor();
    if (!text.isEmpty())
        m_ui->find->setText(text);
    return !text.isEmpty();
}

void PythonEditor::cutToEndOfLine()
{
    QTextCursor cursor = m_ui->edit->textCursor();
    if (cursor.atBlockEnd() || m_ui->edit->isReadOnly())
        return;
    cursor.clearSelection();
    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    m_ui->edit->setTextCursor(cursor);
    m_ui->edit->cut();
}

void PythonEditor::toggleOverwriteMode()
{
    m_ui->edit->setOverwriteMode(!m_ui->edit->overwriteMode());
    m_ui->ovr->setVisible(m_ui->edit->overwriteMode());
}

void PythonEditor::showReplaceDialog()
{
    std::ignore = takeSearchText();
    if (!m_ui->find->text().isEmpty())
        m_replaceDialog->setFindText(m_ui->find->text());
    m_replaceDialog->show();
    m_replaceDialog->activateWindow();
}

void PythonEditor::findNextFromDialog()
{
    const QString text = m_replaceDialog->findText();
    if (text.isEmpty())
        return;
    const QTextDocument *const document = m_ui->edit->document();
    QTextCursor match =
        document->find(text, m_ui->edit->textCursor(), m_replaceDialog->findFlags());
    if (match.isNull() && m_replaceDialog->wrapsAround())
        match = document->find(text, 0, m_replaceDialog->findFlags());
    if (!match.isNull()) {
        m_ui->edit->setTextCursor(match);
        m_ui->edit->keepCursorMargin(false);
    }
    m_ui->find->setText(text);
}

void PythonEditor::replaceFromDialog()
{
    const QString text = m_replaceDialog->findText();
    if (text.isEmpty() || m_ui->edit->isReadOnly())
        return;
    const bool matchCase =
        m_replaceDialog->findFlags().testFlag(QTextDocument::FindCaseSensitively);
    QTextCursor cursor = m_ui->edit->textCursor();
    if (cursor.selectedText().compare(text, matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive)
        == 0) {
        cursor.insertText(m_replaceDialog->replaceText());
        m_ui->edit->setTextCursor(cursor);
    }
    findNextFromDialog();
}

void PythonEditor::replaceAllFromDialog()
{
    const QString text = m_replaceDialog->findText();
    if (text.isEmpty() || m_ui->edit->isReadOnly())
        return;
    const QTextDocument *const document = m_ui->edit->document();
    const QTextDocument::FindFlags flags = m_replaceDialog->findFlags();
    QTextCursor cursor = m_ui->edit->textCursor();
    const int line = cursor.blockNumber();
    const int column = cursor.positionInBlock();
    // Moves with the text before it, and not with what is put in its own place.
    QTextCursor place(cursor);
    place.clearSelection();
    place.setKeepPositionOnInsert(true);

    cursor.beginEditBlock();
    // With a selection the toolkit would begin behind it, wherever the cursor stands.
    QTextCursor match = document->find(text, cursor.position(), flags);
    for (; !match.isNull(); match = document->find(text, match, flags))
        match.insertText(m_replaceDialog->replaceText());
    match = document->find(text, 0, flags);
    for (; !match.isNull() && match.selectionEnd() <= place.position();
         match = document->find(text, match, flags))
        match.insertText(m_replaceDialog->replaceText());
    cursor.endEditBlock();

    const QTextBlock block = document->findBlockByNumber(line);
    cursor.setPosition(block.position() + qMin(column, block.length() - 1));
    m_ui->edit->setTextCursor(cursor);
}
