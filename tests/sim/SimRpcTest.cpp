#include "RowName.h"
#include "SimClientTest.h"

#include <QJsonArray>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

const QByteArray scenario = R"json({"rules": [
  {"prefix": "INSERT INTO t ([a])", "parameters": {"@P1": 25}, "response": {"error": {"number": 2627, "text": "dup"}}},
  {"regex": "^INSERT INTO ", "response": {"rowCount": 1}}]})json";

struct ParameterCase {
    const char* name;
    OdbcClient::Parameter parameter;
    QJsonValue expected;
};

const QString longUnicode = QString(6000, QChar(0x00E9)) + QStringLiteral("日本");
const QByteArray longBinary = QByteArray(10000, '\x5A');
// -12.34: the value 1234 little-endian, sign 0 for negative.
const SQL_NUMERIC_STRUCT numeric{10, 2, 0, {0xD2, 0x04}};
const SQLGUID guid{0x6F9619FF, 0x8B86, 0xD011, {0xB4, 0x2D, 0x00, 0xC0, 0x4F, 0xC9, 0x64, 0xFF}};

// The types the record writer sends (int, bigint, float, bit, decimal text, timestamps, nvarchar,
// varbinary, NULL) have their own tests there.
std::vector<ParameterCase> parameterCases() {
    const QJsonValue null(QJsonValue::Null);
    return {
        {"smallint", {SQL_C_SSHORT, SQL_SMALLINT, 0, 0, bytesOf(qint16(1234))}, 1234},
        {"tinyint", {SQL_C_UTINYINT, SQL_TINYINT, 0, 0, bytesOf(quint8(200))}, 200},
        {"real", {SQL_C_FLOAT, SQL_REAL, 0, 0, bytesOf(0.25f)}, 0.25},
        {"nchar", {SQL_C_WCHAR, SQL_WCHAR, 5, 0, wideBytes(QStringLiteral("ab"))}, QStringLiteral("ab")},
        {"char", {SQL_C_CHAR, SQL_CHAR, 3, 0, QByteArray("xyz")}, QStringLiteral("xyz")},
        {"binary", {SQL_C_BINARY, SQL_BINARY, 2, 0, QByteArray::fromHex("ABCD")}, QStringLiteral("0xABCD")},
        {"numericStruct", {SQL_C_NUMERIC, SQL_NUMERIC, 10, 2, bytesOf(numeric)}, QStringLiteral("-12.34")},
        {"wideNumeric",
         {SQL_C_CHAR, SQL_NUMERIC, 38, 4, QByteArray("-12345678901234567890123456789012.3456")},
         QStringLiteral("-12345678901234567890123456789012.3456")},
        {"date",
         {SQL_C_TYPE_DATE, SQL_TYPE_DATE, 10, 0, bytesOf(SQL_DATE_STRUCT{1999, 12, 31})},
         QStringLiteral("1999-12-31")},
        {"varchar",
         {SQL_C_CHAR, SQL_VARCHAR, 50, 0, QStringLiteral("café").toUtf8()},
         QStringLiteral("café")},
        {"longUnicode", {SQL_C_WCHAR, SQL_WLONGVARCHAR, 0, 0, wideBytes(longUnicode)}, longUnicode},
        {"longBinary",
         {SQL_C_BINARY, SQL_LONGVARBINARY, 0, 0, longBinary},
         QStringLiteral("0x") + QString::fromLatin1(longBinary.toHex().toUpper())},
        {"longText",
         {SQL_C_CHAR, SQL_LONGVARCHAR, 0, 0, QByteArray(9000, 'q')},
         QString(9000, QLatin1Char('q'))},
        {"guid",
         {SQL_C_GUID, SQL_GUID, 0, 0, bytesOf(guid)},
         QStringLiteral("6F9619FF-8B86-D011-B42D-00C04FC964FF")},
        {"nullText", {SQL_C_WCHAR, SQL_WVARCHAR, 20, 0, QByteArray(), true}, null},
        {"nullBinary", {SQL_C_BINARY, SQL_VARBINARY, 20, 0, QByteArray(), true}, null},
    };
}

class SimRpcTest : public SimClientTest, public ::testing::WithParamInterface<ParameterCase> {
protected:
    void SetUp() override { start(SimTestServer::fromJson(scenario)); }
};

TEST_P(SimRpcTest, boundParameterArrivesTypedInTheTranscript) {
    const auto outcome =
        client.execute(QStringLiteral("INSERT INTO t ([c]) VALUES (?)"), {GetParam().parameter});
    ASSERT_TRUE(outcome.succeeded) << outcome.texts().join(u'|').toStdString();
    const auto requests = server->requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].kind, QStringLiteral("rpc"));
    EXPECT_EQ(requests[0].text, QStringLiteral("INSERT INTO t ([c]) VALUES (@P1)"));
    ASSERT_EQ(requests[0].parameters.size(), 1);
    const QJsonObject parameter = requests[0].parameters.at(0).toObject();
    EXPECT_EQ(parameter.value(QLatin1String("name")).toString(), QStringLiteral("@P1"));
    EXPECT_FALSE(parameter.value(QLatin1String("type")).toString().isEmpty());
    EXPECT_EQ(parameter.value(QLatin1String("value")), GetParam().expected)
        << "type " << parameter.value(QLatin1String("wireType")).toString().toStdString();
}

INSTANTIATE_TEST_SUITE_P(EveryType, SimRpcTest, ::testing::ValuesIn(parameterCases()),
                         qormin::test::RowName());

// A rule with "parameters" refuses only the execution whose value matches, by handle too.
TEST_F(SimRpcTest, preparedStatementRunsAgainByHandleAndRulesMatchItsValues) {
    SQLHSTMT statement = client.statement();
    std::u16string text = QStringLiteral("INSERT INTO t ([a]) VALUES (?)").toStdU16String();
    ASSERT_TRUE(SQL_SUCCEEDED(SQLPrepareW(statement, reinterpret_cast<SQLWCHAR*>(text.data()), SQL_NTS)));
    SQLINTEGER number = 0;
    SQLLEN indicator = 0;
    SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &number, 0, &indicator);
    QList<bool> succeeded;
    for (number = 15; number <= 35; number += 10) {
        SQLRETURN rc = SQLExecute(statement);
        bool ok = SQL_SUCCEEDED(rc);
        while (rc != SQL_NO_DATA && rc != SQL_INVALID_HANDLE) {
            rc = SQLMoreResults(statement);
            ok = ok && rc != SQL_ERROR;
        }
        succeeded.append(ok);
    }
    EXPECT_EQ(succeeded, (QList<bool>{true, false, true}));
    QStringList texts;
    QList<int> values;
    for (const auto& request : server->requests()) {
        texts.append(request.text);
        values.append(request.parameters.at(0).toObject().value(QLatin1String("value")).toInt());
    }
    EXPECT_EQ(texts, QStringList(3, QStringLiteral("INSERT INTO t ([a]) VALUES (@P1)")));
    EXPECT_EQ(values, (QList<int>{15, 25, 35}));
}

} // namespace
} // namespace qormin::test
