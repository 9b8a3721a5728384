// SPDX-License-Identifier: MIT
#include "support/table.h"
#include "support/testmain.h"
#include "tools/pythoneditor.h"
#include "tools/pythontextedit.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStyle>
#include <QToolButton>

class tst_PythonEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void keys_data() { loadTable("tools/keys"); }
    void keys();
    void find_data() { loadTable("tools/find"); }
    void find();
    void replace_data() { loadTable("tools/replace"); }
    void replace();
    void searchFields();
    void copyLine();
    void cursorMargin();
    void form();
    void sources_data() { loadTable("tools/sources"); }
    void sources();
    void loadAndSave();
    void run();
    void settings();
    void readOnlyKeys();

private:
    template <typename Widget> Widget *child(const char *name) const
    {
        return m_editor->findChild<Widget *>(name);
    }
    void setText(const QString &marked);
    QString text() const;
    void press(const QString &keys);
    QString write(const QString &name, const QByteArray &bytes)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write");
        return file.fileName();
    }
    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
    }

    QTemporaryDir m_folder;
    std::unique_ptr<PythonEditor> m_editor;
    PythonTextEdit *m_edit = nullptr;
};

void tst_PythonEditor::init()
{
    QSettings().clear();
    m_editor = std::make_unique<PythonEditor>();
    m_edit = child<PythonTextEdit>("edit");
    m_editor->resize(500, 400);
    m_editor->show();
    m_editor->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_editor.get()));
    m_edit->setFocus();
}

void tst_PythonEditor::setText(const QString &marked)
{
    const QString plain = QString(marked).remove('^').remove('~');
    m_edit->setPlainText(plain);
    const int cursor = QString(marked).remove('~').indexOf('^');
    const int anchor = marked.contains('~') ? QString(marked).remove('^').indexOf('~') : cursor;
    QTextCursor textCursor = m_edit->textCursor();
    textCursor.setPosition(anchor);
    textCursor.setPosition(cursor, QTextCursor::KeepAnchor);
    m_edit->setTextCursor(textCursor);
}

QString tst_PythonEditor::text() const
{
    QString text = m_edit->toPlainText();
    const QTextCursor cursor = m_edit->textCursor();
    const int position = cursor.position();
    const int anchor = cursor.anchor();
    if (anchor > position)
        text.insert(anchor, '~');
    text.insert(position, '^');
    if (anchor < position)
        text.insert(anchor, '~');
    return text;
}

/// Types keys such as "Ctrl+F3 x" into whatever has the focus.
void tst_PythonEditor::press(const QString &keys)
{
    const QMap<QString, Qt::KeyboardModifier> modifierNames{{"Ctrl", Qt::ControlModifier},
                                                            {"Shift", Qt::ShiftModifier},
                                                            {"Keypad", Qt::KeypadModifier}};
    for (const QString &key : keys.split(' ', Qt::SkipEmptyParts)) {
        QStringList parts = key.split('+');
        const QKeySequence sequence(parts.takeLast());
        Qt::KeyboardModifiers modifiers;
        for (const QString &part : qAsConst(parts))
            modifiers |= modifierNames.value(part);
        QWidget *const target = m_editor->focusWidget();
        if (key.size() == 1)
            QTest::keyClicks(target, key);
        else
            QTest::keyClick(target, Qt::Key(sequence[0]), modifiers);
    }
}

void tst_PythonEditor::keys()
{
    QFETCH(QString, text);
    QFETCH(QString, keys);
    setText(text);
    press(keys);
    QTEST(this->text(), "expected");
    QVERIFY(!m_edit->toPlainText().contains('\t') || text.contains('\t'));
}

void tst_PythonEditor::find()
{
    QFETCH(QString, text);
    QFETCH(QString, search);
    QFETCH(QString, keys);
    setText(text);
    child<QLineEdit>("find")->setText(search);
    press(keys);
    QTEST(this->text(), "expected");
}

void tst_PythonEditor::replace()
{
    QFETCH(QString, text);
    QFETCH(QString, find);
    QFETCH(QString, replace);
    QFETCH(QString, options);
    QFETCH(QString, button);
    setText(text);
    auto *const dialog = child<QDialog>("PythonReplaceDlg");
    dialog->findChild<QLineEdit *>("find")->setText(find);
    dialog->findChild<QLineEdit *>("replace")->setText(replace);
    dialog->findChild<QCheckBox *>("caseSensitive")->setChecked(options.contains('c'));
    dialog->findChild<QCheckBox *>("wholeWords")->setChecked(options.contains('w'));
    dialog->findChild<QCheckBox *>("wrap")->setChecked(!options.contains('n'));
    const QString before = m_edit->toPlainText();
    dialog->findChild<QPushButton *>(button)->click();
    QTEST(this->text(), "expected");
    if (button == "replaceAll") {
        m_edit->undo();
        QCOMPARE(m_edit->toPlainText(), before);
    } else {
        QCOMPARE(child<QLineEdit>("find")->text(), find);
    }
}

/// What Ctrl+F, Ctrl+H and Escape do to the fields and the focus.
void tst_PythonEditor::searchFields()
{
    auto *const field = child<QLineEdit>("find");
    auto *const dialog = child<QDialog>("PythonReplaceDlg");
    setText("na^me");
    press("Ctrl+F");
    QCOMPARE(field->text(), QString("name"));
    QVERIFY(field->hasFocus());
    QCOMPARE(field->selectedText(), QString("name"));
    press("Escape");
    QVERIFY(m_edit->hasFocus());
    setText("~a\nb^");
    QVERIFY(!dialog->isVisible());
    press("Ctrl+H");
    QVERIFY(dialog->isVisible());
    QVERIFY(!dialog->isModal());
    QCOMPARE(field->text(), QString("name"));
    QCOMPARE(dialog->findChild<QLineEdit *>("find")->text(), QString("name"));
    dialog->findChild<QPushButton *>("cancel")->click();
    QVERIFY(!dialog->isVisible());
}

void tst_PythonEditor::copyLine()
{
    setText("x\nab^c\n");
    press("Ctrl+C");
    QCOMPARE(QApplication::clipboard()->text(), QString("abc\n"));
    QCOMPARE(text(), QString("x\nab^c\n"));
    setText("a~b^c");
    press("Ctrl+C");
    QCOMPARE(QApplication::clipboard()->text(), QString("b"));
}

void tst_PythonEditor::cursorMargin()
{
    m_edit->setPlainText(QString("x\n").repeated(1000));
    QScrollBar *const bar = m_edit->verticalScrollBar();
    const auto line = [this] { return m_edit->textCursor().blockNumber(); };
    for (int i = 0; i < 998; ++i) {
        press("Down");
        if (bar->value() < bar->maximum())
            QVERIFY(bar->value() + bar->pageStep() - line() >= 4);
    }
    QCOMPARE(bar->value(), bar->maximum());
    for (int i = 0; i < 998; ++i) {
        press("Up");
        if (bar->value() > 0)
            QVERIFY(line() - bar->value() >= 4);
    }
    QCOMPARE(bar->value(), 0);
}

void tst_PythonEditor::form()
{
    const auto describe = [this](const char *name) {
        const auto *const widget = child<QWidget>(name);
        return QStringList{widget->property("text").toString(), widget->toolTip()}.join('|');
    };
    QCOMPARE(describe("save"), QString("Save|Ctrl-S"));
    QCOMPARE(describe("run"), QString("Run|F5 does Save + Run"));
    QCOMPARE(describe("find"), QString("|Enter search text and press Enter"));
    QCOMPARE(describe("scale"), QString("100 %|Font scaling"));
    QCOMPARE(describe("dark"), QString("|Dark palette"));
    QCOMPARE(describe("line"), QString("Line 0|Cursor line number"));
    QCOMPARE(describe("file"), QString("file.py|"));
    QCOMPARE(child<QLineEdit>("find")->placeholderText(), QString("Search"));
    QCOMPARE(m_edit->font().pointSizeF(), 9.0);
    QVERIFY(QFontInfo(m_edit->font()).fixedPitch());
    QCOMPARE(m_edit->lineWrapMode(), QPlainTextEdit::NoWrap);
    const QFontMetrics metrics = m_editor->fontMetrics();
    QCOMPARE(m_editor->preferredSize(),
             QSize(100 * metrics.horizontalAdvance('0'), 35 * metrics.lineSpacing()));
    QVERIFY(!child<QLabel>("ovr")->isVisible());
    press("Insert");
    QVERIFY(child<QLabel>("ovr")->isVisible());
    press("Insert");
    QVERIFY(!child<QLabel>("ovr")->isVisible());
    setText("a\nb^c");
    QCOMPARE(child<QLabel>("line")->text(), QString("Line 2"));
}

void tst_PythonEditor::sources()
{
    QFETCH(QString, file);
    QFETCH(QString, editable);
    const QByteArray bytes = file.toUtf8().replace("<xff>", "\xff");
    const QString path = write("source.py", bytes);
    m_editor->loadFile(path);
    QTEST(m_edit->toPlainText(), "shown");
    QCOMPARE(m_edit->isReadOnly(), editable == "no");
    QVERIFY(!m_editor->isModified());
    QCOMPARE(child<QLabel>("file")->text().startsWith("source.py (read-only"), editable == "no");
    m_edit->moveCursor(QTextCursor::Start);
    press("x Ctrl+S");
    QByteArray expected = bytes;
    if (editable == "yes")
        expected.insert(file.startsWith(QChar(0xfeff)) ? 3 : 0, "x");
    QCOMPARE(read(path), expected);
}

void tst_PythonEditor::loadAndSave()
{
    const QString a = write("a.py", "one\ntwo\n");
    const QString b = write("b.py", "three\n");
    press("Ctrl+S");
    m_editor->loadFile(m_folder.filePath("missing.py"));
    QCOMPARE(child<QLabel>("file")->text(), QString("file.py"));
    m_editor->loadFile(a);
    QCOMPARE(child<QLabel>("file")->text(), QString("a.py"));
    QCOMPARE(child<QLabel>("file")->toolTip(), a);
    QCOMPARE(child<QLabel>("line")->text(), QString("Line 0"));

    QSignalSpy changes(m_editor.get(), &PythonEditor::modificationChanged);
    press("x");
    m_editor->loadFile(a);
    m_editor->loadFile(m_folder.path());
    QCOMPARE(m_edit->toPlainText(), QString("xone\ntwo\n"));
    child<QToolButton>("save")->click();
    QCOMPARE(read(a), QByteArray("xone\ntwo\n"));
    QCOMPARE(changes, (QList<QVariantList>{{true}, {false}}));

    // A save that fails leaves the file, and the text modified.
    press("y");
    QVERIFY(QFile::setPermissions(a, QFile::ReadOwner));
    press("Ctrl+S");
    QVERIFY(m_editor->isModified());
    QCOMPARE(read(a), QByteArray("xone\ntwo\n"));
    m_editor->loadFile(b);
    // Scripts may change the folder that a path was relative to.
    const QString previous = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_folder.path()) && QDir().mkpath("sub"));
    write("c.py", "four\n");
    m_editor->loadFile("c.py");
    QVERIFY(QDir::setCurrent("sub"));
    press("z Ctrl+S");
    QCOMPARE(read(m_folder.filePath("c.py")), QByteArray("zfour\n"));
    QVERIFY(!QFile::exists("c.py"));
    QVERIFY(QDir::setCurrent(previous));
    m_editor->loadFile(b);
    QCOMPARE(m_edit->toPlainText(), QString("three\n"));
    QCOMPARE(child<QLabel>("line")->text(), QString("Line 0"));
    QVERIFY(!m_editor->isModified());
    QVERIFY(!m_edit->document()->isUndoAvailable());
}

void tst_PythonEditor::run()
{
    QSignalSpy runs(m_editor.get(), &PythonEditor::runClicked);
    press("x F5");
    QVERIFY(!m_editor->isModified());
    const QString path = write("run.py", "one\n");
    m_editor->loadFile(path);
    press("x F5");
    QCOMPARE(read(path), QByteArray("xone\n"));
    QVERIFY(QFile::remove(path));
    press("F5");
    QVERIFY(!QFile::exists(path));
    press("Ctrl+F5");
    child<QToolButton>("run")->click();
    QCOMPARE(runs.size(), 4);
}

void tst_PythonEditor::settings()
{
    QVERIFY(!QSettings().contains("editorFontScale"));
    child<QSpinBox>("scale")->setValue(150);
    QCOMPARE(m_edit->font().pointSizeF(), 13.5);
    QCOMPARE(QSettings().value("editorFontScale").toInt(), 150);
    QCOMPARE(m_edit->styleSheet(), QString());
    child<QCheckBox>("dark")->click();
    QCOMPARE(QSettings().value("editorDarkMode").toInt(), 1);
    const QString extent =
        QString::number(QApplication::style()->pixelMetric(QStyle::PM_ScrollBarExtent)) + "px;";
    const QString sheet = m_edit->styleSheet().simplified();
    QVERIFY(sheet.startsWith("QAbstractScrollArea { color: #c0c0c0; background-color: #1e1e1e; "
                             "selection-color: #c0c0c0; selection-background-color: royalblue; } "
                             "QAbstractScrollArea::corner { background-color: dimgray; } "
                             "QScrollBar:horizontal { border: 2px solid dimgrey; "
                             "background-color: solid dimgray; height: "
                             + extent));
    QCOMPARE(sheet.count('{'), 14);
    QVERIFY(sheet.contains("width: " + extent));

    const PythonEditor next;
    const auto *const edit = next.findChild<PythonTextEdit *>("edit");
    QCOMPARE(next.findChild<QSpinBox *>("scale")->value(), 150);
    QCOMPARE(edit->font().pointSizeF(), 13.5);
    QVERIFY(next.findChild<QCheckBox *>("dark")->isChecked());
    QCOMPARE(edit->styleSheet().simplified(), sheet);
    child<QCheckBox>("dark")->click();
    QCOMPARE(m_edit->styleSheet(), QString());
}

void tst_PythonEditor::readOnlyKeys()
{
    m_editor->loadFile(write("binary.py", "ab\xff\n"));
    setText("~ab^c\nd");
    press("Tab Backtab Return Ctrl+U F12 x");
    QCOMPARE(m_edit->toPlainText(), QString("abc\nd"));
}

int main(int argc, char *argv[])
{
    QCoreApplication::setOrganizationName("kelvra");
    QCoreApplication::setApplicationName("tst_pythoneditor");
    const auto application = makeTestApplication(argc, argv);
    tst_PythonEditor test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_pythoneditor.moc"
