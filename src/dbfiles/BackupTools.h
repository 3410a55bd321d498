#pragma once

#include "db/NameGuard.h"

#include <QString>
#include <functional>

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

class ProgressWatch;

// The backup tab's handlers: backups, recovery models and user modes, for txtDB or, with
// chkALL ticked, for every row of a side's database grid.
class BackupTools {
public:
    // withChecksum: whether the backups are to carry page checksums (the page's check box).
    BackupTools(window::MainWindowContext& context, ProgressWatch& watch, std::function<bool()> withChecksum);

    void cmdBackup_Click(int index);
    // Reads the backup files cmdBackup writes through, without restoring them.
    void cmdVerify_Click(int index);
    void cmdFullRecovery_Click(int index);
    void cmdMakeSimple_Click(); // always the right server
    void Command1_Click();      // single user, always the left server
    void Command2_Click();      // multi user, always the left server

private:
    // False (and a log line) when a name may not go into a statement: the step is skipped.
    using Position = db::NameGuard::Position;
    bool admitted(Position position, std::initializer_list<QString> names);
    void execute(int side, const QString& sql);
    void openOnLeft(const QString& sql);
    QString database() const;

    window::MainWindowContext& m_context;
    ProgressWatch& m_watch;
    std::function<bool()> m_withChecksum;
};

} // namespace qormin::dbfiles
