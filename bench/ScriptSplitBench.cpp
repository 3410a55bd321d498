// Splitting a large script into batches the way ExecuteScript does: 5 MB and 10 MB of short
// batches. Linear splitting shows as a 10 MB / 5 MB ratio near 2.
#include "db/ScriptSplitter.h"

#include <QElapsedTimer>
#include <QTextStream>

namespace {

QString scriptOfSize(qsizetype bytes) {
    const QString batch =
        QStringLiteral("INSERT INTO Patient_Data..Names (ID, Name) VALUES (1, 'Smith; John');\r\nGO\r\n");
    QString script;
    script.reserve(bytes + batch.size());
    while (script.size() < bytes) {
        script += batch;
    }
    return script;
}

double secondsToSplit(const QString& script, size_t& batches) {
    QElapsedTimer clock;
    clock.start();
    const auto split = qormin::db::splitScript(script);
    batches = split.steps.size();
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

} // namespace

int main() {
    QTextStream out(stdout);
    double seconds[2] = {};
    const qsizetype megabytes[2] = {5, 10};
    for (int index = 0; index < 2; ++index) {
        const QString script = scriptOfSize(megabytes[index] * 1024 * 1024);
        size_t batches = 0;
        seconds[index] = secondsToSplit(script, batches);
        out << "split " << megabytes[index] << " MB (" << batches << " batches): " << seconds[index]
            << " s\n";
    }
    out << "ratio 10 MB / 5 MB: " << seconds[1] / seconds[0] << " (linear: about 2)\n";
    return 0;
}
