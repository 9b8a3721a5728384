// SPDX-License-Identifier: MIT
#include "files/rescuefolder.h"
#include "support/table.h"
#include "support/testmain.h"
#include "tools/pythoneditor.h"
#include "tools/pythontextedit.h"

#include <QAbstractButton>
#include <QClipboard>
#include <QDir>
#include <QScrollBar>
#include <QSettings>
#include <QStyle>

#include <functional>

class tst_PythonEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QCoreApplication::setOrganizationName("kelvra");
        QSettings().clear();
        QApplication::setPalette(m_palette);
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir::setCurrent(m_folder->path()) && QDir().mkpath("sub"));
        QDir(RescueFolder().path()).removeRecursively();
        open();
    }
    void edits_data() { loadTable("tools/edits"); }
    void edits()
    {
        QFETCH(QString, text);
        QFETCH(QString, steps);
        setText(text);
        perform(steps);
        QTEST(this->text(), "expected");
    }
    void steps_data() { loadTable("tools/editorsteps"); }
    void steps()
    {
        QFETCH(QString, steps);
        perform(steps);
    }
    void cursorMargin()
    {
        m_edit->setPlainText(QString("x\n").repeated(1000));
        const QScrollBar *const bar = m_edit->verticalScrollBar();
        for (const QString key : {"Down", "Up"}) {
            const int end = key == "Down" ? bar->maximum() : 0;
            for (int i = 0; i < 998; ++i) {
                press(key);
                const int above = m_edit->textCursor().blockNumber() - bar->value();
                const int margin = key == "Down" ? bar->pageStep() - above : above;
                QVERIFY(margin >= 4 || bar->value() == end);
            }
            QCOMPARE(bar->value(), end);
        }
    }

private:
    /// Opens an editor in the place of the one there is.
    void open()
    {
        m_editor = std::make_unique<PythonEditor>();
        m_edit = m_editor->findChild<PythonTextEdit *>("edit");
        m_events.clear();
        connect(m_editor.get(), &PythonEditor::modificationChanged, this, [this](bool m) {
            m_events.append(m ? "modified" : "unmodified");
        });
        connect(m_editor.get(), &PythonEditor::runClicked, this, [this] { m_events += "run"; });
        m_editor->show();
        m_editor->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_editor.get()));
        m_edit->setFocus();
    }
    /// Does the steps, parted by "; ". One such as "what = value" is a check.
    void perform(const QString &steps)
    {
        for (const QString &step : steps.split("; ")) {
            const QString what = step.section(" = ", 0, 0);
            const QString all = step.section(' ', 1);
            const QString name = step.section(' ', 1, 1);
            const QString rest = step.section(' ', 2);
            const QHash<QString, std::function<void()>> actions{
                {"cd", [&] { QVERIFY(QDir::setCurrent(name)); }},
                {"clip", [&] { QApplication::clipboard()->setText(all); }},
                {"click", [&] { m_editor->findChild<QAbstractButton *>(name)->click(); }},
                {"desktop", [&] { QApplication::setPalette(QColor(name)); }},
                {"fill", [&] { fill(all.split('/')); }},
                {"forget", [&] { m_events.clear(); }},
                {"load", [&] { m_editor->loadFile(name); }},
                {"lock", [&] { QVERIFY(QFile::setPermissions(name, QFile::ReadOwner)); }},
                {"open", [&] { open(); }},
                {"press", [&] { press(all); }},
                {"remove", [&] { QVERIFY(QFile::remove(name)); }},
                {"set", [&] { set(name, rest); }},
                {"text", [&] { setText(all); }},
                {"write", [&] { write(name, rest); }},
            };
            if (what == step)
                actions.value(step.section(' ', 0, 0))();
            else
                QCOMPARE(what + " = " + value(what), step);
        }
    }
    QString value(const QString &what)
    {
        const QString name = what.section(' ', 1);
        const QHash<QString, std::function<QString()>> values{
            {"clipboard", [&] { return QApplication::clipboard()->text(); }},
            {"events", [&] { return m_events.join(' '); }},
            {"modified", [&] { return QVariant(m_editor->isModified()).toString(); }},
            {"rescued", [] { return rescued(); }},
            {"saved", [&] { return read(name); }},
            {"setting", [&] { return QSettings().value(name).toString(); }},
            {"text", [&] { return text(); }},
        };
        const QString kind = what.section(' ', 0, 0);
        if (values.contains(kind))
            return values.value(kind)();
        const QVariant property = owner(what)->property(qPrintable(what.section('.', -1)));
        const QString text = property.isValid() ? property.toString() : "(none)";
        const QString extent =
            QString::number(QApplication::style()->pixelMetric(QStyle::PM_ScrollBarExtent));
        const QString dark = read(TEST_DATA_DIR "/tools/darkstylesheet.txt").arg(extent, extent);
        return QString(text).replace(m_folder->path(), "here").replace(dark, "<dark>");
    }
    /// The widget that has a property such as "PythonReplaceDlg.find.text".
    QObject *owner(const QString &path) const
    {
        QObject *object = m_editor.get();
        for (const QString &name : path.split('.').mid(0, path.count('.')))
            object = object->findChild<QObject *>(name);
        return object;
    }
    void set(const QString &path, const QVariant &value) const
    {
        QVERIFY(owner(path)->setProperty(qPrintable(path.section('.', -1)), value));
    }
    /// Fills in text, replacement and options: c matches case, w whole words, n does not wrap.
    void fill(const QStringList &cells) const
    {
        set("PythonReplaceDlg.find.text", cells.at(0));
        set("PythonReplaceDlg.replace.text", cells.at(1));
        set("PythonReplaceDlg.caseSensitive.checked", cells.at(2).contains('c'));
        set("PythonReplaceDlg.wholeWords.checked", cells.at(2).contains('w'));
        set("PythonReplaceDlg.wrap.checked", !cells.at(2).contains('n'));
    }
    /// Types keys such as "Ctrl+F3 x" into whatever has the focus.
    void press(const QString &keys) const
    {
        for (const QString &key : keys.split(' ')) {
            if (key.size() == 1)
                QTest::keyClicks(m_editor->focusWidget(), key);
            else
                QTest::keySequence(m_editor->focusWidget(), QKeySequence(key));
        }
    }
    /// Sets the text; ^ is the cursor and ~ the other end of the selection.
    void setText(QString marked) const
    {
        const int cursor = QString(marked).remove('~').indexOf('^');
        const int anchor = QString(marked).remove('^').indexOf('~');
        m_edit->setPlainText(marked.remove('^').remove('~'));
        QTextCursor textCursor = m_edit->textCursor();
        textCursor.setPosition(anchor < 0 ? cursor : anchor);
        textCursor.setPosition(cursor, QTextCursor::KeepAnchor);
        m_edit->setTextCursor(textCursor);
    }
    QString text() const
    {
        const QTextCursor cursor = m_edit->textCursor();
        QString text = m_edit->toPlainText().insert(cursor.position(), '^');
        if (cursor.hasSelection())
            text.insert(cursor.anchor() + (cursor.anchor() > cursor.position() ? 1 : 0), '~');
        return text;
    }
    static void write(const QString &name, const QString &text)
    {
        QFile file(name);
        const QByteArray bytes = text.toUtf8().replace("<xff>", "\xff");
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    static QString rescued()
    {
        QStringList texts;
        for (const QFileInfo &file : QDir(RescueFolder().path()).entryInfoList(QDir::Files))
            texts.append(file.fileName().section(' ', -1) + ": " + read(file.filePath()));
        return texts.join(", ");
    }
    static QString read(const QString &name)
    {
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly))
            return "(unreadable)";
        // At the very start a byte order mark would be left out.
        return QString::fromUtf8('x' + file.readAll().replace('\xff', "<xff>")).mid(1);
    }

    const QPalette m_palette = QApplication::palette();
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PythonEditor> m_editor;
    PythonTextEdit *m_edit = nullptr;
    QStringList m_events;
};

TARNWICK_TEST_MAIN(tst_PythonEditor)
#include "tst_pythoneditor.moc"
