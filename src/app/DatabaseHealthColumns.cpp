#include "app/DatabaseHealthColumns.h"

#include "app/DatabaseHealth.h"
#include "app/MainWindowStatements.h"
#include "app/pages/BackupAgeOptions.h"
#include "controls/FlexGrid.h"
#include "db/Recordset.h"
#include "db/ResultTableModel.h"
#include "db/ServerAccess.h"
#include "window/MainWindowContext.h"

#include <QColor>
#include <QDateTime>
#include <QHash>
#include <QLabel>
#include <iterator>
#include <optional>

namespace qormin::app {

namespace {

// The health query's columns, in its order.
enum Field { Name, State, Recovery, DataMb, LogMb, LastFull, FullAge, LastLog, LogAge, FieldCount };

const char* const headers[] = {"State",    "Recovery",        "Data MB", "Log MB",   "Last full backup",
                               "Full age", "Last log backup", "Log age", "Attention"};
constexpr int headerCount = static_cast<int>(std::size(headers));

const QColor overdueColor(0xf6, 0xc6, 0xc0);

std::optional<qint64> minutes(const QVariant& value) {
    if (!value.isValid() || value.isNull())
        return std::nullopt;
    return value.toLongLong();
}

QString backupTime(const QVariant& value) {
    const QDateTime moment = value.toDateTime();
    return moment.isValid() ? moment.toString(QStringLiteral("yyyy-MM-dd HH:mm")) : QStringLiteral("never");
}

// SIMPLE recovery takes no log backups: "never" there would read as a fault.
QString logBackupTime(const QVariant& value, const QString& recovery) {
    if (!value.isValid() && recovery.compare(QLatin1String("SIMPLE"), Qt::CaseInsensitive) == 0)
        return {};
    return backupTime(value);
}

QString age(const QVariant& value) {
    const std::optional<qint64> age = minutes(value);
    return age ? ageText(*age) : QString();
}

} // namespace

DatabaseHealthColumns::DatabaseHealthColumns(window::MainWindowContext& context) : m_context(context) {}

void DatabaseHealthColumns::show(int side) {
    db::ServerAccess& access = m_context.serverAccess();
    QString error;
    if (!access.openQuietly(side, MainWindowStatements::databaseHealth(), error)) {
        access.LogMessage(
            tr("No database health columns for the %1: %2").arg(access.sideServerName(side), error));
        return;
    }
    // Script only withholds nothing read-only, but a server that answers without a result
    // (the simulator's default) leaves the names alone.
    const auto table = access.sharedRecordset().table();
    if (table && table->columns.size() >= FieldCount)
        fill(side, *table);
}

void DatabaseHealthColumns::fill(int side, const db::ResultTable& health) {
    QHash<QString, const std::vector<QVariant>*> byName;
    for (const std::vector<QVariant>& row : health.rows)
        byName.insert(row.at(Name).toString().toLower(), &row);
    controls::FlexGrid* grid = m_context.GridDB(side);
    grid->setCols(1 + headerCount);
    for (int c = 0; c < headerCount; ++c)
        grid->setTextMatrix(0, 1 + c, tr(headers[c]));
    const BackupThresholds limits = BackupAgeOptions::stored(m_context.settings());
    int overdue = 0;
    for (int r = 1; r < grid->Rows(); ++r) {
        const std::vector<QVariant>* found = byName.value(grid->TextMatrix(r, 0).toLower());
        if (found == nullptr)
            continue;
        const std::vector<QVariant>& v = *found;
        const DatabaseHealth database{v[State].toString(), v[Recovery].toString(), minutes(v[FullAge]),
                                      minutes(v[LogAge])};
        const QString attention = backupAttention(database, limits);
        const QString cells[headerCount] = {database.state,
                                            database.recovery,
                                            db::ResultTableModel::displayText(v[DataMb]),
                                            db::ResultTableModel::displayText(v[LogMb]),
                                            backupTime(v[LastFull]),
                                            age(v[FullAge]),
                                            logBackupTime(v[LastLog], database.recovery),
                                            age(v[LogAge]),
                                            attention};
        for (int c = 0; c < headerCount; ++c)
            grid->setTextMatrix(r, 1 + c, cells[c]);
        if (!attention.isEmpty()) {
            grid->setRowBackColor(r, overdueColor);
            ++overdue;
        }
    }
    for (int c = 1; c <= headerCount; ++c)
        grid->resizeColumnToContents(c);
    if (overdue > 0)
        m_context.lblDBCount(side)->setText(QString::number(grid->Rows()) + tr(" (%1 overdue)").arg(overdue));
}

} // namespace qormin::app
