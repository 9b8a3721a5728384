// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>
#include <QTest>

#include <deque>

/// Test rows kept as text: adds the columns and rows of tests/data/<name>.txt to the running data
/// function. The first line names the columns, the first cell of a line the row; cells are QStrings,
/// parted by '|' and trimmed. <nl>, <cr>, <tab>, <nul>, <bar>, <sp>, <bom> and <ps> stand for those
/// characters. Lines that begin with # are comments.
inline void loadTable(const QString &name)
{
    QFile file(QStringLiteral(TEST_DATA_DIR "/%1.txt").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s cannot be read", qPrintable(file.fileName()));
    const auto cellsOf = [](const QString &line) {
        QStringList cells = line.split('|');
        for (QString &cell : cells) {
            cell = cell.trimmed();
            cell.replace("<nl>", "\n").replace("<cr>", "\r").replace("<tab>", "\t");
            cell.replace("<nul>", QString(QChar(0))).replace("<bar>", "|").replace("<sp>", " ");
            cell.replace("<bom>", QString(QChar(0xfeff)));
            cell.replace("<ps>", QString(QChar(0x2029)));
        }
        return cells;
    };
    QStringList columns;
    const QStringList lines = QString::fromUtf8(file.readAll()).split('\n');
    for (const QString &line : lines) {
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        const QStringList cells = cellsOf(line);
        if (columns.isEmpty()) {
            columns = cells;
            // The table keeps the pointers to the names.
            static std::deque<QByteArray> names;
            for (int i = 1; i < cells.size(); ++i)
                QTest::addColumn<QString>(names.emplace_back(cells.at(i).toUtf8()).constData());
            continue;
        }
        if (cells.size() != columns.size())
            qFatal("%s: cells missing in: %s", qPrintable(name), qPrintable(line));
        QTestData &row = QTest::newRow(qPrintable(cells.first()));
        for (int i = 1; i < cells.size(); ++i)
            row << cells.at(i);
    }
}

/// A cell that holds a list: its items, parted by ", ".
inline QStringList items(const QString &cell)
{
    return cell.split(", ", Qt::SkipEmptyParts);
}
