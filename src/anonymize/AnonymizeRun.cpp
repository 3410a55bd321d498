#include "anonymize/AnonymizeRun.h"

#include "anonymize/AnonymizeStatements.h"
#include "anonymize/NameMapping.h"
#include "controls/FlexGrid.h"
#include "db/ConnectionString.h"
#include "db/EventLoopYield.h"
#include "db/NameGuard.h"
#include "db/RecordReader.h"
#include "db/Recordset.h"
#include "db/ServerAccess.h"
#include "db/SideConnection.h"
#include "db/SqlLiteral.h"
#include "platform/MessageBoxService.h"

#include <QCheckBox>
#include <QDateTime>
#include <QLabel>
#include <QListWidget>
#include <algorithm>
#include <climits>

namespace qormin::anonymize {

namespace Statements = AnonymizeStatements;

namespace {

constexpr int rightSide = 1;
constexpr int tableColumn = 0;
// The fast run starts at grid column 2, so the first listed column (column 1) stays as it is.
constexpr int fastFirstColumn = 2;
constexpr int completeFirstColumn = 1;
// Original values kept per table for the closing check; enough to catch a column the run
// missed, small enough for one statement.
constexpr qsizetype maxSamples = 200;

bool isEmptyValue(const QVariant& value) {
    return !value.isValid() || value.isNull() || value.toString().isEmpty();
}

QString fitted(const QString& name, const db::ColumnInfo& column) {
    if (column.size <= 0 || name.size() <= column.size)
        return name;
    // A cut between the halves of a surrogate pair (an emoji) would write half a character.
    return name.left(name.at(column.size - 1).isHighSurrogate() ? column.size - 1 : column.size);
}

} // namespace

struct AnonymizeRun::TableTotals {
    qint64 rows = 0;
    qint64 replaced = 0;
    qint64 left = 0;
    qint64 failed = 0;
};

AnonymizeRun::AnonymizeRun(AnonymizeControls controls) : m_controls(std::move(controls)) {}

void AnonymizeRun::runFast(const AnonymizeLists& lists) {
    if (!confirmAndFill(lists))
        return;
    m_recordsNotReplaced = 0;
    m_random.seed(m_seed.value_or(static_cast<quint32>(QDateTime::currentMSecsSinceEpoch())));
    const QStringList firstNames = listEntries(m_controls.lstFirst);
    for (int row = 1; row < m_controls.GridA.Rows(); ++row) {
        if (m_controls.stopRequested())
            break;
        fastTable(row, firstNames);
    }
    finish();
}

void AnonymizeRun::runComplete(const AnonymizeLists& lists, const QString& secret) {
    const NameMapping check(secret, Statements::nameListEntries(lists.lastNames),
                            Statements::nameListEntries(lists.firstNames));
    if (!check.usable()) {
        m_controls.messageBoxes.MsgBox(
            QStringLiteral("Type a secret and keep both name lists filled for a complete anonymize."));
        return;
    }
    if (!confirmAndFill(lists))
        return;
    m_recordsNotReplaced = 0;
    const NameMapping mapping(secret, listEntries(m_controls.lstLast), listEntries(m_controls.lstFirst));
    QSet<QString> listNames;
    for (const QListWidget* list : {&m_controls.lstLast, &m_controls.lstFirst}) {
        for (const QString& name : listEntries(*list))
            listNames.insert(name.trimmed().toCaseFolded());
    }
    for (int row = 1; row < m_controls.GridA.Rows(); ++row) {
        if (m_controls.stopRequested())
            break;
        completeTable(row, mapping, listNames);
    }
    finish();
}

bool AnonymizeRun::confirmAndFill(const AnonymizeLists& lists) {
    db::ServerAccess& access = m_controls.access;
    const QString question =
        Statements::confirmText(db::withoutPassword(access.side(rightSide).connectionString()));
    if (m_controls.messageBoxes.MsgBox(question, platform::MessageBoxButtons::YesNo) !=
        platform::MessageBoxAnswer::Yes)
        return false;
    fillList(m_controls.lstLast, lists.lastNames);
    fillList(m_controls.lstFirst, lists.firstNames);
    fillGrid(lists.tables);
    return true;
}

void AnonymizeRun::fillList(QListWidget& list, const QString& text) {
    list.clear();
    list.addItems(Statements::nameListEntries(text));
}

// Row 0 stays empty; each line of the table list is one row, its words in consecutive cells.
void AnonymizeRun::fillGrid(const QString& tables) {
    const QStringList lines = Statements::tableListLines(tables);
    int columns = fastFirstColumn;
    for (const QString& line : lines)
        columns = std::max(columns, static_cast<int>(Statements::tableListWords(line).size()));
    controls::FlexGrid& grid = m_controls.GridA;
    grid.clear();
    grid.setCols(columns);
    grid.setRows(static_cast<int>(lines.size()) + 1);
    for (int row = 1; row <= lines.size(); ++row) {
        const QStringList words = Statements::tableListWords(lines[row - 1]);
        for (int column = 0; column < words.size(); ++column)
            grid.setTextMatrix(row, column, words[column]);
    }
}

QStringList AnonymizeRun::listEntries(const QListWidget& list) const {
    QStringList entries;
    entries.reserve(list.count());
    for (int index = 0; index < list.count(); ++index)
        entries.append(list.item(index)->text());
    return entries;
}

QStringList AnonymizeRun::rowColumns(int row, int firstColumn) const {
    QStringList columns;
    for (int column = firstColumn; column < m_controls.GridA.Cols(); ++column) {
        const QString name = m_controls.GridA.TextMatrix(row, column);
        if (!name.isEmpty())
            columns.append(name);
    }
    return columns;
}

bool AnonymizeRun::admitLine(const QString& table, const QStringList& columns) {
    db::ServerAccess& access = m_controls.access;
    if (!db::NameGuard::admit(access, db::NameGuard::Position::Unbracketed, {table}))
        return false;
    return std::all_of(columns.begin(), columns.end(), [&access](const QString& column) {
        return db::NameGuard::admit(access, db::NameGuard::Position::Bracketed, {column});
    });
}

bool AnonymizeRun::openTable(db::RecordReader& reader, const QString& table) {
    if (reader.open())
        return true;
    if (!m_controls.access.scriptOnly())
        m_controls.access.LogError(reader.error() + u' ' + table);
    return false;
}

void AnonymizeRun::showRecordCount(const QString& table) {
    QString result;
    if (!m_controls.access.OpenRecordset(rightSide, Statements::countQuery(table), QVariant(), result)) {
        m_controls.lblRecCount.setText(QStringLiteral("?"));
        return;
    }
    m_controls.lblRecCount.setText(m_controls.access.sharedRecordset().field(0).toString());
}

void AnonymizeRun::showRecordNumber(qint32 number) {
    m_controls.lblRecNo.setText(QString::number(number));
}

void AnonymizeRun::fastTable(int row, const QStringList& firstNames) {
    controls::FlexGrid& grid = m_controls.GridA;
    const QString table = grid.TextMatrix(row, tableColumn);
    if (table.isEmpty())
        return;
    m_controls.access.LogMessage(table);
    if (!admitLine(table, rowColumns(row, completeFirstColumn)))
        return;
    m_controls.access.EnsureConnected(rightSide);
    db::RecordReader reader(m_controls.access.side(rightSide), table, db::RecordReader::Mode::Updatable);
    if (!openTable(reader, table))
        return;
    const bool testRun = m_controls.chkTestRun.isChecked();
    showRecordCount(table);
    qint32 recordNumber = 0;
    TableTotals totals;
    while (reader.next()) {
        showRecordNumber(++recordNumber);
        QStringList names;
        std::vector<QVariant> values;
        for (int column = fastFirstColumn; column < grid.Cols(); ++column) {
            const QString field = grid.TextMatrix(row, column);
            if (field.isEmpty())
                continue;
            const int index = Statements::fastIndex(m_random.generateDouble());
            const int position = reader.columnIndex(field);
            if (position < 0 || isEmptyValue(reader.value(position)))
                continue;
            names.append(field);
            values.emplace_back(Statements::fastPick(firstNames, index));
        }
        // A test run sends nothing: the pending values are dropped as a cancelled update was.
        if (!testRun && !names.isEmpty() &&
            !reader.updateCurrentRow(names, values, nullptr, db::RecordReader::AfterChange::FetchNext))
            updateFieldByField(reader, table, names, values, totals);
        db::yieldToEventLoop();
        if (m_controls.stopRequested())
            break;
    }
}

void AnonymizeRun::completeTable(int row, const NameMapping& mapping, const QSet<QString>& listNames) {
    db::ServerAccess& access = m_controls.access;
    const QString table = m_controls.GridA.TextMatrix(row, tableColumn);
    if (table.isEmpty())
        return;
    access.LogMessage(table);
    const QStringList columns = rowColumns(row, completeFirstColumn);
    if (!admitLine(table, columns))
        return;
    access.EnsureConnected(rightSide);
    db::RecordReader reader(access.side(rightSide), table, db::RecordReader::Mode::Updatable);
    if (!openTable(reader, table))
        return;
    const bool testRun = m_controls.chkTestRun.isChecked();
    showRecordCount(table);
    TableTotals totals;
    QSet<QString> sampled;
    QStringList samples;
    QStringList missing;
    while (reader.next()) {
        showRecordNumber(static_cast<qint32>(++totals.rows));
        QStringList names;
        std::vector<QVariant> values;
        for (const QString& field : columns) {
            const int position = reader.columnIndex(field);
            if (position < 0) {
                if (!missing.contains(field))
                    missing.append(field);
                continue;
            }
            const QVariant value = reader.value(position);
            if (isEmptyValue(value)) {
                ++totals.left;
                continue;
            }
            const QString original = value.toString();
            const QString key = original.trimmed().toCaseFolded();
            // A name that is also on a list may rightly appear again as someone's replacement.
            if (samples.size() < maxSamples && !listNames.contains(key) && !sampled.contains(key)) {
                sampled.insert(key);
                samples.append(db::sqlLiteral(original, reader.columns()[static_cast<size_t>(position)]));
            }
            names.append(field);
            values.emplace_back(fitted(mapping.replacement(original, Statements::isSurnameColumn(field)),
                                       reader.columns()[static_cast<size_t>(position)]));
            ++totals.replaced;
        }
        if (!testRun && !names.isEmpty() &&
            !reader.updateCurrentRow(names, values, nullptr, db::RecordReader::AfterChange::FetchNext))
            updateFieldByField(reader, table, names, values, totals);
        db::yieldToEventLoop();
        if (m_controls.stopRequested())
            break;
    }
    reader.close();
    for (const QString& field : missing)
        access.LogError(QStringLiteral("Column ") + field + QStringLiteral(" not found in ") + table);
    access.LogMessage(
        Statements::reportLine(table, totals.rows, totals.replaced, totals.left, totals.failed));
    if (testRun) {
        access.LogMessage(table + QStringLiteral(": test run, nothing saved"));
        return;
    }
    checkRemaining(table, columns, samples);
}

// One refused field must not keep the record's other names: each goes alone.
void AnonymizeRun::updateFieldByField(db::RecordReader& reader, const QString& table,
                                      const QStringList& names, const std::vector<QVariant>& values,
                                      TableTotals& totals) {
    bool allReplaced = true;
    for (qsizetype index = 0; index < names.size(); ++index) {
        QString error;
        if (reader.updateCurrentRow({names[index]}, {values[static_cast<size_t>(index)]}, &error))
            continue;
        allReplaced = false;
        ++totals.failed;
        --totals.replaced;
        m_controls.access.LogError(error + QStringLiteral(" (") + table + QStringLiteral(", record ") +
                                   QString::number(reader.rowsRead()) + QStringLiteral(", ") + names[index] +
                                   u')');
    }
    if (!allReplaced)
        ++m_recordsNotReplaced;
}

void AnonymizeRun::checkRemaining(const QString& table, const QStringList& columns,
                                  const QStringList& samples) {
    db::ServerAccess& access = m_controls.access;
    if (access.scriptOnly() || samples.isEmpty() || columns.isEmpty())
        return;
    QString result;
    if (!access.OpenRecordset(rightSide, Statements::remainingQuery(table, columns, samples), QVariant(),
                              result)) {
        access.LogError(result);
        return;
    }
    const qint64 remaining = access.sharedRecordset().field(0).toLongLong();
    const QString line = Statements::checkLine(table, remaining, samples.size());
    access.LogMessage(line);
    if (remaining != 0)
        access.reportLoss(line, static_cast<int>(std::min<qint64>(remaining, INT_MAX)));
}

// A record left with a real name is a failed run, whatever else went well.
void AnonymizeRun::finish() {
    const QString line = Statements::notReplacedLine(m_recordsNotReplaced);
    if (m_recordsNotReplaced == 0)
        m_controls.access.LogMessage(line);
    else
        m_controls.access.reportLoss(line, static_cast<int>(std::min<qint64>(m_recordsNotReplaced, INT_MAX)));
    m_controls.messageBoxes.MsgBox(QStringLiteral("done."));
}

} // namespace qormin::anonymize
