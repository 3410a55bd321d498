#pragma once

#include "dbfiles/DrillStatements.h"

#include <QString>
#include <array>
#include <optional>

class QLineEdit;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

class ProgressWatch;
class RestoreTools;
class RunLogRecorder;

// The restore drill: proves a backup comes back by restoring it under a scratch name beside the
// original, checking and counting the copy, and dropping it again. Whatever fails, the copy it
// created is dropped; the original is never named by a statement that changes anything.
class RestoreDrill {
public:
    RestoreDrill(window::MainWindowContext& context, RestoreTools& restore, ProgressWatch& watch);

    void cmdRestoreDrill_Click(int index);
    // txtDrillFolder(side) on the Options page; empty means the side's restore folders.
    void setDrillFolderBox(int side, QLineEdit* box) { m_drillFolder.at(static_cast<size_t>(side)) = box; }

private:
    void drill(int side);
    // One database's drill as it goes.
    struct DrillRun {
        int side = 0;
        QString database;
        QString scratch;
        QString fullFile;
        QString logFile; // empty: no log backup to restore
        QString moves;
        bool created = false;
        double seconds = 0;
        QString failedStep;
        QString error;

        std::nullopt_t failed(const QString& step, const QString& text) {
            failedStep = step;
            error = text;
            return std::nullopt;
        }
    };

    // Restore, CHECKDB and the figures of the copy; nothing when a step failed (run says which).
    std::optional<DrillFigures> restoreCheckAndCount(DrillRun& run, RunLogRecorder& record);
    bool scratchExists(int side, const QString& scratch);
    bool dropScratch(const DrillRun& run);
    // False (and a line) when the scratch name is the original's or a database of that name exists.
    bool scratchIsFree(const DrillRun& run);
    // The log backup's file when this machine lists it in the folder; empty otherwise.
    QString logBackupOf(const DrillRun& run, const QString& folder);
    void fail(const DrillRun& run, const QString& step, const QString& error, RunLogRecorder& record);
    static QString linePrefix(const DrillRun& run);
    QString drillFolder(int side) const;

    window::MainWindowContext& m_context;
    RestoreTools& m_restore;
    ProgressWatch& m_watch;
    std::array<QLineEdit*, 2> m_drillFolder{};
};

} // namespace qormin::dbfiles
