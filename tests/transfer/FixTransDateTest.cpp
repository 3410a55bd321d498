#include "../db/FakeServerAccessHost.h"
#include "QStringPrinter.h"
#include "SimTestServer.h"

#include "RowName.h"
#include "app/batch/BatchMessageBoxService.h"
#include "db/ServerAccess.h"
#include "platform/SettingsStore.h"
#include "transfer/FixTransDateStatements.h"
#include "transfer/frmFixTransDate.h"

#include <QCheckBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace qormin::test {

namespace {

using qormin::test::PrintTo;

namespace Statements = transfer::FixTransDateStatements;
using transfer::TransDateKeys;

const QString backup = QStringLiteral("Bak..tbBill");
const QString damaged = QStringLiteral("Billing..tbBill");

QJsonObject rule(const char* match, const QString& text, const QJsonObject& response) {
    return {{match, text}, {"response", response}};
}

QJsonObject answer(const QJsonArray& columns, const QJsonArray& rows) {
    return {{"result", QJsonObject{{"columns", columns}, {"rows", rows}}}};
}

// The damaged table, its TransDate of the type, and the row count the progress bar is sized by.
QByteArray withTable(QJsonArray rules, const QString& type, const QJsonArray& rows, int count) {
    const QJsonArray columns{"IDNum:varchar(10)",  "RevenueID:int",     "itemid:int",
                             "refnum:varchar(10)", "TransDate:" + type, "TransDateFixed:int"};
    rules.append(rule("prefix", QStringLiteral("SELECT * FROM ") + damaged, answer(columns, rows)));
    rules.append(rule("exact", Statements::rowCountQuery(),
                      answer(QJsonArray{"X:bigint"}, QJsonArray{QJsonArray{count}})));
    return QJsonDocument(QJsonObject{{"rules", rules}}).toJson();
}

// Row "In" of the damaged table has its date at method n (0, 2..9); "none" and the row of
// NULL keys have it nowhere. Each method answers only its own row.
QByteArray scenario() {
    QJsonArray rows;
    QJsonArray rules;
    const QJsonValue badDate = QStringLiteral("2020-07-17 09:02:18.000");
    for (const int method : {0, 2, 3, 4, 5, 6, 7, 8, 9}) {
        const QString id = QStringLiteral("I%1").arg(method);
        const QString ref = QStringLiteral("R%1").arg(method);
        rows.append(QJsonArray{id, 10, 20, ref, badDate, QJsonValue::Null});
        const QString date = QStringLiteral("2020-07-%1 08:00:00").arg(method + 1, 2, 10, QLatin1Char('0'));
        rules.append(rule("exact",
                          Statements::methodQuery(method, backup, TransDateKeys::of(id, ref, 10, 20)),
                          answer(QJsonArray{"d:datetime"}, QJsonArray{QJsonArray{date}})));
    }
    rows.append(QJsonArray{"none", 10, 20, "Rn", badDate, QJsonValue::Null});
    rows.append(QJsonArray{QJsonValue::Null, QJsonValue::Null, QJsonValue::Null, QJsonValue::Null, badDate,
                           QJsonValue::Null});
    rules.append(rule("prefix", "ALTER TABLE   " + backup,
                      QJsonObject{{"error", "Column names in each table must be unique."}}));
    return withTable(rules, QStringLiteral("datetime"), rows, 500);
}

class FixTransDateTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_server = SimTestServer::fromJson(scenarioJson());
        ASSERT_TRUE(m_server && m_server->isRunning());
        m_host.server[0] = m_server->address();
        m_access = std::make_unique<db::ServerAccess>(m_host);
        m_access->ConnectServer(0);
        m_settings = platform::SettingsStore::openFile(m_folder.filePath(QStringLiteral("settings.ini")));
        openWindow();
    }

    virtual QByteArray scenarioJson() const { return scenario(); }

    void openWindow() {
        m_window = std::make_unique<transfer::frmFixTransDate>(*m_access, m_boxes, *m_settings);
    }

    template <typename T> T* control(const char* name) {
        return m_window->findChild<T*>(QString::fromLatin1(name));
    }

    void run() {
        control<QLineEdit>("txtSrc")->setText(backup);
        control<QLineEdit>("txtDest")->setText(damaged);
        m_server->clearTranscript();
        m_window->Command1_Click();
    }

    // What each UPDATE ... WHERE CURRENT OF gave the row: the date and the method.
    QStringList updates() const {
        QStringList given;
        for (const auto& entry : m_server->requests()) {
            if (!entry.text.contains(QStringLiteral("WHERE CURRENT OF"))) {
                continue;
            }
            given.append(parameterValues(entry));
        }
        return given;
    }

    QTemporaryDir m_folder;
    QString m_boxOutput;
    QString m_boxWarnings;
    QTextStream m_boxOut{&m_boxOutput};
    QTextStream m_boxWarn{&m_boxWarnings};
    app::BatchMessageBoxService m_boxes{m_boxOut, m_boxWarn};
    std::unique_ptr<SimTestServer> m_server;
    FakeServerAccessHost m_host;
    std::unique_ptr<db::ServerAccess> m_access;
    std::unique_ptr<platform::SettingsStore> m_settings;
    std::unique_ptr<transfer::frmFixTransDate> m_window;
};

TEST_F(FixTransDateTest, eachRowTakesTheFirstMethodThatFindsItsDate) {
    run();
    const QStringList sent = m_server->statements();
    ASSERT_GE(sent.size(), 4);
    EXPECT_EQ(sent.mid(0, 4), (QStringList{"ALTER TABLE   Bak..tbBill  ADD TransDateFixed integer",
                                           "ALTER TABLE   Billing..tbBill  ADD TransDateFixed integer",
                                           "USE billing", Statements::rowCountQuery()}));
    QStringList updated;
    for (const int method : {0, 2, 3, 4, 5, 6, 7, 8, 9}) {
        updated.append(QStringLiteral("[\"2020-07-%1T08:00:00.0000000\",%2]")
                           .arg(method + 1, 2, 10, QLatin1Char('0'))
                           .arg(method));
    }
    EXPECT_EQ(updates(), updated);
    // Method n stops the chain: rows I2..I9 asked 0, then 2..n; the last two rows asked all nine.
    const int queries =
        int(sent.filter(QRegularExpression(QStringLiteral("^(select |SELECT  TRANSDATE)"))).size());
    EXPECT_EQ(queries, 1 + (2 + 3 + 4 + 5 + 6 + 7 + 8 + 9) + 9 + 9);
    EXPECT_TRUE(sent.contains(Statements::methodQuery(9, backup, TransDateKeys::of({}, {}, {}, {}))));
    const QStringList log = control<QPlainTextEdit>("txtLog")->toPlainText().split(QLatin1Char('\n'));
    EXPECT_EQ(log.mid(0, 5),
              (QStringList{"", "Found, method 0:  updating2020-07-17 09:02:18.000 to2020-07-01 08:00:00.000",
                           "Not Found", "Found , method:2, tdate:2020-07-03 08:00:00.000", "Not Found"}));
    const QStringList tail{"Not Found",
                           "not found",
                           "Rec not Found in sources d_IDNum:none d_RevenueID:10 d_RefNum:Rn d_ItemId:20",
                           "",
                           "Not Found",
                           "not found",
                           "Rec not Found in sources d_IDNum: d_RevenueID: d_RefNum: d_ItemId:",
                           "",
                           "Done."};
    EXPECT_EQ(log.mid(log.size() - tail.size()), tail);
    EXPECT_EQ(control<QProgressBar>("ProgressBar1")->maximum(), 500);
    EXPECT_EQ(control<QProgressBar>("ProgressBar1")->value(), 11);
}

// Unticked, chkLog keeps the rows out of the log; the end of the run is still shown.
TEST_F(FixTransDateTest, anEmptyConditionBecomesAllRowsAndStopDoesNotEndTheRun) {
    control<QLineEdit>("txtWhere")->setText(QString());
    control<QCheckBox>("chkLog")->setChecked(false);
    m_window->cmdStop_Click();
    run();
    EXPECT_EQ(control<QLineEdit>("txtWhere")->text(), QStringLiteral("1=1"));
    EXPECT_EQ(
        m_server->statements().filter(QStringLiteral("FOR SELECT * FROM Billing..tbBill WHERE 1=1")).size(),
        1);
    EXPECT_EQ(updates().size(), 9);
    EXPECT_EQ(control<QPlainTextEdit>("txtLog")->toPlainText().trimmed(), QStringLiteral("Done."));
}

TEST_F(FixTransDateTest, settingsComeBackAtTheNextOpeningAndTheLogCanPutTheNewestOnTop) {
    m_window->txtWhere_DblClick();
    control<QLineEdit>("txtDest")->setText(QStringLiteral("Billing_Jul16..tbBillDailyBill"));
    m_window->close();
    EXPECT_EQ(m_settings->getSetting(QStringLiteral("TDate"), QStringLiteral("txtWhere")),
              Statements::resumeWhere);
    openWindow();
    EXPECT_EQ(control<QLineEdit>("txtDest")->text(), QStringLiteral("Billing_Jul16..tbBillDailyBill"));
    EXPECT_EQ(control<QLineEdit>("txtWhere")->text(), Statements::resumeWhere);
    m_window->WriteLog(QStringLiteral("a"), true);
    m_window->WriteLog(QStringLiteral("b"), false);
    EXPECT_EQ(control<QPlainTextEdit>("txtLog")->toPlainText(), QStringLiteral("b\n\na"));
}

// The repaired date is written back with every digit its type holds: one row, whose date
// method 0 finds in a column of the same type as the damaged table's TransDate.
struct DateCase {
    const char* type;
    const char* found; // as the backup holds it
    const char* sent;  // the UPDATE's first parameter
};

void PrintTo(const DateCase& date, std::ostream* out) {
    *out << date.type << ' ' << (date.found ? date.found : "NULL");
}

class RepairedDateTest : public FixTransDateTest, public ::testing::WithParamInterface<DateCase> {
protected:
    QByteArray scenarioJson() const override {
        const QString type = QLatin1String(GetParam().type);
        const QJsonValue found =
            GetParam().found ? QJsonValue(QLatin1String(GetParam().found)) : QJsonValue();
        const QJsonArray method0{
            rule("exact", Statements::methodQuery(0, backup, TransDateKeys::of("I0", "R0", 10, 20)),
                 answer(QJsonArray{"d:" + type}, QJsonArray{QJsonArray{found}}))};
        return withTable(method0, type, QJsonArray{QJsonArray{"I0", 10, 20, "R0", "2020-07-17", 0}}, 1);
    }
};

TEST_P(RepairedDateTest, keepsEveryDigitOfItsType) {
    run();
    EXPECT_EQ(updates(), QStringList{QStringLiteral("[%1,0]").arg(QLatin1String(GetParam().sent))});
}

INSTANTIATE_TEST_SUITE_P(
    DateTypes, RepairedDateTest,
    ::testing::Values(
        DateCase{"datetime2(7)", "2020-07-01 08:00:00.1234567", "\"2020-07-01T08:00:00.1234567\""},
        DateCase{"datetime2(7)", "9999-12-31 23:59:59.9999999", "\"9999-12-31T23:59:59.9999999\""},
        DateCase{"datetime", "2020-07-01 08:00:00.997", "\"2020-07-01T08:00:00.9970000\""},
        DateCase{"datetime", "1753-01-01 00:00:00", "\"1753-01-01T00:00:00.0000000\""},
        DateCase{"smalldatetime", "2079-06-06 23:59:00", "\"2079-06-06T23:59:00.0000000\""},
        DateCase{"date", "2020-02-29", "\"2020-02-29\""}, DateCase{"datetime", nullptr, "null"}),
    [](const auto& testInfo) { return "case" + std::to_string(testInfo.index); });

} // namespace

} // namespace qormin::test
