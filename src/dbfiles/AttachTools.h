#pragma once

#include "db/NameGuard.h"

#include <QString>
#include <QStringList>
#include <functional>

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

class BackupFileCopier;

// Attach, detach and drop on the right server, and the copy of backups from the left share to
// the right one. The left server's databases are never dropped.
class AttachTools {
public:
    // makeOnline: the mirroring tools' cmdMakeOnline_Click, which drop-all runs before each drop.
    AttachTools(window::MainWindowContext& context, BackupFileCopier& copier,
                std::function<void(int side)> makeOnline);

    void cmdAttachAll_Click();
    void cmdDetachAll_Click();
    void cmdDrop_Click(int index);
    void cmdDropAll_Click(int index);
    void cmdCopy_Click(int index);

private:
    void copyBackupsOfTxtDB();
    using Position = db::NameGuard::Position;
    bool admitted(Position position, std::initializer_list<QString> names);
    void yieldToEventLoop();

    window::MainWindowContext& m_context;
    BackupFileCopier& m_copier;
    std::function<void(int)> m_makeOnline;
};

} // namespace qormin::dbfiles
