#include "dbfiles/RunLog.h"

#include <QFile>
#include <QFileInfo>

namespace qormin::dbfiles {

namespace {

const QString lineEnd = QStringLiteral("\r\n");

QString stamp(const QDateTime& time) {
    return time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString seconds(const QDateTime& start, const QDateTime& end) {
    return QString::number(static_cast<double>(start.msecsTo(end)) / 1000.0, 'f', 1);
}

} // namespace

QString RunLog::fileName() {
    return QStringLiteral("backup-runs.csv");
}

QString RunLog::header() {
    return QStringLiteral("start,end,duration_s,operation,database,file,result,error");
}

QString RunLog::csvField(const QString& text) {
    const bool plain = !text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"')) &&
                       !text.contains(QLatin1Char('\n')) && !text.contains(QLatin1Char('\r')) &&
                       text.trimmed() == text;
    if (plain)
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString RunLog::csvLine(const RunLogLine& line) {
    const QStringList fields{stamp(line.start), stamp(line.end), seconds(line.start, line.end),
                             line.operation,    line.database,   line.files.join(QStringLiteral("; ")),
                             line.result,       line.error};
    QStringList quoted;
    for (const QString& field : fields)
        quoted.append(csvField(field));
    return quoted.join(QLatin1Char(','));
}

bool RunLog::append(const QString& path, const RunLogLine& line, QString& error) {
    QFile file(path);
    const bool isNew = !QFileInfo::exists(path) || QFileInfo(path).size() == 0;
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        error = file.errorString();
        return false;
    }
    const QString text = (isNew ? header() + lineEnd : QString()) + csvLine(line) + lineEnd;
    if (file.write(text.toUtf8()) < 0 || !file.flush()) {
        error = file.errorString();
        return false;
    }
    return true;
}

} // namespace qormin::dbfiles
