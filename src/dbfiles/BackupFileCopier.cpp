#include "dbfiles/BackupFileCopier.h"

#include "db/ServerAccess.h"
#include "dbfiles/FileCopyRunner.h"
#include "platform/FileSystemService.h"
#include "window/MainWindowContext.h"

namespace qormin::dbfiles {

namespace {

QString withoutTrailingBlanks(QString path) {
    while (path.endsWith(QLatin1Char(' ')))
        path.chop(1);
    return path;
}

} // namespace

BackupFileCopier::BackupFileCopier(window::MainWindowContext& context, QObject* parent)
    : QObject(parent), m_context(context), m_runner(new FileCopyRunner(this)) {}

QString BackupFileCopier::localName(const QString& path) const {
    return m_context.fileSystem().localPath(withoutTrailingBlanks(path));
}

BackupFileCopier::Outcome BackupFileCopier::copy(const CopyOrder& order) {
    const QString names = order.from + QStringLiteral(" to ") + order.to;
    if (m_context.serverAccess().scriptOnly()) {
        log(QStringLiteral("Not copied (script only): ") + names);
        return Outcome::Listed;
    }
    const QString source = localName(order.from);
    const QString target = localName(order.to);
    if (source.isEmpty() || target.isEmpty()) {
        log(QStringLiteral("could not copy ") + names + QStringLiteral(": the folder cannot be found here"));
        return Outcome::Failed;
    }
    log(QStringLiteral("Copying ") + names);
    const platform::FileCopyOutcome outcome = m_runner->copy(source, target);
    using Result = platform::FileCopyOutcome::Result;
    switch (outcome.result) {
    case Result::Copied:
        return Outcome::Copied;
    case Result::SourceMissing:
        log(QStringLiteral("not copied, the file is missing: ") + order.from);
        return Outcome::Missing;
    case Result::Cancelled:
        log(QStringLiteral("Copy cancelled, ") + order.to + QStringLiteral(" left as it was"));
        return Outcome::Cancelled;
    case Result::Failed:
        break;
    }
    log(QStringLiteral("could not copy ") + names + QStringLiteral(": ") +
        QString::fromStdString(outcome.reason));
    return Outcome::Failed;
}

void BackupFileCopier::log(const QString& line) {
    m_context.serverAccess().LogMessage(line);
}

} // namespace qormin::dbfiles
