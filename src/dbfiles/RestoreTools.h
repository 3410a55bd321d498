#pragma once

#include "db/NameGuard.h"

#include "dbfiles/RestoreFile.h"

#include <QList>
#include <QString>

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

class ProgressWatch;

// The restore handlers: restores to a side, restores to the left server from the shared
// folder or a source folder, and the file list that every restore reads first.
class RestoreTools {
public:
    RestoreTools(window::MainWindowContext& context, ProgressWatch& watch);

    void cmdRestoreFileList_Click(int index);
    // Upper-cases databaseName, as callers have always seen it; pass a copy to keep a name.
    QString GetRestoreDrive(QString& databaseName, int side) const;
    void cmdRestore_Click(int index);
    void RestoreToMain();
    void cmdRestoreMain_Click();
    void File1_DblClick();
    void cmdRestoretoMain_Click();

    // RestoreFiles: the files of the backup read last.
    const QList<RestoreFile>& RestoreFiles() const { return m_restoreFiles; }
    int RestoreFileCount() const { return static_cast<int>(m_restoreFiles.size()); }

private:
    // False (and a log line) when a name may not go into a statement: the step is skipped.
    using Position = db::NameGuard::Position;
    bool admitted(Position position, std::initializer_list<QString> names);
    // False when the list cannot be used: a refused name (logged), in txtDB or in the list.
    bool readFileList(int index);
    void restoreDatabase(int index);
    QString restoreDriveFor(const QString& database, int side) const;
    void yieldToEventLoop() const;
    // chkStop ends a restore-to-main pass and is cleared for the next one.
    bool takeStopRequest();
    // The restore statement, watched; returns whether it succeeded.
    bool restore(int side, const QString& sql, const QString& database);

    window::MainWindowContext& m_context;
    ProgressWatch& m_watch;
    QList<RestoreFile> m_restoreFiles;
};

} // namespace qormin::dbfiles
