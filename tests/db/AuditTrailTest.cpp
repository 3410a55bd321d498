#include "FakeServerAccessHost.h"
#include "QStringPrinter.h"
#include "SimTestServer.h"

#include "db/AuditTrail.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

using qormin::db::AuditRecord;
using qormin::db::AuditTrail;
using qormin::db::ServerAccess;
using qormin::test::FakeServerAccessHost;
using qormin::test::SimTestServer;

const QByteArray scenario = R"json({
  "login": {"user": "sa", "password": "demo"},
  "rules": [
    {"exact": "UPDATE tbPatient SET x = 1", "response": {"rowCount": 3}},
    {"exact": "DELETE FROM missing", "response": {"error": {"number": 208, "severity": 16, "text": "Invalid object name 'missing'."}}},
    {"exact": "UPDATE slow SET x = 1", "response": {"hang": true}},
    {"exact": "select 1", "response": {"result": {"columns": ["a:int"], "rows": [[1]]}}}
  ]
})json";

QList<QJsonObject> readLines(const QString& path) {
    QFile file(path);
    QList<QJsonObject> lines;
    if (!file.open(QIODevice::ReadOnly))
        return lines;
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (!line.isEmpty())
            lines.append(QJsonDocument::fromJson(line).object());
    }
    return lines;
}

// A run with a change, a refusal, a read, Script only, a cancel and a statement refused while a
// handler is ended: one line for each statement that could change the server, none for the read.
TEST(AuditTrailTest, everyStatementThatCouldChangeTheServerHasExactlyItsLine) {
    const auto server = SimTestServer::fromJson(scenario);
    ASSERT_TRUE(server && server->isRunning());
    FakeServerAccessHost host;
    host.server[0] = server->address();
    host.server[1] = server->address();
    ServerAccess access(host);
    QTemporaryDir folder;
    QStringList failures;
    AuditTrail trail([&host](int side) { return host.server[side]; },
                     [&failures](const QString& problem) { failures.append(problem); });
    trail.setPath(folder.filePath(QStringLiteral("audit.jsonl")));
    access.setAuditSink(&trail);

    access.ExecuteSQL(0, QStringLiteral("USE Billing"));
    access.ExecuteSQL(0, QStringLiteral("UPDATE tbPatient SET x = 1"));
    access.ExecuteSQL(1, QStringLiteral("DELETE FROM missing"));
    QString result;
    access.OpenRecordset(0, QStringLiteral("select 1"), {}, result);
    access.setScriptOnly(true);
    access.ExecuteSQL(1, QStringLiteral("DROP TABLE tbOld"));
    access.setScriptOnly(false);
    QTimer poll; // cancels once the server holds the statement
    QObject::connect(&poll, &QTimer::timeout, &access, [&server, &access] {
        if (server->statements().contains(QStringLiteral("UPDATE slow SET x = 1")))
            access.cancelRunningStatement();
    });
    poll.start(5);
    access.ExecuteSQL(0, QStringLiteral("UPDATE slow SET x = 1"));
    poll.stop();
    access.refuseNewStatements(true);
    access.ExecuteSQL(0, QStringLiteral("UPDATE late SET x = 1"));

    struct Expected {
        const char* side;
        const char* database;
        const char* statement;
        const char* outcome;
        const char* error;
        int rows; // -1: not known
    };
    const Expected expected[] = {
        {"left", "Billing", "UPDATE tbPatient SET x = 1", "done", nullptr, 3},
        {"right", "master", "DELETE FROM missing", "error", "Invalid object name 'missing'.", -1},
        {"right", "master", "DROP TABLE tbOld", "withheld", nullptr, -1},
        {"left", "Billing", "UPDATE slow SET x = 1", "cancelled", "Operation was cancelled", -1},
        {"left", "Billing", "UPDATE late SET x = 1", "cancelled", "Not run (cancelled)", -1},
    };
    const QList<QJsonObject> lines = readLines(trail.path());
    ASSERT_EQ(lines.size(), std::size(expected));
    const QRegularExpression utc(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z$"));
    for (qsizetype index = 0; index < lines.size(); ++index) {
        const QJsonObject& line = lines[index];
        const Expected& want = expected[index];
        EXPECT_TRUE(utc.match(line[QStringLiteral("time")].toString()).hasMatch()) << index;
        EXPECT_FALSE(line[QStringLiteral("user")].toString().isEmpty());
        EXPECT_TRUE(line.contains(QStringLiteral("host")));
        EXPECT_EQ(line[QStringLiteral("side")].toString(), QLatin1String(want.side)) << index;
        EXPECT_EQ(line[QStringLiteral("server")].toString(), server->address()) << index;
        EXPECT_EQ(line[QStringLiteral("database")].toString(), QLatin1String(want.database)) << index;
        EXPECT_EQ(line[QStringLiteral("statement")].toString(), QLatin1String(want.statement)) << index;
        EXPECT_EQ(line[QStringLiteral("outcome")].toString(), QLatin1String(want.outcome)) << index;
        EXPECT_EQ(line[QStringLiteral("error")].toString(), QLatin1String(want.error)) << index;
        const QJsonValue rows = line[QStringLiteral("rows")];
        EXPECT_EQ(rows.isNull() ? -1 : rows.toInt(), want.rows) << index;
    }
    EXPECT_TRUE(failures.isEmpty()) << failures.join(u'\n').toStdString();
}

// Lines of several sizes against a small limit: every line whole, in order, in exactly one file,
// and no file past the limit.
TEST(AuditTrailTest, rotationKeepsEveryLine) {
    QTemporaryDir folder;
    AuditTrail trail({}, {});
    trail.setPath(folder.filePath(QStringLiteral("audit.jsonl")));
    constexpr qint64 limit = 1000;
    trail.setRotationBytes(limit);
    constexpr int count = 40;
    for (int index = 0; index < count; ++index) {
        AuditRecord record;
        record.statement =
            QStringLiteral("DELETE FROM t WHERE id = %1 -- %2").arg(index).arg(QString(index * 3, u'x'));
        trail.record(record);
    }
    QStringList statements;
    const QStringList files = QDir(folder.path()).entryList({QStringLiteral("audit.jsonl*")}, QDir::Files);
    for (qsizetype number = files.size() - 1; number >= 0; --number) {
        const QString name = folder.filePath(QStringLiteral("audit.jsonl")) +
                             (number == 0 ? QString() : u'.' + QString::number(number));
        EXPECT_LE(QFileInfo(name).size(), limit) << name.toStdString();
        for (const QJsonObject& line : readLines(name))
            statements.append(line[QStringLiteral("statement")].toString());
    }
    EXPECT_GT(files.size(), 3);
    ASSERT_EQ(statements.size(), count);
    for (int index = 0; index < count; ++index)
        EXPECT_TRUE(statements[index].startsWith(QStringLiteral("DELETE FROM t WHERE id = %1 ").arg(index)));
}

} // namespace
