#include "sqltools/TableSizeStatements.h"

#include <QStringList>

namespace qormin::sqltools {

QString TableSizeStatements::defaultTableSizesText() {
    const QStringList lines = {
        QString(),
        QStringLiteral("SELECT "),
        QStringLiteral("    t.NAME AS TableName,"),
        QStringLiteral("    s.Name AS SchemaName,"),
        QStringLiteral("    p.rows AS RowCounts,"),
        QStringLiteral("    SUM(a.total_pages) * 8 AS TotalSpaceKB, "),
        QStringLiteral(
            "    CAST(ROUND(((SUM(a.total_pages) * 8) / 1024.00), 2) AS NUMERIC(36, 2)) AS TotalSpaceMB,"),
        QStringLiteral("    SUM(a.used_pages) * 8 AS UsedSpaceKB, "),
        QStringLiteral(
            "    CAST(ROUND(((SUM(a.used_pages) * 8) / 1024.00), 2) AS NUMERIC(36, 2)) AS UsedSpaceMB, "),
        QStringLiteral("    (SUM(a.total_pages) - SUM(a.used_pages)) * 8 AS UnusedSpaceKB,"),
        QStringLiteral("    CAST(ROUND(((SUM(a.total_pages) - SUM(a.used_pages)) * 8) / 1024.00, 2) AS "
                       "NUMERIC(36, 2)) "),
        QStringLiteral("AS UnusedSpaceMB"),
        QStringLiteral("FROM "),
        QStringLiteral("    sys.tables t"),
        QStringLiteral("INNER JOIN      "),
        QStringLiteral("    sys.indexes i ON t.OBJECT_ID = i.object_id"),
        QStringLiteral("INNER JOIN "),
        QStringLiteral("    sys.partitions p ON i.object_id = p.OBJECT_ID AND i.index_id = p.index_id"),
        QStringLiteral("INNER JOIN "),
        QStringLiteral("    sys.allocation_units a ON p.partition_id = a.container_id"),
        QStringLiteral("LEFT OUTER JOIN "),
        QStringLiteral("    sys.schemas s ON t.schema_id = s.schema_id"),
        QStringLiteral("WHERE "),
        QStringLiteral("    t.NAME NOT LIKE 'dt%' "),
        QStringLiteral("    AND t.is_ms_shipped = 0"),
        QStringLiteral("    AND i.OBJECT_ID > 255 "),
        QStringLiteral("GROUP BY "),
        QStringLiteral("    t.Name, s.Name, p.Rows"),
        QStringLiteral("ORDER BY "),
        QStringLiteral("   TotalSpaceMB desc"),
    };
    return lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n");
}

QString TableSizeStatements::bigTablesQuery() {
    const QStringList pieces = {
        QStringLiteral(" SELECT   t.NAME AS TableName,"),
        QStringLiteral("    s.Name AS SchemaName,"),
        QStringLiteral("    p.rows AS RowCounts,"),
        QStringLiteral(
            "    CAST(ROUND(((SUM(a.total_pages) * 8) / 1024.00), 2) AS NUMERIC(36, 2)) AS TotalSpaceMB,"),
        QStringLiteral(
            "    CAST(ROUND(((SUM(a.used_pages) * 8) / 1024.00), 2) AS NUMERIC(36, 2)) AS UsedSpaceMB, "),
        QStringLiteral("    CAST(ROUND(((SUM(a.total_pages) - SUM(a.used_pages)) * 8) / 1024.00, 2) AS "
                       "NUMERIC(36, 2)) AS "
                       "UnusedSpaceMB"),
        QStringLiteral(" FROM "),
        QStringLiteral("    sys.tables t"),
        QStringLiteral(" INNER JOIN      "),
        QStringLiteral("    sys.indexes i ON t.OBJECT_ID = i.object_id"),
        QStringLiteral(" INNER JOIN "),
        QStringLiteral("    sys.partitions p ON i.object_id = p.OBJECT_ID AND i.index_id = p.index_id"),
        QStringLiteral(" INNER JOIN "),
        QStringLiteral("    sys.allocation_units a ON p.partition_id = a.container_id"),
        QStringLiteral(" LEFT OUTER JOIN "),
        QStringLiteral("    sys.schemas s ON t.schema_id = s.schema_id"),
        QStringLiteral(" WHERE "),
        QStringLiteral("    t.NAME NOT LIKE 'dt%' "),
        QStringLiteral("    AND t.is_ms_shipped = 0"),
        QStringLiteral("    AND i.OBJECT_ID > 255 "),
        QStringLiteral(" GROUP BY "),
        QStringLiteral("    t.Name, s.Name, p.Rows"),
        QStringLiteral(" ORDER BY "),
        QStringLiteral("    TotalSpaceMB desc"),
    };
    return pieces.join(QString());
}

QString TableSizeStatements::tableSizesUse(const QString& database) {
    return QStringLiteral("USE   ") + database;
}

QString TableSizeStatements::bigTablesUse(const QString& database) {
    return QStringLiteral("USE ") + database;
}

// What the driver sends when a connection's current catalog is set.
QString TableSizeStatements::defaultDatabase(const QString& database) {
    return QStringLiteral("USE [") + database + QLatin1Char(']');
}

QString TableSizeStatements::sessionList() {
    return QStringLiteral("EXEC sp_who2");
}

QString TableSizeStatements::tableSizeLine(const QVariant& tableName, const QVariant& rowCounts,
                                           const QVariant& totalSpaceMb) {
    const double thousands = rowCounts.toDouble() / 1000.0;
    return tableName.toString() + QStringLiteral("     \t") + QString::number(thousands, 'g', 15) +
           QStringLiteral("\t     ") + totalSpaceMb.toString();
}

} // namespace qormin::sqltools
