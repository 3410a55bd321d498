#include "dbfiles/RunLogRecorder.h"

#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "platform/SettingsStore.h"
#include "window/MainWindowContext.h"

#include <QDir>
#include <QFileInfo>

namespace qormin::dbfiles {

namespace {
const QString succeededText = QStringLiteral("OK");
const QString failedText = QStringLiteral("failed");
const QString withheldText = QStringLiteral("script only");
} // namespace

RunLogRecorder::RunLogRecorder(window::MainWindowContext& context, QString operation, QString database)
    : m_context(context), m_skipped(context.serverAccess().inHeaderRowPass()) {
    m_line.operation = std::move(operation);
    m_line.database = std::move(database);
    m_line.start = QDateTime::currentDateTime();
}

RunLogRecorder::~RunLogRecorder() {
    if (m_skipped || m_line.result.isEmpty())
        return;
    m_line.end = QDateTime::currentDateTime();
    QString error;
    if (!RunLog::append(path(m_context), m_line, error)) {
        // The pass itself went well or not regardless; the operator should know the log did not.
        m_context.serverAccess().log().prepend(QStringLiteral("could not write the run log: ") + error);
    }
}

void RunLogRecorder::add(const QString& file, bool succeeded) {
    db::ServerAccess& access = m_context.serverAccess();
    m_line.files.append(file);
    if (!succeeded && m_line.result != failedText) {
        m_line.result = failedText;
        m_line.error = access.lastError();
    } else if (m_line.result.isEmpty()) {
        m_line.result = access.scriptOnly() ? withheldText : succeededText;
    }
}

void RunLogRecorder::fail(const QString& error) {
    if (m_line.result == failedText)
        return;
    m_line.result = failedText;
    m_line.error = error;
}

QString RunLogRecorder::path(window::MainWindowContext& context) {
    const QFileInfo settings(context.settings().location());
    const QString folder = settings.isFile() ? settings.absolutePath() : context.dataDirectory();
    return QDir(folder).filePath(RunLog::fileName());
}

} // namespace qormin::dbfiles
