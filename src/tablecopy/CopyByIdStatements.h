#pragma once

#include <QString>

namespace qormin::tablecopy {

// Statement texts and log lines of the copy of missing records by ID range from the right
// server into the same-named table on the left. Every blank is part of the text; the range
// bounds and the ID looked up are quoted, so the server compares the column with a literal.
class CopyByIdStatements {
public:
    CopyByIdStatements() = delete;

    static QString defaultDatabase(const QString& database); // the sa login's default database
    static QString useDatabase(const QString& database);
    // The table's object id on the right, which the idnum check asks for.
    static QString objectIdQuery(const QString& table);
    static QString idnumColumnQuery(const QString& objectId);
    static QString tableQuery(const QString& table);
    static QString rangeQuery(const QString& database, const QString& table, const QString& start,
                              const QString& end);
    static QString lookup(const QString& database, const QString& table, const QString& idnum);
    static QString qualifiedTable(const QString& database, const QString& table);

    static QString closingLine(const QString& table, qint16 added, qint16 existing);
    static QString tableNotFoundLine(const QString& table);
    static QString overflowLine(const QString& table, bool added);
    static QString idTextRefusedLine(const QString& control, const QString& text, const QString& reason);
};

} // namespace qormin::tablecopy
