#pragma once

#include <QString>
#include <QStringList>

namespace qormin::tablecopy {

// Statement texts of the table-copy buttons. Tables are named as the grid shows them,
// unbracketed, three-part with an empty schema; the sister database is db + "2".
class TableCopyStatements {
public:
    TableCopyStatements() = delete;

    static QString sourceTable(const QString& database, const QString& table); // db..table
    static QString sisterTable(const QString& database, const QString& table); // db2..table
    static QString newTableName(const QString& table);                         // table_NEW2

    static QString useDatabase(const QString& database);           // "Use db", through OpenRecordset
    static QString connectionUseDatabase(const QString& database); // "use db", on the connection itself
    static QString useSisterDatabase(const QString& database);     // DropTableDB2's "Use db2"

    // CopyInto's list: "[a],[b]"; CloneTable's and cmdCopytoNEW's list: "a,b".
    static QString bracketedColumnList(const QStringList& fieldNames);
    static QString plainColumnList(const QStringList& fieldNames);

    static QString firstRowQuery(const QString& qualifiedTable); // reads the column names
    static QString userTableExistsQuery(const QString& table);
    static QString truncateQualified(const QString& qualifiedTable);
    static QString identityInsert(const QString& qualifiedTable, bool on);

    static QString copyIntoInsert(const QString& destination, const QString& columns, const QString& source);
    static QString cloneInsert(const QString& destination, const QString& columns, const QString& source);
    static QString copyStructure(const QString& destination, const QString& source);
    static QString dropQualified(const QString& qualifiedTable);
    static QString checkTable(const QString& table);
    static QString truncateTable(const QString& table);

    // CopyTableByRecord: creates the sister table from one row (fails harmlessly when it exists).
    static QString seedSisterTable(const QString& destination, const QString& source);

    // cmdCopytoNEW, on the _NEW2 table in the same database.
    static QString seedNewTable(const QString& newTable, const QString& source);
    static QString truncateNewTable(const QString& newTable);

    static QString errorLine(const QString& errorText, const QString& table);
    static QString copiedLine(qint32 copied);
    static QString errorsLine(qint32 errors);
};

} // namespace qormin::tablecopy
