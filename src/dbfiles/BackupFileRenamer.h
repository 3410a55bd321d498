#pragma once

#include <QString>
#include <optional>

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

// Renames dated backup files to <db>.bak so that the restore tools find them. Every file is
// tried; a skipped or failed one is logged with the reason and the pass goes on.
class BackupFileRenamer {
public:
    explicit BackupFileRenamer(window::MainWindowContext& context);

    // File1's names lose everything from "_2015"; the files sit in the left server's share.
    void cmdRename_Click();
    // File2's names lose everything from the separator; the files sit in txtRestoreDir.
    void cmdRenameDir_Click(const QString& separator);

private:
    void rename(const QString& folder, const QString& fileName, const std::optional<QString>& newName);
    QString failureReason(const QString& from, const QString& to) const;
    void log(const QString& text);

    window::MainWindowContext& m_context;
};

} // namespace qormin::dbfiles
