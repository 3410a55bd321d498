#pragma once

#include <QString>
#include <functional>

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

class AttachTools;
class BackupFileCopier;
class BackupTools;
class RestoreTools;

// The "Mirroring" page's handlers: partner set-up, making copies online, the whole mirroring
// chain, the certificate copies and the set-up, reset and restart scripts. The left server is
// the principal, the right one the mirror.
class MirroringTools {
public:
    // scriptText(index): the text of txtScript1(index) with CR LF line ends.
    MirroringTools(window::MainWindowContext& context, BackupTools& backup, RestoreTools& restore,
                   AttachTools& attach, BackupFileCopier& copier, std::function<QString(int)> scriptText);

    void cmdSetPartner_Click(int index);
    void cmdMakeOnline_Click(int index);
    void cmdMirrorAll_Click(int index);
    void cmdCopyCert_Click(int index);
    // Indices 0 to 3 run their script; 4 ("Restart Mirroring") runs nothing.
    void cmdRunScript_Click(int index);
    // Runs the restart script, txtScript1(4), on one server.
    void cmdRestartEndpoint_Click(int side);

private:
    bool scriptConfirmed(int index);
    void runChain(int index);
    void yieldToEventLoop();

    window::MainWindowContext& m_context;
    BackupTools& m_backup;
    RestoreTools& m_restore;
    AttachTools& m_attach;
    BackupFileCopier& m_copier;
    std::function<QString(int)> m_scriptText;
    // The chain hands the side to each handler through this one variable.
    int m_chainSide = 0;
};

} // namespace qormin::dbfiles
