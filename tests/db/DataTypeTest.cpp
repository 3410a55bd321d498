#include "FakeServerAccessHost.h"
#include "QStringPrinter.h"
#include "SimTestServer.h"

#include "db/Recordset.h"
#include "db/ResultTableModel.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

using qormin::db::ResultTableModel;

struct TypeCase {
    const char* type;
    QJsonValue sent;
    QVariant expected;
};

QString longText() {
    QString text;
    for (int i = 0; i < 20000; ++i) {
        text += QStringLiteral("Zeile %1 ü;").arg(i % 10);
    }
    return text;
}

const std::vector<TypeCase>& typeCases() {
    static const std::vector<TypeCase> cases = {
        {"tinyint", 255, QVariant(255)},
        {"smallint", -32768, QVariant(-32768)},
        {"int", 2147483647, QVariant(2147483647)},
        {"bigint", QStringLiteral("-9223372036854775807"), QVariant(qlonglong(-9223372036854775807LL))},
        {"bit", true, QVariant(true)},
        {"real", 1.5, QVariant(1.5)},
        {"float", 0.1, QVariant(0.1)},
        {"decimal(18,4)", QStringLiteral("12.34"), QVariant(QStringLiteral("12.3400"))},
        {"numeric(38,0)", QStringLiteral("12345678901234567890123456789012345678"),
         QVariant(QStringLiteral("12345678901234567890123456789012345678"))},
        {"money", QStringLiteral("-922337203685477.5807"), QVariant(QStringLiteral("-922337203685477.5807"))},
        {"smalldatetime", QStringLiteral("2024-01-31 10:20:00"),
         QVariant(QDateTime(QDate(2024, 1, 31), QTime(10, 20, 0)))},
        {"datetime", QStringLiteral("2024-01-31 10:20:30.123"),
         QVariant(QDateTime(QDate(2024, 1, 31), QTime(10, 20, 30, 123)))},
        // Finer than a millisecond: the exact text, which QDateTime and QTime cannot hold.
        {"datetime2(7)", QStringLiteral("1753-01-01 23:59:59.9876543"),
         QVariant(QStringLiteral("1753-01-01 23:59:59.9876543"))},
        {"datetime2(7)", QStringLiteral("2020-02-29 23:59:59.1230000"),
         QVariant(QDateTime(QDate(2020, 2, 29), QTime(23, 59, 59, 123)))},
        {"date", QStringLiteral("2024-02-29"), QVariant(QDate(2024, 2, 29))},
        {"time(7)", QStringLiteral("10:20:30.1234567"), QVariant(QStringLiteral("10:20:30.1234567"))},
        {"time(7)", QStringLiteral("10:20:30.1230000"), QVariant(QTime(10, 20, 30, 123))},
        {"char(5)", QStringLiteral("ab"), QVariant(QStringLiteral("ab   "))},
        {"varchar(max)", QStringLiteral("Grüße"), QVariant(QStringLiteral("Grüße"))},
        {"nchar(3)", QStringLiteral("日本"), QVariant(QStringLiteral("日本 "))},
        {"nvarchar(max)", QStringLiteral("Müller 日本 𝄞"), QVariant(QStringLiteral("Müller 日本 𝄞"))},
        {"nvarchar(max)", longText(), QVariant(longText())},
        {"binary(4)", QStringLiteral("0x01AB"), QVariant(QByteArray("\x01\xab\x00\x00", 4))},
        {"varbinary(max)", QStringLiteral("0x00FF10"), QVariant(QByteArray("\x00\xff\x10", 3))},
        {"text", QStringLiteral("plain text"), QVariant(QStringLiteral("plain text"))},
        {"ntext", QStringLiteral("Ωμέγα"), QVariant(QStringLiteral("Ωμέγα"))},
        {"image", QStringLiteral("0xDEADBEEF"), QVariant(QByteArray("\xde\xad\xbe\xef", 4))},
        {"uniqueidentifier", QStringLiteral("6F9619FF-8B86-D011-B42D-00C04FD430C8"),
         QVariant(QStringLiteral("6F9619FF-8B86-D011-B42D-00C04FD430C8"))},
    };
    return cases;
}

QByteArray typesScenario() {
    QJsonArray columns;
    QJsonArray values;
    QJsonArray nulls;
    for (size_t index = 0; index < typeCases().size(); ++index) {
        columns.append(QStringLiteral("c%1:%2").arg(index).arg(QLatin1String(typeCases()[index].type)));
        values.append(typeCases()[index].sent);
        nulls.append(QJsonValue::Null);
    }
    QJsonObject result{{QStringLiteral("columns"), columns},
                       {QStringLiteral("rows"), QJsonArray{values, nulls}}};
    QJsonObject rule{{QStringLiteral("exact"), QStringLiteral("select every type")},
                     {QStringLiteral("response"), QJsonObject{{QStringLiteral("result"), result}}}};
    return QJsonDocument(QJsonObject{{QStringLiteral("rules"), QJsonArray{rule}}})
        .toJson(QJsonDocument::Compact);
}

// One server and one result for all types: the types arrive side by side in one row.
class DataTypeTest : public ::testing::TestWithParam<size_t> {
protected:
    static void SetUpTestSuite() {
        s_server = qormin::test::SimTestServer::fromJson(typesScenario());
        ASSERT_TRUE(s_server && s_server->isRunning());
        s_host.server[0] = s_server->address();
        s_access = std::make_unique<qormin::db::ServerAccess>(s_host);
        QString result;
        s_access->OpenRecordset(0, QStringLiteral("select every type"), QVariant(), result);
        ASSERT_EQ(result, QString());
    }
    static void TearDownTestSuite() {
        s_access.reset();
        s_server.reset();
    }

    static inline std::unique_ptr<qormin::test::SimTestServer> s_server;
    static inline qormin::test::FakeServerAccessHost s_host;
    static inline std::unique_ptr<qormin::db::ServerAccess> s_access;
};

TEST_P(DataTypeTest, arrivesTypedInTheResultTableAndItsModel) {
    const size_t index = GetParam();
    const TypeCase& c = typeCases()[index];
    auto& recordset = s_access->sharedRecordset();
    ASSERT_TRUE(recordset.isOpen());
    ASSERT_EQ(recordset.RecordCount(), 2);
    const int column = static_cast<int>(index);
    recordset.MoveFirst();
    const QVariant value = recordset.field(column);
    EXPECT_EQ(value.metaType(), c.expected.metaType()) << c.type;
    EXPECT_EQ(value, c.expected) << c.type << " got " << value.toString().left(80).toStdString();
    recordset.MoveNext();
    EXPECT_FALSE(recordset.field(column).isValid()) << c.type << " NULL";

    ResultTableModel model(recordset.table());
    EXPECT_EQ(model.data(model.index(0, column)).toString(), ResultTableModel::displayText(c.expected));
    EXPECT_EQ(model.data(model.index(1, column)).toString(), QString());
}

INSTANTIATE_TEST_SUITE_P(EveryType, DataTypeTest, ::testing::Range<size_t>(0, typeCases().size()),
                         [](const auto& testInfo) {
                             QString name = QLatin1String(typeCases()[testInfo.param].type);
                             name.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9]")), QString());
                             return QStringLiteral("%1_%2").arg(name).arg(testInfo.param).toStdString();
                         });

} // namespace
