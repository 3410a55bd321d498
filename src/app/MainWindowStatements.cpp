#include "app/MainWindowStatements.h"

namespace qormin::app::MainWindowStatements {

QString databaseList() {
    return QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name ");
}

QString databaseHealth() {
    return QStringLiteral(
        "SELECT d.name, d.state_desc, d.recovery_model_desc, "
        "(SELECT CAST(SUM(CAST(f.size AS bigint)) / 128.0 AS decimal(18,1)) FROM sys.master_files f "
        "WHERE f.database_id = d.database_id AND f.type = 0) AS data_mb, "
        "(SELECT CAST(SUM(CAST(f.size AS bigint)) / 128.0 AS decimal(18,1)) FROM sys.master_files f "
        "WHERE f.database_id = d.database_id AND f.type = 1) AS log_mb, "
        "b.last_full, DATEDIFF(minute, b.last_full, GETDATE()) AS full_age_minutes, "
        "b.last_log, DATEDIFF(minute, b.last_log, GETDATE()) AS log_age_minutes "
        "FROM sys.databases d LEFT JOIN (SELECT database_name, "
        "MAX(CASE WHEN type = 'D' THEN backup_finish_date END) AS last_full, "
        "MAX(CASE WHEN type = 'L' THEN backup_finish_date END) AS last_log "
        "FROM msdb.dbo.backupset GROUP BY database_name) b "
        "ON b.database_name COLLATE DATABASE_DEFAULT = d.name COLLATE DATABASE_DEFAULT "
        "WHERE d.database_id >= 5 ORDER BY d.name");
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
