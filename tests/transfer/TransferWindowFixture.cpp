#include "TransferWindowFixture.h"

#include "platform/SettingsStore.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>

namespace qormin::test {

namespace {

// Sync Structure reads the first rows with "top" in lower case, the record writer with "TOP".
// tbPatientDocs: ID (identity), the file name at position 8; the row of "scan2" is refused by the
// yearly database. tbLower has a column "id" in lower case and refuses deletes. HISTORY..tbNurseLogBook keeps
// an identity ID, HISTORY..tbstationlogs a plain one.
const QByteArray scenario = R"json({
  "rules": [
    {"caseSensitive": true, "exact": "SELECT top 1 * FROM Patient_Files..tbPatientDocs", "response": {"result": {
      "columns": ["ID:int", "FileName:nvarchar(60)", "Pages:int", "Scanned:datetime", "Kind:char(4)",
                  "Fee:money", "Stamp:datetime2(7)"],
      "rows": [[1, "a.pdf", 2, "2020-01-01", "PHIC", "12.34", "2020-02-29 23:59:59.1234567"]]}}},
    {"caseSensitive": true, "exact": "SELECT top 1 * FROM Patient_Files_2020..tbPatientDocs", "response": {"result": {
      "columns": ["id:int", "Pages:int"], "rows": []}}},
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"], "rows": [["Patient_Files"]]}}},
    {"regex": "^SELECT top \\d+ \\* FROM Patient_Files\\.\\.tbPatientDocs WHERE", "response": {"result": {
      "columns": [{"name": "ID", "type": "int", "identity": true}, "PatientID:int", "DocType:varchar(20)",
                  "ConversionTime:datetime", "Pages:int", "Scanner:varchar(20)", "Notes:varchar(50)", "Size:int",
                  "FileName:varchar(50)"],
      "rows": [[11, 501, "PHIC Docs", "2020-01-05 08:00:00", 2, "S1", null, 100, "scan1.pdf"],
               [12, 502, "PHIC Docs", "2020-02-06 09:00:00", 1, "S1", "x", 200, "scan2.tif.bak"],
               [13, 503, "PHIC Docs", "2020-03-07 10:00:00", 3, "S2", null, 300, "scan3"]]}}},
    {"exact": "SELECT TOP 1 * FROM Patient_Files_2020..tbPatientDocs", "response": {"result": {
      "columns": [{"name": "ID", "type": "int", "identity": true}, "PatientID:int", "DocType:varchar(20)",
                  "ConversionTime:datetime", "Pages:int", "Scanner:varchar(20)", "Notes:varchar(50)", "Size:int",
                  "FileName:varchar(50)"], "rows": []}}},
    {"exact": "SELECT TOP 1 * FROM Patient_Files_2020..tbLower", "response": {"result": {
      "columns": ["id:int", "PatientID:int", "DocType:varchar(20)", "ConversionTime:datetime", "Pages:int",
                  "Scanner:varchar(20)", "Notes:varchar(50)", "Size:int", "FileName:varchar(50)"], "rows": []}}},
    {"prefix": "INSERT INTO Patient_Files_2020..tbPatientDocs", "parameters": {"@P8": "scan2.tif.bak"},
     "response": {"error": {"number": 2627, "severity": 14, "text": "Violation of UNIQUE KEY constraint 'uq_file'."}}},
    {"regex": "^SELECT top \\d+ \\* FROM Patient_Files\\.\\.tbLower WHERE", "response": {"result": {
      "columns": ["id:int", "PatientID:int", "DocType:varchar(20)", "ConversionTime:datetime", "Pages:int",
                  "Scanner:varchar(20)", "Notes:varchar(50)", "Size:int", "FileName:varchar(50)"],
      "rows": [[7, 1, "PHIC Docs", "2020-01-01", 1, "S", null, 1, "a.pdf"]]}}},
    {"regex": "^SELECT top \\d+ \\* FROM Station\\.\\.tb(NurseLogBook|stationlogs) WHERE", "response": {"result": {
      "columns": ["ID:int", "RequestDate:datetime", "TransDate:datetime", "Note:nvarchar(20)"],
      "rows": [[1, "2001-01-01", "2001-01-01", "old"], [2, "2002-02-02", "2002-02-02", "older"]]}}},
    {"exact": "SELECT TOP 1 * FROM HISTORY..tbNurseLogBook", "response": {"result": {
      "columns": [{"name": "ID", "type": "int", "identity": true}, "RequestDate:datetime", "TransDate:datetime",
                  "Note:nvarchar(20)"], "rows": []}}},
    {"exact": "SELECT TOP 1 * FROM HISTORY..tbstationlogs", "response": {"result": {
      "columns": ["ID:int", "RequestDate:datetime", "TransDate:datetime", "Note:nvarchar(20)"], "rows": []}}},
    {"exact": "SELECT top 1000 * FROM Station..tbstationlogs", "response": {"result": {
      "columns": ["ID:int", "TransDate:datetime"], "rows": [[1, "2001-01-01"], [2, "2002-02-02"]]}}},
    {"prefix": "DELETE FROM Patient_Files..tbPatientDocs WHERE CURRENT OF", "response": {"rowCount": 1}},
    {"prefix": "DELETE FROM Patient_Files..tbLower", "response": {"error": {"number": 16929, "severity": 16,
      "text": "The cursor is READ ONLY."}}},
    {"regex": "^SELECT top \\d+ \\* FROM Billing\\.\\.tb(Fees|Swallowed) WHERE", "response": {"result": {
      "columns": ["ID:int", "RequestDate:datetime", "Fee:money"],
      "rows": [[1, "2001-01-01", "13.0000"], [2, "2002-02-02", "12.3400"]]}}},
    {"regex": "^SELECT TOP 1 \\* FROM HISTORY\\.\\.tb(Fees|Swallowed)$", "response": {"result": {
      "columns": ["ID:int", "RequestDate:datetime", "Fee:numeric(18,0)"], "rows": []}}},
    {"prefix": "INSERT INTO HISTORY..tbSwallowed", "response": {"rowCount": 0}},
    {"prefix": "DELETE FROM Billing..", "response": {"rowCount": 1}},
    {"prefix": "INSERT INTO ", "response": {"rowCount": 1}}
  ]
})json";

bool isChange(const QString& statement) {
    static const QRegularExpression changing(
        QStringLiteral("^\\s*(INSERT|UPDATE|DELETE|TRUNCATE|DROP|CREATE|ALTER|SELECT \\*  INTO)"),
        QRegularExpression::CaseInsensitiveOption);
    return changing.match(statement).hasMatch();
}

} // namespace

void TransferWindowFixture::SetUp() {
    QJsonObject rules = QJsonDocument::fromJson(scenario).object();
    QJsonArray all = extraRules();
    for (const QJsonValue& rule : rules.value(QLatin1String("rules")).toArray()) {
        all.append(rule);
    }
    rules.insert(QLatin1String("rules"), all);
    m_server = SimTestServer::fromJson(QJsonDocument(rules).toJson());
    ASSERT_TRUE(m_server && m_server->isRunning());
    m_harness = std::make_unique<WindowHarness>();
    m_harness->storeConnection(0, m_server->address(), QStringLiteral("secret"));
    m_harness->load();
    m_server->clearTranscript();
}

BatchResult TransferWindowFixture::run(const QString& script, int exitCode) {
    BatchResult result = m_harness->runBatch(script);
    EXPECT_EQ(result.exitCode, exitCode) << result.errors.toStdString() << result.log.toStdString();
    return result;
}

QStringList TransferWindowFixture::changes() const {
    QStringList found;
    for (const QString& statement : m_server->statements()) {
        if (isChange(statement)) {
            found.append(statement);
        }
    }
    return found;
}

QWidget* TransferWindowFixture::subsidiary(const QString& window) const {
    return m_harness->window().findWindow(window);
}

QStringList TransferWindowFixture::windowLog(const QString& window) const {
    return subsidiary(window)
        ->findChild<QPlainTextEdit*>(QStringLiteral("txtLog"))
        ->toPlainText()
        .split(u'\n');
}

QString TransferWindowFixture::text(const QString& control) const {
    const QStringList parts = control.split(u'.');
    QWidget* widget = subsidiary(parts[0])->findChild<QWidget*>(parts[1]);
    if (auto* box = qobject_cast<QLineEdit*>(widget)) {
        return box->text();
    }
    return qobject_cast<QLabel*>(widget)->text();
}

} // namespace qormin::test
