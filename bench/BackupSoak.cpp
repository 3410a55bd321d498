// A night that never ends: the tool in batch mode backs up every database of a server again and
// again (BACKUP DATABASE and BACKUP Log, each answered with a progress stream), while its resident
// memory and open file descriptors are read from /proc. Then the same statements through a raw
// ODBC loop against the same simulator, for the time ratio.
//
// qormin-bench-backup-soak [backups] (default 10000; BACKUP DATABASE statements, each followed
// by its BACKUP Log, so twice as many statements are sent)
#include "BenchSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>

#include <cstdio>

using namespace qormin::bench;

namespace {

constexpr int databaseCount = 100;

QString databaseName(int index) {
    return QStringLiteral("Ward%1").arg(index, 3, 10, QLatin1Char('0'));
}

QJsonObject backupRule(const QString& pattern, const QString& finalText) {
    const QJsonObject progress{{QStringLiteral("progress"),
                                QJsonObject{{QStringLiteral("every"), 10}, {QStringLiteral("pace"), 0}}}};
    const QJsonObject processed{
        {QStringLiteral("info"),
         QJsonObject{{QStringLiteral("number"), 4035},
                     {QStringLiteral("text"),
                      QStringLiteral("Processed 1234 pages for database '{1}', file '{1}' on file 1.")}}}};
    const QJsonObject finished{{QStringLiteral("info"), QJsonObject{{QStringLiteral("number"), 3014},
                                                                    {QStringLiteral("text"), finalText}}}};
    return QJsonObject{{QStringLiteral("regex"), pattern},
                       {QStringLiteral("response"), QJsonArray{progress, processed, finished}}};
}

QByteArray scenario() {
    QJsonArray names;
    QJsonArray rows;
    for (int index = 1; index <= databaseCount; ++index) {
        names.append(databaseName(index));
        rows.append(QJsonArray{databaseName(index)});
    }
    const QJsonObject list{
        {QStringLiteral("exact"),
         QStringLiteral("SELECT name FROM sys.databases where database_id >= 5 order by name ")},
        {QStringLiteral("response"),
         QJsonObject{
             {QStringLiteral("result"),
              QJsonObject{{QStringLiteral("columns"), QJsonArray{QStringLiteral("name:nvarchar(128)")}},
                          {QStringLiteral("rows"), rows}}}}}};
    const QJsonArray rules{
        list,
        backupRule(
            QStringLiteral("^BACKUP DATABASE (\\w+)"),
            QStringLiteral(
                "BACKUP DATABASE successfully processed 1234 pages in 0.100 seconds (96.406 MB/sec).")),
        backupRule(
            QStringLiteral("^BACKUP Log +(\\w+)"),
            QStringLiteral("BACKUP LOG successfully processed 12 pages in 0.010 seconds (9.375 MB/sec)."))};
    const QJsonObject root{
        {QStringLiteral("login"), QJsonObject{{QStringLiteral("user"), QStringLiteral("sa")},
                                              {QStringLiteral("password"), QStringLiteral("demo")}}},
        {QStringLiteral("databases"), names},
        {QStringLiteral("rules"), rules}};
    return QJsonDocument(root).toJson(QJsonDocument::Compact);
}

// Each pass of "ALL DBS" backs up the header row's name too, as the tool always has.
QByteArray batchFile(const QString& server, int passes) {
    QByteArray text = QStringLiteral("set txtServer(0) %1\nset txtUserID(0) sa\nset txtPW(0) demo\n"
                                     "click cmdRefreshDB(0)\nset chkALL 1\n")
                          .arg(server)
                          .toUtf8();
    for (int pass = 0; pass < passes; ++pass) {
        text += "click cmdBackup(0)\n";
    }
    return text;
}

int openDescriptors(qint64 pid) {
    return static_cast<int>(
        QDir(QStringLiteral("/proc/%1/fd").arg(pid)).entryList(QDir::NoDotAndDotDot | QDir::System).size());
}

long residentOf(qint64 pid) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    static const QRegularExpression resident(QStringLiteral("^VmRSS:\\s+(\\d+)"),
                                             QRegularExpression::MultilineOption);
    const auto match = resident.match(QString::fromLatin1(status.readAll()));
    return match.hasMatch() ? match.captured(1).toLong() : 0;
}

struct Sample {
    int backups = 0;
    long residentKilobytes = 0;
    int descriptors = 0;
};

struct SoakRun {
    std::vector<Sample> samples;
    int exitCode = -1;
    int backupsDone = 0;
    int errors = 0;
    QString summary;
    double seconds = 0;
};

// Counts the BACKUP DATABASE statements the tool has logged so far from its standard output,
// keeping what is left of an unfinished line for the next read.
class OutputCounter {
public:
    void read(const QByteArray& chunk) {
        m_pending += chunk;
        qsizetype end = 0;
        while ((end = m_pending.indexOf('\n')) >= 0) {
            const QByteArray line = m_pending.left(end);
            m_pending.remove(0, end + 1);
            if (line.contains(" log: BACKUP DATABASE ")) {
                ++m_backups;
            } else if (line.contains(" errors: ")) {
                ++m_errors;
            } else if (line.contains(" - summary: ")) {
                m_summary = QString::fromUtf8(line);
            }
        }
    }
    int backups() const { return m_backups; }
    int errors() const { return m_errors; }
    QString summary() const { return m_summary; }

private:
    QByteArray m_pending;
    int m_backups = 0;
    int m_errors = 0;
    QString m_summary;
};

SoakRun runTool(const QString& server, int passes, int sampleEvery) {
    QTemporaryDir folder;
    QFile batch(folder.filePath(QStringLiteral("nightly.txt")));
    batch.open(QIODevice::WriteOnly);
    batch.write(batchFile(server, passes));
    batch.close();
    QProcess tool;
    tool.setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    tool.setProcessEnvironment(environment);
    QElapsedTimer clock;
    clock.start();
    tool.start(QStringLiteral(QORMIN_DBTOOLS_PATH),
               {QStringLiteral("--settings"), folder.filePath(QStringLiteral("settings.ini")),
                QStringLiteral("--data-dir"), folder.path(), QStringLiteral("--batch"), batch.fileName()});
    SoakRun run;
    if (!tool.waitForStarted()) {
        return run;
    }
    const qint64 pid = tool.processId();
    OutputCounter counter;
    int nextSample = 0;
    while (tool.state() != QProcess::NotRunning) {
        tool.waitForReadyRead(20);
        counter.read(tool.readAll());
        if (counter.backups() >= nextSample) {
            const long resident = residentOf(pid);
            if (resident > 0) {
                run.samples.push_back({counter.backups(), resident, openDescriptors(pid)});
            }
            nextSample = counter.backups() + sampleEvery;
        }
    }
    tool.waitForFinished(-1);
    counter.read(tool.readAll());
    run.seconds = secondsSince(clock);
    run.exitCode = tool.exitCode();
    run.backupsDone = counter.backups();
    run.errors = counter.errors();
    run.summary = counter.summary();
    return run;
}

// The same statements through the narrow API, every result and message read to its end.
double rawLoop(const QString& port, int passes) {
    RawConnection raw = connectStatement(odbcConnectionString(port));
    if (!raw.statement) {
        return 0;
    }
    const auto statement = static_cast<SQLHSTMT>(raw.statement.get());
    QStringList names{QStringLiteral("name")};
    for (int index = 1; index <= databaseCount; ++index) {
        names << databaseName(index);
    }
    return secondsOf([&] {
        for (int pass = 0; pass < passes; ++pass) {
            for (const QString& name : names) {
                executeDrained(
                    statement,
                    QStringLiteral("BACKUP DATABASE %1 TO DISK = 'p:\\backup\\MIR\\%1.BAK'   WITH FORMAT")
                        .arg(name));
                executeDrained(
                    statement,
                    QStringLiteral("BACKUP Log  %1 TO DISK = 'p:\\backup\\MIR\\%1_log.BAK'   WITH FORMAT")
                        .arg(name));
            }
        }
    });
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    const int backups = countArgument(argc, argv, 1, 10000);
    const int passes = (backups + databaseCount) / (databaseCount + 1);
    SimProcess sim(QStringLiteral(QORMIN_SIM_PATH));
    if (!sim.start(scenario(), &out)) {
        return 1;
    }
    out << "Backup soak: " << passes << " passes of ALL DBS over " << databaseCount
        << " databases (and the header row), each BACKUP DATABASE and BACKUP Log answered with 10 progress "
           "messages and 2 informational ones\n";
    out.flush();
    const SoakRun run = runTool(sim.server(), passes, std::max(1, backups / 10));
    out << "\nBACKUP DATABASE statements   resident memory   open descriptors\n";
    for (const Sample& sample : run.samples) {
        out << QStringLiteral("%1   %2 kB   %3\n")
                   .arg(sample.backups, 26)
                   .arg(sample.residentKilobytes, 14)
                   .arg(sample.descriptors, 16);
    }
    out << "\nexit status " << run.exitCode << ", BACKUP DATABASE logged " << run.backupsDone
        << ", error lines " << run.errors << ", " << QString::number(run.seconds, 'f', 1) << " s\n"
        << run.summary << '\n';
    if (run.samples.size() >= 3) {
        // The first samples include start-up; memory is compared from the first tenth on.
        const Sample& early = run.samples[1];
        const Sample& last = run.samples.back();
        out << QStringLiteral("memory %1 kB -> %2 kB (ratio %3), descriptors %4 -> %5\n")
                   .arg(early.residentKilobytes)
                   .arg(last.residentKilobytes)
                   .arg(double(last.residentKilobytes) / double(early.residentKilobytes), 0, 'f', 3)
                   .arg(early.descriptors)
                   .arg(last.descriptors);
    }
    out.flush();
    const double raw = rawLoop(sim.port(), passes);
    out << QStringLiteral("raw ODBC loop, the same %1 statements: %2 s; time ratio tool / raw %3\n")
               .arg(passes * (databaseCount + 1) * 2)
               .arg(raw, 0, 'f', 1)
               .arg(raw > 0 ? run.seconds / raw : 0.0, 0, 'f', 2);
    return run.exitCode == 0 ? 0 : 1;
}
