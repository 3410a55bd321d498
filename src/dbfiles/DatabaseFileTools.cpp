#include "dbfiles/DatabaseFileTools.h"

#include "controls/FileListBox.h"
#include "dbfiles/AttachTools.h"
#include "dbfiles/BackupFileCopier.h"
#include "dbfiles/BackupFileRenamer.h"
#include "dbfiles/BackupTools.h"
#include "dbfiles/CopyProgressPanel.h"
#include "dbfiles/MirroringPage.h"
#include "dbfiles/MirroringStatements.h"
#include "dbfiles/MirroringTools.h"
#include "dbfiles/ProgressWatch.h"
#include "dbfiles/RestoreDrill.h"
#include "dbfiles/RestoreTools.h"
#include "platform/BuiltInSecrets.h"
#include "platform/SettingsStore.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace qormin::dbfiles {

namespace {

constexpr int mainToolsPage = window::Tab::MainTools;
constexpr int restorePage = window::Tab::Restore;
constexpr int restoreDirPage = window::Tab::RestoreDir;
constexpr int mirroringPage = window::Tab::Mirroring;
constexpr int optionsPage = window::Tab::Options;
const QString mainSection = QStringLiteral("MAIN");
const QString checksumKey = QStringLiteral("chkChecksum");

QString indexed(const char* name, int side) {
    return QString::fromLatin1(name) + QLatin1Char('(') + QString::number(side) + QLatin1Char(')');
}

} // namespace

DatabaseFileTools::DatabaseFileTools(window::MainWindowContext& context)
    : QObject(context.page(mainToolsPage)), m_context(context), m_confirm(context),
      m_watch(new ProgressWatch(context, this)),
      m_backup(std::make_unique<BackupTools>(
          context, *m_watch, [this] { return m_chkChecksum != nullptr && m_chkChecksum->isChecked(); })),
      m_restore(std::make_unique<RestoreTools>(context, *m_watch)),
      m_drill(std::make_unique<RestoreDrill>(context, *m_restore, *m_watch)),
      m_renamer(std::make_unique<BackupFileRenamer>(context)), m_copier(new BackupFileCopier(context, this)),
      m_attach(std::make_unique<AttachTools>(context, *m_copier,
                                             [this](int side) { m_mirroring->cmdMakeOnline_Click(side); })) {
    setObjectName(QStringLiteral("DatabaseFileTools"));
    addMirroringPage();
    for (int side = 0; side < window::MainWindowContext::sideCount; ++side)
        addSideButtons(side);
    addMainToolsButtons();
    addRestorePageButtons();
    addRestoreDirPageControls();
    addCopyProgress();
    addDrillFolders();
}

DatabaseFileTools::~DatabaseFileTools() = default;

void DatabaseFileTools::addSideButtons(int side) {
    QBoxLayout* buttons = m_context.sideButtons(side);
    connect(addButton(buttons, indexed("cmdBackup", side), tr("Backup")), &QPushButton::clicked, this,
            [this, side] { m_backup->cmdBackup_Click(side); });
    connect(addButton(buttons, indexed("cmdVerify", side), tr("Verify")), &QPushButton::clicked, this,
            [this, side] { m_backup->cmdVerify_Click(side); });
    connect(addButton(buttons, indexed("cmdFullRecovery", side), tr("Full Recovery Mode")),
            &QPushButton::clicked, this, [this, side] { m_backup->cmdFullRecovery_Click(side); });
    connect(addButton(buttons, indexed("cmdRestoreFileList", side), tr("Restore File list")),
            &QPushButton::clicked, this, [this, side] { m_restore->cmdRestoreFileList_Click(side); });
    connect(addButton(buttons, indexed("cmdRestore", side), tr("Restore")), &QPushButton::clicked, this,
            [this, side] {
                if (m_confirm.restore(side))
                    m_restore->cmdRestore_Click(side);
            });
    connect(addButton(buttons, indexed("cmdCopy", side), tr("Copy ->")), &QPushButton::clicked, this,
            [this, side] { m_attach->cmdCopy_Click(side); });
    connect(addButton(buttons, indexed("cmdDrop", side), tr("DropDB")), &QPushButton::clicked, this,
            [this, side] {
                if (m_confirm.drop(side))
                    m_attach->cmdDrop_Click(side);
            });
    connect(addButton(buttons, indexed("cmdDropAll", side), tr("Drop ALL")), &QPushButton::clicked, this,
            [this, side] {
                if (m_confirm.dropAll(side))
                    m_attach->cmdDropAll_Click(side);
            });
}

void DatabaseFileTools::addMainToolsButtons() {
    auto* row = new QHBoxLayout;
    m_context.pageToolArea(mainToolsPage)->addLayout(row);
    addChecksumBox(row);
    connect(addButton(row, QStringLiteral("cmdMakeSimple"), tr("Make Simple")), &QPushButton::clicked, this,
            [this] { m_backup->cmdMakeSimple_Click(); });
    connect(addButton(row, QStringLiteral("Command1"), tr("single user")), &QPushButton::clicked, this,
            [this] { m_backup->Command1_Click(); });
    connect(addButton(row, QStringLiteral("Command2"), tr("multi user")), &QPushButton::clicked, this,
            [this] { m_backup->Command2_Click(); });
    row->addStretch(1);
    addDrillButtons();
}

// One more button in each side's column would push the window's height past 768 pixels, so the
// drills share a row between the columns, each at the edge of its server's column.
void DatabaseFileTools::addDrillButtons() {
    auto* row = new QHBoxLayout;
    m_context.pageToolArea(mainToolsPage)->addLayout(row);
    for (int side = 0; side < window::MainWindowContext::sideCount; ++side) {
        if (side == 1)
            row->addStretch(1);
        QPushButton* button = addButton(row, indexed("cmdRestoreDrill", side), tr("Restore drill"));
        button->setToolTip(side == 0
                               ? tr("Left server: restore each backup as <db>_drill, check it and drop it")
                               : tr("Right server: restore each backup as <db>_drill, check it and drop it"));
        connect(button, &QPushButton::clicked, this, [this, side] { m_drill->cmdRestoreDrill_Click(side); });
    }
}

// Off unless the operator has ticked it once; from then on its state is kept like the other fields.
void DatabaseFileTools::addChecksumBox(QBoxLayout* row) {
    m_chkChecksum = new QCheckBox(tr("with CHECKSUM"), row->parentWidget());
    m_chkChecksum->setObjectName(checksumKey);
    m_chkChecksum->setToolTip(tr("Backups check every page as they write it"));
    platform::SettingsStore& settings = m_context.settings();
    m_chkChecksum->setChecked(settings.getSetting(mainSection, checksumKey) == QLatin1String("1"));
    connect(m_chkChecksum, &QCheckBox::toggled, this, [&settings](bool checked) {
        if (checked || !settings.getSetting(mainSection, checksumKey).isEmpty())
            settings.saveSetting(mainSection, checksumKey,
                                 checked ? QStringLiteral("1") : QStringLiteral("0"));
    });
    row->addWidget(m_chkChecksum);
}

void DatabaseFileTools::addRestorePageButtons() {
    QBoxLayout* area = m_context.pageToolArea(restorePage);
    connect(addButton(area, QStringLiteral("cmdRestoreMain"), tr("Restore ALL to Main")),
            &QPushButton::clicked, this, [this] {
                if (m_confirm.restoreAllToMain(*m_context.File1()))
                    m_restore->cmdRestoreMain_Click();
            });
    connect(addButton(area, QStringLiteral("cmdRename"), tr("Rename bak files (remove date)")),
            &QPushButton::clicked, this, [this] { m_renamer->cmdRename_Click(); });
    connect(m_context.File1(), &controls::FileListBox::DblClick, this, [this] {
        if (m_confirm.restoreClickedToMain())
            m_restore->File1_DblClick();
    });
}

void DatabaseFileTools::addRestoreDirPageControls() {
    QBoxLayout* area = m_context.pageToolArea(restoreDirPage);
    QWidget* page = m_context.page(restoreDirPage);
    auto* row = new QHBoxLayout;
    area->addLayout(row);
    connect(addButton(row, QStringLiteral("cmdRestoretoMain"), tr("Restore ALL to Main")),
            &QPushButton::clicked, this, [this] {
                if (m_confirm.restoreAllToMain(*m_context.File2()))
                    m_restore->cmdRestoretoMain_Click();
            });
    connect(addButton(row, QStringLiteral("cmdAttachAll"), tr("Attach All (right)")), &QPushButton::clicked,
            this, [this] { m_attach->cmdAttachAll_Click(); });
    connect(addButton(row, QStringLiteral("cmdDetachAll"), tr("Detach All (right)")), &QPushButton::clicked,
            this, [this] {
                if (m_confirm.detachAll())
                    m_attach->cmdDetachAll_Click();
            });

    auto* frame = new QGroupBox(tr("2. Rename"), page);
    frame->setObjectName(QStringLiteral("fraRename"));
    auto* layout = new QHBoxLayout(frame);
    layout->addWidget(new QLabel(tr("remove trailing text of the filename, starting with the text"), frame));
    m_txtSeparator = new QLineEdit(QStringLiteral("_201"), frame);
    m_txtSeparator->setObjectName(QStringLiteral("txtSeparator"));
    m_txtSeparator->setToolTip(tr("separator ex:2015"));
    m_txtSeparator->setPlaceholderText(tr("separator ex:2015"));
    m_txtSeparator->setMaximumWidth(96);
    layout->addWidget(m_txtSeparator);
    connect(addButton(layout, QStringLiteral("cmdRenameDir"), tr("Rename bak files (remove date)")),
            &QPushButton::clicked, this, [this] { m_renamer->cmdRenameDir_Click(m_txtSeparator->text()); });
    layout->addStretch(1);
    area->addWidget(frame);
}

void DatabaseFileTools::addCopyProgress() {
    auto* panel = new CopyProgressPanel(m_copier->runner(), m_context.page(mainToolsPage));
    panel->setObjectName(QStringLiteral("CopyProgressPanel"));
    m_context.pageToolArea(mainToolsPage)->addWidget(panel);
    m_context.allowWhileBusy(panel->cmdCancelCopy());
}

// Where a drill puts the files of its scratch copy, per server: its disks are not the other's.
void DatabaseFileTools::addDrillFolders() {
    auto* frame = new QGroupBox(tr("Restore drill"), m_context.page(optionsPage));
    frame->setObjectName(QStringLiteral("fraDrill"));
    auto* form = new QFormLayout(frame);
    platform::SettingsStore& settings = m_context.settings();
    for (int side = 0; side < window::MainWindowContext::sideCount; ++side) {
        const QString key = QStringLiteral("txtDrillFolder") + QString::number(side);
        auto* box = new QLineEdit(settings.getSetting(mainSection, key), frame);
        box->setObjectName(indexed("txtDrillFolder", side));
        box->setPlaceholderText(tr("empty: the restore folders of the side, files suffixed _drill"));
        connect(box, &QLineEdit::textChanged, this,
                [&settings, key](const QString& text) { settings.saveSetting(mainSection, key, text); });
        form->addRow(side == 0 ? tr("Drill folder (left):") : tr("Drill folder (right):"), box);
        m_drill->setDrillFolderBox(side, box);
    }
    m_context.pageToolArea(optionsPage)->addWidget(frame);
}

QString DatabaseFileTools::mirroringScript(int index) const {
    using platform::BuiltInSecret;
    const platform::SettingsStore& settings = m_context.settings();
    return MirroringStatements::withPasswords(m_mirroringPage->scriptText(index),
                                              builtInSecret(settings, BuiltInSecret::MirroringMasterKey),
                                              builtInSecret(settings, BuiltInSecret::MirroringLogin));
}

void DatabaseFileTools::addMirroringPage() {
    QWidget* page = m_context.page(mirroringPage);
    m_mirroringPage = new MirroringPage(page);
    m_mirroring = std::make_unique<MirroringTools>(m_context, *m_backup, *m_restore, *m_attach, *m_copier,
                                                   [this](int index) { return mirroringScript(index); });
    m_mirroringPage->connectTools(*m_mirroring, [this] { return m_confirm.mirrorAll(); });
    QBoxLayout* area = m_context.pageToolArea(mirroringPage);
    area->addWidget(m_mirroringPage);
    // The page's own stretch would leave the scripts a sliver of its height.
    if (auto* outer = qobject_cast<QBoxLayout*>(page->layout())) {
        for (int item = 0; item < outer->count(); ++item)
            outer->setStretch(item, outer->itemAt(item)->layout() == area ? 1 : 0);
    }
}

QPushButton* DatabaseFileTools::addButton(QBoxLayout* layout, const QString& name, const QString& caption) {
    QWidget* parent = layout->parentWidget();
    auto* button = new QPushButton(caption, parent);
    button->setObjectName(name);
    layout->addWidget(button);
    return button;
}

void installDatabaseFileTools(window::MainWindowContext& context) {
    // Owned by the page it is parented to.
    new DatabaseFileTools(context);
}

} // namespace qormin::dbfiles
