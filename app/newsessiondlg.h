// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class NewSessionDlg;
}

/// Lets the user pick a part number from the generators of a folder or file. Creates nothing: the
/// caller reads the choice afterwards.
class NewSessionDlg : public QDialog
{
    Q_OBJECT

public:
    /// \a location is the folder or generator file to begin with.
    explicit NewSessionDlg(const QString &location, QWidget *parent = nullptr);
    ~NewSessionDlg() override;

    /// The folder or file shown, as it was given or chosen.
    [[nodiscard]] QString location() const;
    /// The chosen part number; empty when none is current.
    [[nodiscard]] QString partNumber() const;
    /// The generator file of the chosen part number; empty when none is current.
    [[nodiscard]] QString moduleFile() const;

private:
    void setLocation(const QString &location);
    void browseForFolder();
    void browseForFile();

    const std::unique_ptr<Ui::NewSessionDlg> m_ui;
    /// Counts the locations set, so that a listing which a newer one has overtaken is dropped.
    int m_listings = 0;
};
