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
    // CHECKDB and the figures of the restored copy; nothing with the failed step's line written.
    std::optional<DrillFigures> checkAndCount(int side, const QString& database, const QString& scratch,
                                              RunLogRecorder& record);
    bool scratchExists(int side, const QString& scratch);
    // Drops the scratch database when it is there (a restore refused half-way may have left it);
    // false when the drop failed.
    bool dropIfCreated(int side, const QString& scratch, bool surelyCreated);
    void fail(int side, const QString& database, const QString& step, const QString& error,
              RunLogRecorder& record);
    QString drillFolder(int side) const;

    window::MainWindowContext& m_context;
    RestoreTools& m_restore;
    ProgressWatch& m_watch;
    std::array<QLineEdit*, 2> m_drillFolder{};
};

} // namespace qormin::dbfiles
