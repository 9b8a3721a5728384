// SPDX-License-Identifier: MIT
#include "app/newsessiondlg.h"

#include "session/generator.h"
#include "ui_newsessiondlg.h"

#include <QFileDialog>
#include <QFileInfo>

NewSessionDlg::NewSessionDlg(const QString &location, QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::NewSessionDlg>())
{
    m_ui->setupUi(this);
    setLocation(location);
    connect(m_ui->parts, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    connect(m_ui->buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_ui->browseDir, &QPushButton::clicked, this, &NewSessionDlg::browseForFolder);
    connect(m_ui->browseFile, &QPushButton::clicked, this, &NewSessionDlg::browseForFile);
}

NewSessionDlg::~NewSessionDlg() = default;

QString NewSessionDlg::location() const
{
    return m_ui->location->text();
}

QString NewSessionDlg::partNumber() const
{
    const QListWidgetItem *const item = m_ui->parts->currentItem();
    return item ? item->text() : QString();
}

QString NewSessionDlg::moduleFile() const
{
    const QListWidgetItem *const item = m_ui->parts->currentItem();
    return item ? item->data(Qt::UserRole).toString() : QString();
}

void NewSessionDlg::setLocation(const QString &location)
{
    const int listing = ++m_listings;
    m_ui->location->setText(location);
    // At once: a generator that prints lets the user pick while the others are still being read.
    m_ui->parts->clear();
    const QMap<QString, QString> parts = generator::findPartNumbers(location);
    if (listing != m_listings)
        return;
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        auto *const item = new QListWidgetItem(part.key(), m_ui->parts);
        item->setData(Qt::UserRole, part.value());
    }
}

void NewSessionDlg::browseForFolder()
{
    QString start = location();
    if (!QFileInfo(start).isDir())
        start = QFileInfo(start).path();
    const QString folder =
        QFileDialog::getExistingDirectory(this,
                                          tr("Select a Folder with Sensor Settings Generator "
                                             "files"),
                                          start,
                                          QFileDialog::ShowDirsOnly);
    if (!folder.isEmpty())
        setLocation(folder);
}

void NewSessionDlg::browseForFile()
{
    const QString file =
        QFileDialog::getOpenFileName(this,
                                     tr("Select a Sensor Settings Generator file"),
                                     location(),
                                     tr("Sensor Settings Generator file (settings_*.py);;"
                                        "All Files (*.*)"));
    if (!file.isEmpty())
        setLocation(file);
}
