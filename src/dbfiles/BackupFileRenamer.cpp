#include "dbfiles/BackupFileRenamer.h"

#include "controls/FileListBox.h"
#include "db/ServerAccess.h"
#include "dbfiles/BackupFileNames.h"
#include "platform/FileSystemService.h"
#include "window/MainWindowContext.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QStringList>

namespace qormin::dbfiles {

namespace {

QStringList namesOf(const controls::FileListBox& files) {
    QStringList names;
    for (int index = 0; index < files.ListCount(); ++index)
        names.append(files.List(index));
    return names;
}

} // namespace

BackupFileRenamer::BackupFileRenamer(window::MainWindowContext& context) : m_context(context) {}

void BackupFileRenamer::cmdRename_Click() {
    const QString server = m_context.txtServer(0)->text();
    // The folder is the share path with an empty file name, so the two texts stay one rule.
    const QString folder = BackupFileNames::serverBackupPath(server, QString());
    for (const QString& name : namesOf(*m_context.File1()))
        rename(folder, name, BackupFileNames::withoutDateSuffix(name));
    m_context.File1()->Refresh();
}

void BackupFileRenamer::cmdRenameDir_Click(const QString& separator) {
    QLineEdit* restoreDir = m_context.txtRestoreDir();
    const QString folder = BackupFileNames::withTrailingBackslash(restoreDir->text());
    if (folder != restoreDir->text())
        restoreDir->setText(folder);
    for (const QString& name : namesOf(*m_context.File2()))
        rename(folder, name, BackupFileNames::withoutSeparatorSuffix(name, separator));
    m_context.File2()->Refresh();
}

void BackupFileRenamer::rename(const QString& folder, const QString& fileName,
                               const std::optional<QString>& newName) {
    if (!newName) {
        log(QStringLiteral("skipped ") + fileName + QStringLiteral(": nothing to cut from the name"));
        return;
    }
    const QString from = folder + fileName;
    const QString to = folder + *newName;
    if (m_context.fileSystem().renameFile(from, to)) {
        log(QStringLiteral("renamed ") + from + QStringLiteral(" to ") + *newName);
        return;
    }
    log(QStringLiteral("could not rename ") + from + QStringLiteral(" to ") + *newName +
        QStringLiteral(": ") + failureReason(from, to));
}

QString BackupFileRenamer::failureReason(const QString& from, const QString& to) const {
    const platform::FileSystemService& files = m_context.fileSystem();
    if (!QFileInfo::exists(files.localPath(from)))
        return QStringLiteral("the file is gone");
    if (QFileInfo::exists(files.localPath(to)))
        return QStringLiteral("a file of that name exists");
    return QStringLiteral("the folder refused it");
}

void BackupFileRenamer::log(const QString& text) {
    m_context.serverAccess().LogMessage(text);
}

} // namespace qormin::dbfiles
