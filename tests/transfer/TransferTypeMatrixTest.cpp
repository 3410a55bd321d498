#include "QStringPrinter.h"
#include "TransferWindowFixture.h"

#include "RowName.h"
#include "controls/FlexGrid.h"
#include "sim/ValueText.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace qormin::test {
namespace {

using qormin::test::PrintTo;

// One edge value of one column type, held by the source row. A destination of another type
// (as Sync Structure adds some columns) must refuse what it would change, for the reason given.
struct TypeCase {
    const char* name;
    const char* type;
    QJsonValue value; // as the simulated source holds it
    const char* destinationType = nullptr;
    const char* refusal = nullptr;
};

std::string_view label(const TypeCase& row) {
    return row.name;
}

// The simulator has no smallmoney. Year 1 is the day count's edge, which FreeTDS gets wrong
// for the dates it sends before 1753.
std::vector<TypeCase> typeCases() {
    const QString longText = QStringLiteral("ab€;").repeated(2300);
    return {
        {"money", "money", QStringLiteral("-922337203685477.5808")},
        {"decimal19_4", "decimal(19,4)", QStringLiteral("999999999999999.9999")},
        {"decimal38_10", "decimal(38,10)", QStringLiteral("9999999999999999999999999999.9999999999")},
        {"numeric5_2", "numeric(5,2)", QStringLiteral("-999.99")},
        {"float", "float", -2.2250738585072014e-308},
        {"real", "real", 3.4028234663852886e38},
        {"bit", "bit", true},
        {"tinyint", "tinyint", 255},
        {"smallint", "smallint", -32768},
        {"int", "int", -2147483647 - 1},
        {"bigint", "bigint", QStringLiteral("9223372036854775807")},
        {"datetime", "datetime", QStringLiteral("9999-12-31 23:59:59.997")},
        {"datetime2_7", "datetime2(7)", QStringLiteral("2020-02-29 23:59:59.1234567")},
        {"datetime2Year1", "datetime2(7)", QStringLiteral("0001-01-01 00:00:00.0000001")},
        {"smalldatetime", "smalldatetime", QStringLiteral("2079-06-06 23:59")},
        {"date", "date", QStringLiteral("0001-01-01")},
        {"time7", "time(7)", QStringLiteral("23:59:59.9999999")},
        {"datetimeoffset", "datetimeoffset", QStringLiteral("2020-02-29 23:59:59.1234567 +05:30")},
        {"char", "char(12)", QStringLiteral("Ä;'x\"é      ")},
        {"varcharAccentsQuotes", "varchar(60)", QStringLiteral("Zoë; O'Brien said \"ça\" -- /*")},
        {"nvarcharGreekCjkEmoji", "nvarchar(60)", QStringLiteral("Ωμέγα 漢字 😀 ;'")},
        {"nvarcharMax9200", "nvarchar(max)", longText},
        {"varbinary", "varbinary(50)", QStringLiteral("0x00FF10AB")},
        {"uniqueidentifier", "uniqueidentifier", QStringLiteral("6F9619FF-8B86-D011-B42D-00C04FC964FF")},
        {"null", "int", QJsonValue::Null},
        {"centsIntoNumeric18", "money", QStringLiteral("12.3400"), "numeric(18,0)",
         "the value has more decimals than numeric(18,0) keeps"},
        {"subMillisecondIntoDatetime", "datetime2(7)", QStringLiteral("2020-02-29 23:59:59.1234567"),
         "datetime", "the value has a time finer than datetime keeps"},
        {"greekIntoVarchar", "nvarchar(60)", QStringLiteral("Ωμέγα"), "varchar(60)",
         "the value has characters the code page of varchar(60) cannot hold"},
    };
}

// A value as the simulator holds it in a column of the type: the same value reads the same
// whatever type the driver declared for its parameter.
QString held(const QJsonValue& value, const char* type) {
    const auto sqlType = sim::SqlType::parse(QString::fromLatin1(type));
    QString error;
    const auto canonical = sqlType ? sim::ValueText::fromJson(value, *sqlType, &error) : std::nullopt;
    if (!canonical) {
        return QStringLiteral("<not a ") + QLatin1String(type) + QStringLiteral(": ") + error +
               QLatin1Char('>');
    }
    return QString::fromUtf8(
        QJsonDocument(QJsonArray{sim::ValueText::toJson(*canonical)}).toJson(QJsonDocument::Compact));
}

// The source row: the value under test beside the columns the transfer itself reads (the
// date it logs, the file name of the claims update).
QJsonArray tableColumns(const char* type) {
    return QJsonArray::fromStringList(
        QStringLiteral("ID:int ConversionTime:datetime Value:%1 PatientID:int DocType:varchar(20) Pages:int "
                       "Scanner:varchar(20) Size:int FileName:varchar(50)")
            .arg(QLatin1String(type))
            .split(u' '));
}

QJsonObject result(const QJsonArray& columns, const QJsonArray& rows) {
    return {{"result", QJsonObject{{"columns", columns}, {"rows", rows}}}};
}

class TypeMatrixTest : public TransferWindowFixture, public testing::WithParamInterface<TypeCase> {
protected:
    QJsonArray extraRules() const override {
        const TypeCase& c = GetParam();
        const QJsonArray row{
            1, QStringLiteral("2020-01-05 08:00:00"), c.value, 501, "PHIC Docs", 2, "S1", 100, "scan1.pdf"};
        return {QJsonObject{{"regex", "^SELECT top \\d+ \\* FROM Matrix\\.\\.tbTypes WHERE"},
                            {"response", result(tableColumns(c.type), QJsonArray{row})}},
                QJsonObject{
                    {"regex", "^SELECT TOP 1 \\* FROM \\w+\\.\\.tbTypes$"},
                    {"response", result(tableColumns(c.destinationType ? c.destinationType : c.type), {})}},
                QJsonObject{{"prefix", "DELETE FROM Matrix..tbTypes WHERE CURRENT OF"},
                            {"response", QJsonObject{{"rowCount", 1}}}}};
    }

    // Moves the one row with delete after transfer; then the value either went exactly as the
    // source holds it and the source row was deleted, or it was refused with a line naming
    // table, key and column, nothing was written or deleted and the batch run failed.
    void movesExactlyOrRefuses(const QString& window, const QString& destination, const QString& setup) {
        const TypeCase& c = GetParam();
        run(QStringLiteral("open %1\nclick %1.chkDelete\n").arg(window) + setup);
        auto* grid = subsidiary(window)->findChild<controls::FlexGrid*>(QStringLiteral("Grid1"));
        grid->setTextMatrix(1, 0, QStringLiteral("Matrix..tbTypes"));
        grid->setTextMatrix(1, 1, QStringLiteral("ConversionTime"));
        clearTranscript();
        const BatchResult outcome = harness().runBatch(QStringLiteral("click %1.cmdTransfer\n").arg(window));
        const QString lossLine = QStringLiteral("Not written: ") + destination +
                                 QStringLiteral(", ID = 1, column Value: ") + QString::fromUtf8(c.refusal);
        const QString insert = QStringLiteral("INSERT INTO ") + destination;
        const auto requests = server().requests();
        const auto sent = std::find_if(requests.begin(), requests.end(), [&insert](const auto& entry) {
            return entry.text.startsWith(insert);
        });
        const bool deleted = changes().contains(
            QStringLiteral("DELETE FROM Matrix..tbTypes WHERE CURRENT OF qormin_cursor_1"));
        if (c.refusal != nullptr) {
            EXPECT_TRUE(outcome.log.contains(lossLine)) << outcome.log.toStdString();
            EXPECT_EQ(outcome.exitCode, 1);
            EXPECT_TRUE(sent == requests.end());
            EXPECT_FALSE(deleted);
            return;
        }
        EXPECT_FALSE(outcome.log.contains(QStringLiteral("Not written: ")));
        ASSERT_TRUE(sent != requests.end()) << outcome.log.toStdString();
        const QStringList names =
            sent->text.section(u'(', 1, 1).section(u')', 0, 0).split(QStringLiteral(", "));
        const auto position = names.indexOf(QStringLiteral("[Value]"));
        ASSERT_GE(position, 0) << sent->text.toStdString();
        const QJsonObject parameter = sent->parameters.at(position).toObject();
        EXPECT_EQ(held(parameter.value(QLatin1String("value")), c.type), held(c.value, c.type))
            << "sent as " << parameter.value(QLatin1String("type")).toString().toStdString();
        EXPECT_TRUE(deleted);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.log.toStdString();
    }
};

TEST_P(TypeMatrixTest, transferDBMovesTheValueExactlyOrRefusesIt) {
    movesExactlyOrRefuses(QStringLiteral("frmTransferDB"), QStringLiteral("Patient_Files_2020..tbTypes"), {});
}

TEST_P(TypeMatrixTest, transferToHistoryMovesTheValueExactlyOrRefusesIt) {
    movesExactlyOrRefuses(QStringLiteral("frmHistorical"), QStringLiteral("HISTORY..tbTypes"),
                          QStringLiteral("set frmHistorical.txtYears 2\n"));
}

INSTANTIATE_TEST_SUITE_P(Types, TypeMatrixTest, testing::ValuesIn(typeCases()), qormin::test::RowName());

} // namespace
} // namespace qormin::test
