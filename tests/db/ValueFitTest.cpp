#include "QStringPrinter.h"

#include "RowName.h"
#include "db/ValueFit.h"

#include <QDateTime>
#include <gtest/gtest.h>
#include <sql.h>
#include <sqlext.h>

namespace {

using qormin::test::PrintTo;

using qormin::db::ColumnInfo;

ColumnInfo column(int sqlType, const char* typeName, qint64 size = 0, int digits = 0) {
    ColumnInfo info;
    info.sqlType = sqlType;
    info.typeName = QString::fromLatin1(typeName);
    info.size = size;
    info.decimalDigits = digits;
    return info;
}

struct FitCase {
    const char* name;
    QVariant value;
    ColumnInfo target;
    const char* reason; // empty: the column holds the value exactly
};

class ValueFitTest : public testing::TestWithParam<FitCase> {};

TEST_P(ValueFitTest, refusesWhatTheTargetWouldChange) {
    const FitCase& c = GetParam();
    EXPECT_EQ(qormin::db::valueChangeIn(c.value, c.target), QString::fromUtf8(c.reason));
}

const ColumnInfo numeric18 = column(SQL_NUMERIC, "numeric", 18, 0);
const ColumnInfo money = column(SQL_DECIMAL, "money", 19, 4);
const ColumnInfo datetime = column(SQL_TYPE_TIMESTAMP, "datetime", 23, 3);
const ColumnInfo smalldatetime = column(SQL_TYPE_TIMESTAMP, "smalldatetime", 16, 0);
const ColumnInfo datetime2 = column(SQL_TYPE_TIMESTAMP, "datetime2", 27, 7);
const ColumnInfo varchar5 = column(SQL_VARCHAR, "varchar", 5);
const QDateTime leapSecond(QDate(2020, 2, 29), QTime(23, 59, 59, 123));

INSTANTIATE_TEST_SUITE_P(
    Values, ValueFitTest,
    testing::Values(
        FitCase{"nullFitsAnything", QVariant(), numeric18, ""},
        FitCase{"centsIntoNumeric18", QStringLiteral("12.3400"), numeric18,
                "has more decimals than numeric(18,0) keeps"},
        FitCase{"wholeMoneyIntoNumeric18", QStringLiteral("12.0000"), numeric18, ""},
        FitCase{"tooManyWholeDigits", QStringLiteral("1234"), column(SQL_NUMERIC, "numeric", 5, 2),
                "is out of range for numeric(5,2)"},
        FitCase{"moneyKeepsFourDecimals", QStringLiteral("-922337203685477.5807"), money, ""},
        FitCase{"fiveDecimalsIntoMoney", QStringLiteral("1.23456"), money,
                "has more decimals than money keeps"},
        FitCase{"floatIntoDecimal", 0.25, column(SQL_DECIMAL, "decimal", 5, 2), ""},
        FitCase{"floatWithFractionIntoInt", 3.7, column(SQL_INTEGER, "int"),
                "has a fraction that int would drop"},
        FitCase{"wholeFloatIntoInt", 4.0, column(SQL_INTEGER, "int"), ""},
        FitCase{"decimalTextIntoBigint", QStringLiteral("7.5"), column(SQL_BIGINT, "bigint"),
                "has a fraction that bigint would drop"},
        FitCase{"tinyintOverflow", 256, column(SQL_TINYINT, "tinyint"), "is out of range for tinyint"},
        FitCase{"bigintLimit", qlonglong(-9223372036854775807LL), column(SQL_BIGINT, "bigint"), ""},
        FitCase{"exponentBeyondBigint", QStringLiteral("1.5e+19"), column(SQL_BIGINT, "bigint"),
                "is out of range for bigint"},
        FitCase{"negativeZeroIntoInt", QStringLiteral(" -0.000 "), column(SQL_INTEGER, "int"), ""},
        FitCase{"exponentBeyondAnyType", QStringLiteral("1e999"), column(SQL_FLOAT, "float"),
                "is not a number"},
        FitCase{"textIntoInt", QStringLiteral("abc"), column(SQL_INTEGER, "int"), "is not a number"},
        FitCase{"twoIntoBit", 2, column(SQL_BIT, "bit"), "is not 0 or 1"},
        FitCase{"trueIntoBit", true, column(SQL_BIT, "bit"), ""},
        FitCase{"tenthIntoReal", 0.1, column(SQL_REAL, "real"), "has more digits than real keeps"},
        FitCase{"halfIntoReal", 0.5, column(SQL_REAL, "real"), ""},
        FitCase{"longDecimalIntoFloat", QStringLiteral("12345678901234567890.1234567890"),
                column(SQL_FLOAT, "float"), "has more digits than float keeps"},
        FitCase{"moneyIntoFloat", QStringLiteral("12.3400"), column(SQL_FLOAT, "float"), ""},
        FitCase{"millisecondsDatetimeRounds", QDateTime(QDate(2020, 1, 1), QTime(10, 0, 0, 124)), datetime,
                "has a time finer than datetime keeps"},
        FitCase{"millisecondsDatetimeKeeps", leapSecond, datetime, ""},
        FitCase{"subMillisecondIntoDatetime", QStringLiteral("2020-02-29 23:59:59.1234567"), datetime,
                "has a time finer than datetime keeps"},
        FitCase{"subMillisecondIntoDatetime2", QStringLiteral("2020-02-29 23:59:59.1234567"), datetime2, ""},
        FitCase{"tooFineForDatetime2_3", QStringLiteral("2020-02-29 23:59:59.1234"),
                column(SQL_TYPE_TIMESTAMP, "datetime2", 23, 3), "has a time finer than datetime2(3) keeps"},
        FitCase{"secondsIntoSmalldatetime", QDateTime(QDate(2024, 1, 31), QTime(10, 20, 30)), smalldatetime,
                "has a time finer than smalldatetime keeps"},
        FitCase{"minutesIntoSmalldatetime", QDateTime(QDate(2024, 1, 31), QTime(10, 20)), smalldatetime, ""},
        FitCase{"yearOneIntoDatetime", QDate(1, 1, 1), datetime, "is outside the dates datetime holds"},
        FitCase{"timeOfDayIntoDate", leapSecond, column(SQL_TYPE_DATE, "date", 10),
                "has a time of day that date would drop"},
        FitCase{"midnightIntoDate", QDateTime(QDate(2020, 2, 29), QTime(0, 0)),
                column(SQL_TYPE_DATE, "date", 10), ""},
        FitCase{"sevenDigitsIntoTime7", QStringLiteral("12:34:56.1234570"), column(-154, "time", 16, 7), ""},
        FitCase{"offsetKept", QStringLiteral("2020-01-01 10:00:00.1234567 +02:00"),
                column(-155, "datetimeoffset", 34, 7), ""},
        FitCase{"notADate", QStringLiteral("soon"), datetime, "is not a date"},
        FitCase{"accentsIntoVarchar", QStringLiteral("Peña; O'Brien"), column(SQL_VARCHAR, "varchar", 20),
                ""},
        FitCase{"greekIntoVarchar", QStringLiteral("Ωμέγα"), column(SQL_VARCHAR, "varchar", 20),
                "has characters the code page of varchar(20) cannot hold"},
        FitCase{"euroIntoVarchar", QStringLiteral("5 €"), varchar5, ""},
        FitCase{"tooLongForVarchar", QStringLiteral("abcdef"), varchar5, "is longer than varchar(5) holds"},
        FitCase{"emojiIntoNvarcharMax", QStringLiteral("日本 😀"), column(SQL_WVARCHAR, "nvarchar", 0), ""},
        FitCase{"initialsTooLong", QStringLiteral("Alexander"), column(SQL_WVARCHAR, "nvarchar", 1),
                "is longer than nvarchar(1) holds"},
        FitCase{"binaryTooLong", QByteArray("\x01\x02\x03", 3), column(SQL_VARBINARY, "varbinary", 2),
                "is longer than varbinary(2) holds"}),
    qormin::test::RowName());

} // namespace
