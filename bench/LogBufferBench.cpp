// Logging 100,000 and 200,000 lines: straight into the LogBuffer, and through LogMessage
// (which also yields to the event loop per line). Prints time and the memory the lines take;
// linear cost shows as ratios near 2.
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTextStream>

namespace {

class QuietHost : public qormin::db::ServerAccessHost {
public:
    QString serverText(int) const override { return {}; }
    QString userText(int) const override { return {}; }
    QString passwordText(int) const override { return {}; }
    void showConnectError(const QString&) override {}
    void setBusyCursor(bool) override {}
};

// Resident memory in kB (Linux); 0 elsewhere.
qint64 residentKilobytes() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) {
            return line.mid(6).trimmed().split(' ').front().toLongLong();
        }
    }
    return 0;
}

QString lineNumber(int index) {
    return QStringLiteral("RESTORE DATABASE Patient_Data FROM DISK = 'X:\\Patient_Data.BAK' -- line ") +
           QString::number(index);
}

struct Figures {
    double seconds = 0;
    qint64 kilobytes = 0;
};

Figures intoBuffer(int lines) {
    const qint64 before = residentKilobytes();
    qormin::db::LogBuffer buffer;
    QElapsedTimer clock;
    clock.start();
    for (int index = 0; index < lines; ++index) {
        buffer.prepend(lineNumber(index));
    }
    const double seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    const qint64 after = residentKilobytes();
    const auto size = buffer.text().size(); // the exact text is still one pass
    Q_UNUSED(size);
    return {seconds, after - before};
}

Figures throughLogMessage(int lines) {
    const qint64 before = residentKilobytes();
    QuietHost host;
    qormin::db::ServerAccess access(host);
    QElapsedTimer clock;
    clock.start();
    for (int index = 0; index < lines; ++index) {
        access.LogMessage(lineNumber(index));
    }
    const double seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    return {seconds, residentKilobytes() - before};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    for (const auto& [name, run] :
         {std::pair{"LogBuffer::prepend", &intoBuffer}, std::pair{"LogMessage", &throughLogMessage}}) {
        const Figures small = run(100000);
        const Figures large = run(200000);
        out << name << ": 100,000 lines " << small.seconds << " s, +" << small.kilobytes
            << " kB; 200,000 lines " << large.seconds << " s, +" << large.kilobytes << " kB; time ratio "
            << large.seconds / small.seconds << "\n";
    }
    return 0;
}
