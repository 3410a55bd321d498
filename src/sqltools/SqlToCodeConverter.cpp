#include "sqltools/SqlToCodeConverter.h"

#include <array>

namespace qormin::sqltools {

namespace {

const QString quote = QStringLiteral("\"");
const QString lineSeparator =
    quote + QStringLiteral("     \r\n SQLStr = SQLStr &  ") + quote + QStringLiteral(" ");

// The order in which the tool has always upper-cased them.
const std::array<const char*, 18> keywords = {
    "select", "from", "left outer join", "inner join", "on",     "group by", "end",  "then", "else", "where",
    "and",    "or",   "varchar",         "convert",    "isnull", "getdate",  "year", "max"};

} // namespace

QString SqlToCodeConverter::makeCode(const QString& sql) {
    QString body = sql;
    body.replace(QStringLiteral("\r\n"), lineSeparator);
    QString code = QStringLiteral(" SQLStr = ") + quote + QLatin1Char(' ') + body + quote;
    for (const char* keyword : keywords) {
        code = upperKeyword(code, QString::fromLatin1(keyword));
    }
    return code;
}

QString SqlToCodeConverter::upperKeyword(const QString& text, const QString& keyword) {
    const QString upper = keyword.toUpper();
    QString result = text;
    result.replace(QLatin1Char(' ') + keyword + QLatin1Char(' '), QLatin1Char(' ') + upper + QLatin1Char(' '),
                   Qt::CaseInsensitive);
    result.replace(QLatin1Char(' ') + keyword + QLatin1Char('('), QLatin1Char(' ') + upper + QLatin1Char('('),
                   Qt::CaseInsensitive);
    result.replace(QLatin1Char(',') + keyword + QLatin1Char('('), QLatin1Char(',') + upper + QLatin1Char('('),
                   Qt::CaseInsensitive);
    return result;
}

QString SqlToCodeConverter::clearCode(const QString& code) {
    QString sql = code;
    sql.remove(QStringLiteral("& _"), Qt::CaseInsensitive);
    sql.remove(quote, Qt::CaseInsensitive);
    sql.remove(QStringLiteral("SQLStr = SQLStr &  "), Qt::CaseInsensitive);
    sql.remove(QStringLiteral("SQLStr = "), Qt::CaseInsensitive);
    return sql;
}

bool SqlToCodeConverter::sameText(const QString& left, const QString& right) {
    return left.compare(right, Qt::CaseInsensitive) == 0;
}

} // namespace qormin::sqltools
