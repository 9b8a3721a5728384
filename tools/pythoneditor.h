// SPDX-License-Identifier: MIT
#pragma once

#include "tools/pythonsource.h"

#include <QWidget>

#include <memory>

class PythonReplaceDlg;
namespace Ui {
class PythonEditor;
}

/// The code editor: one Python file at a time, saved where it was loaded from. Text that cannot be
/// saved there, or is dropped unsaved, goes to the rescue folder. The font scale (setting
/// "editorFontScale", percent) and the dark palette ("editorDarkMode", 0 or 1; the desktop's choice until
/// the user chooses) are remembered.
class PythonEditor : public QWidget
{
    Q_OBJECT

public:
    explicit PythonEditor(QWidget *parent = nullptr);
    ~PythonEditor() override;

    /// Shows a file. Nothing happens when it is the one shown already or cannot be read. A file that
    /// a save could not give back as it was (it is no UTF-8) is shown read-only.
    void loadFile(const QString &path);
    /// The text differs from what was loaded or saved last.
    [[nodiscard]] bool isModified() const;
    /// Room for 35 lines of 100 characters of this widget's font.
    [[nodiscard]] QSize preferredSize() const;

Q_SIGNALS:
    void modificationChanged(bool m);
    /// The user wants the file to run; it was saved just before, if it could be.
    void runClicked();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void readSettings();
    void makeConnections();
    [[nodiscard]] QString text() const;
    void rescueText() const;
    bool saveFile();
    void runFile();
    void filterModification(bool m);
    void updateLineLabel();
    void applyFontScale(int percent);
    void applyDarkMode(bool on);
    void followDesktop();

    [[nodiscard]] bool handleKey(int key, Qt::KeyboardModifiers modifiers);
    bool findText(const QString &text, bool backward, bool wrap);
    [[nodiscard]] bool takeSearchText();
    void cutToEndOfLine();
    void toggleOverwriteMode();
    void showReplaceDialog();

    void findNextFromDialog();
    void replaceFromDialog();
    void replaceAllFromDialog();

    PythonReplaceDlg *const m_replaceDialog;
    const std::unique_ptr<Ui::PythonEditor> m_ui;
    QString m_fileName;
    PythonSource m_source;
    bool m_lastModified = false;
    int m_lastLine = -1;
    double m_basePointSize = 9;
};
