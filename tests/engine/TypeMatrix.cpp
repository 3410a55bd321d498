#include "TypeMatrix.h"

#include "OdbcClient.h"

#include <QRegularExpression>
#include <sql.h>
#include <sqlext.h>

namespace qormin::test {

namespace {

struct ColumnType {
    const char* column;
    const char* type;
    std::vector<const char*> literals;
};

// Each type's edges: its limits, its finest fraction, and texts that need care on the way.
const std::vector<ColumnType>& columnTypes() {
    static const std::vector<ColumnType> types{
        {"c_money", "money", {"-922337203685477.5808", "922337203685477.5807", "0.0001"}},
        {"c_smallmoney", "smallmoney", {"-214748.3648", "214748.3647"}},
        {"c_dec19", "decimal(19,4)", {"999999999999999.9999", "-0.0001"}},
        {"c_dec38", "decimal(38,10)", {"9999999999999999999999999999.9999999999", "-0.0000000001"}},
        {"c_num5", "numeric(5,2)", {"999.99", "-999.99"}},
        {"c_float", "float", {"1.7976931348623157E308", "-2.2250738585072014E-308", "0.1"}},
        {"c_real", "real", {"3.4028235E38", "-1.17549435E-38", "0.1"}},
        {"c_bit", "bit", {"0", "1"}},
        {"c_tiny", "tinyint", {"0", "255"}},
        {"c_small", "smallint", {"-32768", "32767"}},
        {"c_int", "int", {"-2147483648", "2147483647"}},
        {"c_big", "bigint", {"-9223372036854775808", "9223372036854775807"}},
        {"c_datetime", "datetime", {"'1753-01-01 00:00:00.000'", "'9999-12-31 23:59:59.997'"}},
        {"c_dt2", "datetime2(7)", {"'2020-02-29 23:59:59.1234567'", "'9999-12-31 23:59:59.9999990'"}},
        {"c_sdt", "smalldatetime", {"'1900-01-01 00:00'", "'2079-06-06 23:59'"}},
        {"c_date", "date", {"'2020-02-29'", "'9999-12-31'"}},
        {"c_time", "time(7)", {"'12:34:56.1234567'", "'23:59:59.9999990'", "'00:00:00'"}},
        {"c_dto", "datetimeoffset", {"'2020-02-29 23:59:59.1234567 +05:30'", "'1900-01-01 00:00:00 -14:00'"}},
        {"c_char", "char(12)", {"'Ä;''x\"é'", "''"}},
        {"c_varchar", "varchar(60)", {"'Zoë; O''Brien said \"ça\" -- /*'", "''"}},
        {"c_nvarchar", "nvarchar(60)", {"N'Ωμέγα 漢字 😀 ;'''", "N''"}},
        {"c_nvmax", "nvarchar(max)", {"REPLICATE(CAST(N'ab€;' AS nvarchar(max)), 2300)"}},
        {"c_varbin", "varbinary(50)", {"0x00FF10AB", "0x"}},
        {"c_guid", "uniqueidentifier", {"'6F9619FF-8B86-D011-B42D-00C04FC964FF'"}},
    };
    return types;
}

QStringList& leftOut() {
    static QStringList columns;
    return columns;
}

std::vector<ColumnType> includedTypes() {
    std::vector<ColumnType> included;
    for (const ColumnType& type : columnTypes()) {
        if (!leftOut().contains(QLatin1String(type.column))) {
            included.push_back(type);
        }
    }
    return included;
}

bool succeeded(SQLRETURN result) {
    return result == SQL_SUCCESS || result == SQL_SUCCESS_WITH_INFO;
}

QString readCell(SQLHSTMT statement, SQLUSMALLINT column, SQLSMALLINT sqlType) {
    SQLLEN indicator = 0;
    if (sqlType == SQL_FLOAT || sqlType == SQL_REAL || sqlType == SQL_DOUBLE) {
        double value = 0;
        SQLGetData(statement, column, SQL_C_DOUBLE, &value, 0, &indicator);
        return indicator == SQL_NULL_DATA ? QString::fromLatin1(OdbcClient::nullText)
                                          : QString::number(value, 'g', 17);
    }
    const bool binary = sqlType == SQL_BINARY || sqlType == SQL_VARBINARY || sqlType == SQL_LONGVARBINARY;
    QByteArray data(256 * 1024, Qt::Uninitialized);
    if (!succeeded(SQLGetData(statement, column, binary ? SQL_C_BINARY : SQL_C_WCHAR, data.data(),
                              data.size(), &indicator))) {
        return QStringLiteral("<unreadable>");
    }
    if (indicator == SQL_NULL_DATA) {
        return QString::fromLatin1(OdbcClient::nullText);
    }
    data.truncate(std::min<qsizetype>(indicator, data.size()));
    if (binary) {
        return QStringLiteral("0x") + QString::fromLatin1(data.toHex().toUpper());
    }
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(data.constData()), data.size() / 2);
}

} // namespace

void leaveOutOfMatrix(const QString& column) {
    leftOut().append(column);
}

QString matrixTableDefinition(const QString& table) {
    QString definition =
        QStringLiteral("CREATE TABLE ") + table + QStringLiteral(" (idnum int NOT NULL PRIMARY KEY");
    for (const ColumnType& type : includedTypes()) {
        definition +=
            QStringLiteral(", %1 %2 NULL").arg(QLatin1String(type.column), QLatin1String(type.type));
    }
    return definition + QLatin1Char(')');
}

const std::vector<MatrixCase>& matrixCases() {
    static std::vector<MatrixCase> cases;
    cases.clear();
    int id = 1;
    for (const ColumnType& type : includedTypes()) {
        for (const char* literal : type.literals) {
            cases.push_back({++id, QLatin1String(type.column), QString::fromUtf8(literal)});
        }
    }
    return cases;
}

QStringList matrixColumns() {
    QStringList columns;
    for (const ColumnType& type : includedTypes()) {
        columns.append(QLatin1String(type.column));
    }
    return columns;
}

QStringList matrixInserts(const QString& table) {
    QStringList inserts{QStringLiteral("INSERT INTO %1 (idnum) VALUES (1)").arg(table)};
    for (const MatrixCase& one : matrixCases()) {
        inserts.append(QStringLiteral("INSERT INTO %1 (idnum, %2) VALUES (%3, %4)")
                           .arg(table, one.column, QString::number(one.id), one.literal));
    }
    return inserts;
}

MatrixRows readMatrix(OdbcClient& client, const QString& table) {
    MatrixRows rows;
    SQLHSTMT statement = client.statement();
    const std::u16string text =
        (QStringLiteral("SELECT idnum, ") + matrixColumns().join(QStringLiteral(", ")) +
         QStringLiteral(" FROM ") + table + QStringLiteral(" ORDER BY idnum"))
            .toStdU16String();
    std::u16string sql = text;
    if (!succeeded(SQLExecDirectW(statement, reinterpret_cast<SQLWCHAR*>(sql.data()), SQL_NTS))) {
        SQLFreeStmt(statement, SQL_CLOSE);
        return rows;
    }
    SQLSMALLINT count = 0;
    SQLNumResultCols(statement, &count);
    std::vector<SQLSMALLINT> types(static_cast<size_t>(count));
    for (SQLSMALLINT column = 1; column <= count; ++column) {
        SQLULEN size = 0;
        SQLSMALLINT digits = 0;
        SQLSMALLINT nullable = 0;
        SQLDescribeColW(statement, static_cast<SQLUSMALLINT>(column), nullptr, 0, nullptr,
                        &types[static_cast<size_t>(column - 1)], &size, &digits, &nullable);
    }
    while (succeeded(SQLFetch(statement))) {
        const int id = readCell(statement, 1, SQL_C_WCHAR).toInt();
        QStringList values;
        for (SQLSMALLINT column = 2; column <= count; ++column) {
            values.append(readCell(statement, static_cast<SQLUSMALLINT>(column),
                                   types[static_cast<size_t>(column - 1)]));
        }
        rows[id] = values;
    }
    SQLFreeStmt(statement, SQL_CLOSE);
    return rows;
}

QString ValueChange::describe() const {
    auto shown = [](const QString& value) {
        return value.size() > 60 ? value.left(57) + QStringLiteral("...") : value;
    };
    return QStringLiteral("idnum %1 %2 (%3): %4 -> %5")
        .arg(QString::number(where.id), where.column, where.literal.left(40), shown(before), shown(after));
}

std::vector<ValueChange> changedValues(const MatrixRows& source, const MatrixRows& target,
                                       const ArrivalRule& rule) {
    std::vector<ValueChange> changes;
    const QStringList columns = matrixColumns();
    std::vector<MatrixCase> everyCase = matrixCases();
    everyCase.insert(everyCase.begin(), MatrixCase{1, QString(), QStringLiteral("NULL")});
    for (const MatrixCase& one : everyCase) {
        const auto from = source.find(one.id);
        if (from == source.end()) {
            changes.push_back({one, QStringLiteral("<row missing on the source>"), QString()});
            continue;
        }
        const auto to = target.find(one.id);
        if (to == target.end()) {
            changes.push_back({MatrixCase{one.id, QString(), one.literal}, QStringLiteral("<row>"),
                               QStringLiteral("<row missing>")});
            continue;
        }
        for (qsizetype column = 0; column < columns.size(); ++column) {
            const QString before = from->second.value(column);
            const MatrixCase cell{one.id, columns[column],
                                  one.column == columns[column] ? one.literal : "NULL"};
            const QString expected = rule ? rule(cell, before) : before;
            const QString after = to->second.value(column);
            if (after != expected) {
                changes.push_back({cell, before, after});
            }
        }
    }
    return changes;
}

std::vector<ValueChange> unreported(const std::vector<ValueChange>& changes, const QString& table,
                                    const QString& output) {
    std::vector<ValueChange> silent;
    const QStringList lines = output.split(QLatin1Char('\n'));
    for (const ValueChange& change : changes) {
        const QRegularExpression key(QStringLiteral("\\b%1\\b").arg(change.where.id));
        const bool named = std::any_of(lines.begin(), lines.end(), [&](const QString& line) {
            return line.contains(table, Qt::CaseInsensitive) &&
                   line.contains(change.where.column, Qt::CaseInsensitive) && key.match(line).hasMatch();
        });
        if (!named) {
            silent.push_back(change);
        }
    }
    return silent;
}

} // namespace qormin::test
