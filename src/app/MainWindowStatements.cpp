#include "app/MainWindowStatements.h"

namespace qormin::app::MainWindowStatements {

QString databaseList() {
    return QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name ");
}

QString useDatabase(const QString& database) {
    return QStringLiteral("use ") + database;
}

QString tableSizes() {
    return QStringLiteral(
        " SELECT     t.NAME AS TableName,    s.Name AS SchemaName,    p.rows AS RowCounts,    "
        "SUM(a.total_pages) * 8 "
        "AS TotalSpaceKB,     SUM(a.used_pages) * 8 AS UsedSpaceKB,     (SUM(a.total_pages) - "
        "SUM(a.used_pages)) * 8 "
        "AS UnusedSpaceKB FROM     sys.tables t INNER JOIN sys.indexes i ON t.OBJECT_ID = i.object_id INNER "
        "JOIN "
        "sys.partitions p ON i.object_id = p.OBJECT_ID AND i.index_id = p.index_id INNER JOIN     "
        "sys.allocation_units a ON p.partition_id = a.container_id LEFT OUTER JOIN     sys.schemas s ON "
        "t.schema_id = "
        "s.schema_id WHERE     t.NAME NOT LIKE 'dt%'     AND t.is_ms_shipped = 0    AND i.OBJECT_ID > 255  "
        "GROUP BY "
        "    t.Name, s.Name, p.Rows ORDER BY     TotalSpaceKB desc");
}

QString tableRowCount(const QString& table) {
    return QStringLiteral("SELECT CONVERT(bigint, rows) as RCNT from sysindexes WHERE id = OBJECT_ID('") +
           table + QStringLiteral("') AND indid < 2");
}

QString defaultBackupFolder(const QString& server) {
    return QStringLiteral("\\\\") + server + QStringLiteral("\\backup\\MIR");
}

QString defaultSharedFolder(const QString& leftServer) {
    return QStringLiteral("\\\\") + leftServer + QStringLiteral("\\backup");
}

} // namespace qormin::app::MainWindowStatements
