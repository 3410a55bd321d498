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
    static constexpr int defaultDropAllNoticeMilliseconds = 5000;

    // makeOnline: the mirroring tools' cmdMakeOnline_Click, which drop-all runs before each drop.
    AttachTools(window::MainWindowContext& context, BackupFileCopier& copier,
                std::function<void(int side)> makeOnline);

    void cmdAttachAll_Click();
    void cmdDetachAll_Click();
    void cmdDrop_Click(int index);
    void cmdDropAll_Click(int index);
    void cmdCopy_Click(int index);

    // How long drop-all shows what it is about to do before it starts (STOP then ends it).
    void setDropAllNoticeMilliseconds(int milliseconds) { m_dropAllNotice = milliseconds; }

private:
    void copyBackupsOfTxtDB();
    // False when STOP was ticked during the notice (or before it): nothing is to be done.
    bool announceDropAll(int index, const QStringList& databases);
    using Position = db::NameGuard::Position;
    bool admitted(Position position, std::initializer_list<QString> names);
    void yieldToEventLoop();

    window::MainWindowContext& m_context;
    BackupFileCopier& m_copier;
    std::function<void(int)> m_makeOnline;
    int m_dropAllNotice = defaultDropAllNoticeMilliseconds;
};

} // namespace qormin::dbfiles
