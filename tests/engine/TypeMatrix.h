#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <map>
#include <vector>

namespace qormin::test {

class OdbcClient;

// One edge value of one column type: the row `id` holds it in `column`, every other column NULL.
struct MatrixCase {
    int id = 0;
    QString column;
    QString literal; // as written in the INSERT that puts it on the source
};

// The matrix table: idnum int key, then one column per type under test. Row 1 is NULL in
// every column; every later row holds one case.
QString matrixTableDefinition(const QString& table);
// Takes a column's type out of the matrix, for a server that cannot be given it as the tool gives it.
void leaveOutOfMatrix(const QString& column);
const std::vector<MatrixCase>& matrixCases();
QStringList matrixColumns(); // without idnum, in table order
QStringList matrixInserts(const QString& table);

// A table's rows by idnum, each column's value as exact text: floats to 17 digits, binary as
// hex, times and decimals as the driver gives them, NULL as "<null>".
using MatrixRows = std::map<int, QStringList>;
MatrixRows readMatrix(OdbcClient& client, const QString& table);

// A value that did not arrive as it left: the case, what the source holds and what the target got.
struct ValueChange {
    MatrixCase where;
    QString before;
    QString after;
    QString describe() const;
};
// What a loop's own rule makes of a source value on purpose (the migration stores no empty
// text); the identity when it has none.
using ArrivalRule = std::function<QString(const MatrixCase&, const QString&)>;
std::vector<ValueChange> changedValues(const MatrixRows& source, const MatrixRows& target,
                                       const ArrivalRule& rule = {});
// The changes that no line of a run's output names by table, key and column.
std::vector<ValueChange> unreported(const std::vector<ValueChange>& changes, const QString& table,
                                    const QString& output);

} // namespace qormin::test
