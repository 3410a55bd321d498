#include "DatabaseFileFixture.h"

#include "controls/FlexGrid.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "dbfiles/RunLogRecorder.h"
#include "platform/SettingsStore.h"

#include <QFile>
#include <QLineEdit>
#include <QRegularExpression>

namespace qormin::test {

QByteArray DatabaseFileFixture::scenario(const QByteArray& extraRules) {
    return QByteArray(R"json({
  "rules": [)json") +
           extraRules + QByteArray(R"json(
    {"exact": "SELECT name FROM sys.databases where database_id >= 5 order by name ",
     "response": {"result": {"columns": ["name:nvarchar(128)"],
                             "rows": [["Billing"], ["Patient_Data"], ["Station"]]}}},
    {"regex": "^ RESTORE FILELISTONLY  FROM DISK = '.*\\\\(\\w+)\\.bak'",
     "response": {"result": {"columns": ["LogicalName:nvarchar(128)", "PhysicalName:nvarchar(260)"],
                             "rows": [["{1}", "D:\\data\\{1}.mdf"], ["{1}_log", "D:\\data\\{1}_log.ldf"]]}}},
    {"prefix": "RESTORE ", "response": [{"delay": 20}, {"done": {}}]}
  ]
})json");
}

void DatabaseFileFixture::SetUp() {
    m_left = SimTestServer::fromJson(scenario(extraRules()));
    m_right = SimTestServer::fromJson(scenario(extraRules()));
    ASSERT_TRUE(m_left && m_left->isRunning());
    ASSERT_TRUE(m_right && m_right->isRunning());
    m_harness = std::make_unique<WindowHarness>();
    for (int side = 0; side < 2; ++side) {
        const QString index = QString::number(side);
        m_harness->settings().saveSetting(QStringLiteral("MIR"), QStringLiteral("txtServer") + index,
                                          server(side).address());
        m_harness->settings().saveSetting(QStringLiteral("MIR"), QStringLiteral("DB") + index,
                                          QStringLiteral("secret"));
    }
    m_harness->load();
    ASSERT_EQ(window().GridDB(1)->Rows(), 4);
    clearTranscripts();
}

void DatabaseFileFixture::clearTranscripts() {
    m_left->clearTranscript();
    m_right->clearTranscript();
}

void DatabaseFileFixture::run(const QString& script, int exitCode) {
    const BatchResult result = m_harness->runBatch(script);
    ASSERT_EQ(result.exitCode, exitCode) << result.errors.toStdString();
}

void DatabaseFileFixture::whenStatementStartsFor(const QString& database, std::function<void()> action) {
    QObject::connect(&window().serverAccess(), &db::ServerAccess::statementStarted, &window(),
                     [this, database, action](int) {
                         if (window().txtDB()->text() == database)
                             action();
                     });
}

QStringList DatabaseFileFixture::logLines() {
    return window().serverAccess().log().text().split(QStringLiteral("\r\n"));
}

QStringList DatabaseFileFixture::runLogLines() {
    QFile file(dbfiles::RunLogRecorder::path(window()));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QStringLiteral("\r\n"));
    // The times vary from run to run; their form is checked, the rest is compared.
    static const QRegularExpression times(
        QStringLiteral(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d,\d{4}-\d\d-\d\d \d\d:\d\d:\d\d,\d+\.\d,)"));
    for (qsizetype index = 1; index < lines.size(); ++index) {
        if (lines[index].isEmpty())
            continue;
        EXPECT_TRUE(times.match(lines[index]).hasMatch()) << lines[index].toStdString();
        lines[index].replace(times, QString());
    }
    return lines;
}

} // namespace qormin::test
