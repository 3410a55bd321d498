#pragma once

#include "dbfiles/DatabaseFileConfirmations.h"

#include <QObject>
#include <memory>

class QCheckBox;
class QLineEdit;
class QPushButton;
class QBoxLayout;

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

class AttachTools;
class BackupFileCopier;
class BackupFileRenamer;
class BackupTools;
class MirroringPage;
class MirroringTools;
class ProgressWatch;
class RestoreDrill;
class RestoreTools;

// The backup, recovery-model and restore buttons of the main window, wired to their handlers.
// Lives as long as the window (it is a child of the first page).
class DatabaseFileTools : public QObject {
    Q_OBJECT
public:
    explicit DatabaseFileTools(window::MainWindowContext& context);
    ~DatabaseFileTools() override;

    BackupTools& backupTools() { return *m_backup; }
    RestoreTools& restoreTools() { return *m_restore; }
    AttachTools& attachTools() { return *m_attach; }
    MirroringTools& mirroringTools() { return *m_mirroring; }
    BackupFileCopier& copier() { return *m_copier; }
    QLineEdit* txtSeparator() const { return m_txtSeparator; }
    ProgressWatch& progressWatch() { return *m_watch; }

private:
    void addSideButtons(int side);
    void addMainToolsButtons();
    void addChecksumBox(QBoxLayout* row);
    void addDrillButtons();
    void addRestorePageButtons();
    void addRestoreDirPageControls();
    void addCopyProgress();
    void addDrillFolders();
    void addMirroringPage();
    // txtScript1(index) with the mirroring passwords of the settings in place of their masks.
    QString mirroringScript(int index) const;
    QPushButton* addButton(QBoxLayout* layout, const QString& name, const QString& caption);

    window::MainWindowContext& m_context;
    DatabaseFileConfirmations m_confirm;
    ProgressWatch* m_watch;
    QCheckBox* m_chkChecksum = nullptr;
    std::unique_ptr<BackupTools> m_backup;
    std::unique_ptr<RestoreTools> m_restore;
    std::unique_ptr<RestoreDrill> m_drill;
    std::unique_ptr<BackupFileRenamer> m_renamer;
    BackupFileCopier* m_copier;
    std::unique_ptr<AttachTools> m_attach;
    std::unique_ptr<MirroringTools> m_mirroring;
    MirroringPage* m_mirroringPage = nullptr;
    QLineEdit* m_txtSeparator = nullptr;
};

// Called once by the window while it assembles its pages.
void installDatabaseFileTools(window::MainWindowContext& context);

} // namespace qormin::dbfiles
