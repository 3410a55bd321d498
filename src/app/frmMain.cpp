#include "app/frmMain.h"

#include "app/AppInfo.h"
#include "app/CloseGuard.h"
#include "app/DatabaseHealthColumns.h"
#include "app/ErrorStatusLine.h"
#include "app/HandlerGate.h"
#include "app/LogPanel.h"
#include "app/LogView.h"
#include "app/MainWindowStatements.h"
#include "app/RunningWorkStopper.h"
#include "app/ServerMessageView.h"
#include "app/SettingsTable.h"
#include "app/SideColumn.h"
#include "app/SubsystemTools.h"
#include "app/WindowFit.h"
#include "app/pages/AuditOptions.h"
#include "app/pages/BackupAgeOptions.h"
#include "app/pages/ConfirmOptions.h"
#include "app/pages/MainToolsPage.h"
#include "app/pages/OptionsPage.h"
#include "app/pages/RestoreDirPage.h"
#include "app/pages/RestorePage.h"
#include "controls/FileListBox.h"
#include "controls/FlexGrid.h"
#include "db/NameGuard.h"
#include "db/Recordset.h"
#include "db/ResultTableModel.h"
#include "db/WithheldScript.h"
#include "platform/FileSystemService.h"
#include "platform/MessageBoxService.h"
#include "platform/PathMapper.h"
#include "platform/PlatformServices.h"
#include "platform/SettingsStore.h"
#include "window/DestructiveConfirmation.h"

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>
#include <array>
#include <map>

namespace qormin::app {

namespace {

constexpr int pageCount = window::Tab::Count;
constexpr int mainToolsPage = window::Tab::MainTools;
constexpr int restorePage = window::Tab::Restore;
constexpr int restoreDirPage = window::Tab::RestoreDir;
constexpr int optionsPage = window::Tab::Options;
constexpr int databaseColumnTwips = 3000;
constexpr int tableColumnTwips = 2300;

const char* const pageCaptions[pageCount] = {
    "Main Tools", "Copy",        "Restore",       "TEST",      "Restore Dir",
    "Options",    "Mirroring",   "SQL to String", "Anonymize", "Config Anonymize",
    "Other",      "table sizes", "SP Replace",    "Users",     "Transfer Data",
};

QString indexed(const char* name, int index) {
    return QString::fromLatin1(name) + u'(' + QString::number(index) + u')';
}

QCheckBox* checkBox(const char* name, const QString& caption, QWidget* parent) {
    auto* box = new QCheckBox(caption, parent);
    box->setObjectName(QString::fromLatin1(name));
    return box;
}

QLineEdit* lineEdit(const QString& name, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(name);
    return edit;
}

controls::FileListBox* fileList(const char* name, platform::FileSystemService& files, QWidget* parent) {
    auto* list = new controls::FileListBox(files, parent);
    list->setObjectName(QString::fromLatin1(name));
    return list;
}

} // namespace

struct frmMain::Parts {
    platform::PlatformServices services;
    std::unique_ptr<db::ServerAccess> access;
    std::array<SideColumn*, sideCount> sides{};
    QLineEdit* txtDB = nullptr;
    QCheckBox* chkALL = nullptr;
    QCheckBox* chkStop = nullptr;
    QCheckBox* chkLogOnly = nullptr;
    QLineEdit* txtPath2 = nullptr;
    QLineEdit* txtBackupDrive = nullptr;
    std::array<QLineEdit*, restoreTargetCount> txtRestoreTO{};
    QLineEdit* txtRestoreDir = nullptr;
    controls::FlexGrid* Grid2 = nullptr;
    QLabel* lblcount = nullptr;
    controls::FileListBox* FileA = nullptr;
    controls::FileListBox* FileB = nullptr;
    controls::FileListBox* File1 = nullptr;
    controls::FileListBox* File2 = nullptr;
    controls::FileListBox* fileAttach = nullptr;
    QTabWidget* SSTab1 = nullptr;
    LogPanel* logPanel = nullptr;
    MainToolsPage* mainTools = nullptr;
    OptionsPage* options = nullptr;
    std::unique_ptr<window::DestructiveConfirmation> confirmation;
    ConfirmOptions* confirmOptions = nullptr;
    BackupAgeOptions* backupAge = nullptr;
    std::array<QWidget*, pageCount> pages{};
    std::array<QBoxLayout*, pageCount> toolAreas{};
    std::multimap<int, std::function<void()>> pageHooks;
    std::map<QString, std::function<QWidget*(QWidget*)>> windowFactories;
    std::map<QString, QPointer<QWidget>> windows;
    QTimer* Timer1 = nullptr;
    QLabel* lblBusy = nullptr;
    QLabel* lblFolders = nullptr;
    HandlerGate* gate = nullptr;
    RunningWorkStopper* stopper = nullptr;
    CloseGuard* closeGuard = nullptr;
    std::function<void(int)> clearConnections;
    std::unique_ptr<DatabaseHealthColumns> health;
};

frmMain::frmMain(const platform::PlatformServices& services, QWidget* parent)
    : QMainWindow(parent), m_parts(std::make_unique<Parts>()) {
    m_parts->services = services;
    m_parts->access = std::make_unique<db::ServerAccess>(*this);
    m_parts->confirmation = std::make_unique<window::DestructiveConfirmation>(
        *m_parts->access, *services.messageBoxes, [this](int side) { return txtServer(side)->text(); });
    m_parts->health = std::make_unique<DatabaseHealthColumns>(*this);
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(applicationTitle());
    buildWindow();
    buildPages();
    buildGate();
    installSubsystemTools(*this);
    m_parts->options->toolArea()->addWidget(new AuditOptions(*this, m_parts->options));
    connectHandlers();
    resize(1280, 800);
}

frmMain::~frmMain() {
    m_parts->services.settings->setProblemReporter({});
    m_parts->services.settings->setNoticeReporter({});
    // Pages and subsidiary windows use the server access and the services: they go first.
    for (auto& [name, window] : m_parts->windows)
        delete window.data();
    delete takeCentralWidget();
}

void frmMain::buildWindow() {
    Parts& p = *m_parts;
    platform::FileSystemService& files = *p.services.files;
    auto* central = new QWidget(this);
    for (int side = 0; side < sideCount; ++side)
        p.sides[side] = new SideColumn(side, central);
    p.txtDB = lineEdit(QStringLiteral("txtDB"), central);
    p.chkALL = checkBox("chkALL", QStringLiteral("ALL DBS"), central);
    p.chkStop = checkBox("chkStop", QStringLiteral("STOP"), central);
    p.chkLogOnly = checkBox("chkLogOnly", QStringLiteral("Log Only"), central);
    p.txtPath2 = lineEdit(indexed("txtPath", 2), central);
    p.txtBackupDrive = lineEdit(QStringLiteral("txtBackupDrive"), central);
    for (int i = 0; i < restoreTargetCount; ++i)
        p.txtRestoreTO[i] = lineEdit(indexed("txtRestoreTO", i), central);
    p.txtRestoreDir = lineEdit(QStringLiteral("txtRestoreDir"), central);
    p.txtRestoreDir->setText(QStringLiteral("d:\\qormin\\db\\bak\\"));
    p.Grid2 = new controls::FlexGrid(central);
    p.Grid2->setObjectName(QStringLiteral("Grid2"));
    p.lblcount = new QLabel(central);
    p.lblcount->setObjectName(QStringLiteral("lblcount"));
    p.FileA = fileList("FileA", files, central);
    p.FileB = fileList("FileB", files, central);
    p.File1 = fileList("File1", files, central);
    p.File1->setPattern(QStringLiteral("*.bak"));
    p.File2 = fileList("File2", files, central);
    p.File2->setPattern(QStringLiteral("*.bak"));
    p.fileAttach = fileList("fileAttach", files, central);
    p.fileAttach->setPattern(QStringLiteral("*.mdf"));
    p.SSTab1 = new QTabWidget(central);
    p.SSTab1->setObjectName(QStringLiteral("SSTab1"));
    WindowFit::keepTabsReachable(*p.SSTab1);
    p.logPanel = new LogPanel(*p.access, central);

    auto* current = new QGroupBox(tr("Current database"), central);
    auto* databaseRow = new QHBoxLayout;
    databaseRow->addWidget(new QLabel(tr("Database"), current));
    databaseRow->addWidget(p.txtDB, 1);
    auto* checks = new QHBoxLayout;
    checks->addWidget(p.chkALL);
    checks->addWidget(p.chkStop);
    checks->addWidget(p.chkLogOnly);
    checks->addStretch(1);
    checks->addWidget(new QLabel(tr("Tables:"), current));
    checks->addWidget(p.lblcount);
    auto* currentLayout = new QVBoxLayout(current);
    currentLayout->setContentsMargins(6, 6, 6, 6);
    currentLayout->setSpacing(4);
    currentLayout->addLayout(databaseRow);
    currentLayout->addLayout(checks);
    currentLayout->addWidget(p.Grid2, 1);

    auto* servers = new QSplitter(Qt::Horizontal, central);
    servers->addWidget(p.sides[0]);
    servers->addWidget(current);
    servers->addWidget(p.sides[1]);
    servers->setChildrenCollapsible(false);
    servers->setSizes({420, 440, 420});

    auto* tools = new QSplitter(Qt::Horizontal, central);
    tools->addWidget(p.SSTab1);
    tools->addWidget(p.logPanel);
    tools->setChildrenCollapsible(false);
    tools->setStretchFactor(0, 3);
    tools->setStretchFactor(1, 2);
    tools->setSizes({760, 520});
    WindowFit::shareRowWithTabs(*tools, *p.SSTab1);

    // The log boxes take whatever height the window has left below the server columns.
    auto* rows = new QSplitter(Qt::Vertical, central);
    rows->addWidget(servers);
    rows->addWidget(tools);
    rows->setChildrenCollapsible(false);
    rows->setStretchFactor(0, 1);
    rows->setStretchFactor(1, 1);
    rows->setSizes({400, 400});

    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(rows);
    setCentralWidget(central);
}

// What stays live while a handler runs: what the handlers read on purpose as they run, the
// way to cancel, the logs, and tab switches that start nothing.
void frmMain::buildGate() {
    Parts& p = *m_parts;
    p.lblBusy = new QLabel(this);
    p.lblBusy->setObjectName(QStringLiteral("lblBusy"));
    statusBar()->addWidget(p.lblBusy, 1);
    p.lblFolders = new QLabel(this);
    p.lblFolders->setObjectName(QStringLiteral("lblFolders"));
    statusBar()->addPermanentWidget(p.lblFolders);
    statusBar()->addPermanentWidget(new ErrorStatusLine(*p.access, this), 1);
    p.gate = new HandlerGate(*this, *p.lblBusy);
    const std::array<QWidget*, 6> live{p.chkALL,
                                       p.chkStop,
                                       p.logPanel->txtLog,
                                       p.logPanel->txtErrs,
                                       p.logPanel->serverMessages,
                                       p.logPanel->cmdCancelStatement};
    for (QWidget* control : live)
        p.gate->allowWhileBusy(control);
    p.gate->setTabBar(p.SSTab1->tabBar(), [this](int index) { return pageSwitchStartsHandler(index); });
    p.stopper = new RunningWorkStopper(*this, *p.gate);
    p.closeGuard = new CloseGuard(*this, *p.gate, *p.stopper);
}

void frmMain::buildPages() {
    Parts& p = *m_parts;
    for (int index = 0; index < pageCount; ++index) {
        QWidget* page = nullptr;
        QBoxLayout* toolArea = nullptr;
        if (index == mainToolsPage) {
            p.mainTools = new MainToolsPage(*this, p.SSTab1);
            page = p.mainTools;
            toolArea = p.mainTools->toolArea();
        } else if (index == restorePage) {
            auto* restore = new RestorePage(*this, p.SSTab1);
            page = restore;
            toolArea = restore->toolArea();
        } else if (index == restoreDirPage) {
            auto* restoreDir = new RestoreDirPage(*this, p.SSTab1);
            page = restoreDir;
            toolArea = restoreDir->toolArea();
        } else if (index == optionsPage) {
            p.options = new OptionsPage(*this, p.SSTab1);
            page = p.options;
            toolArea = p.options->toolArea();
            p.confirmOptions = new ConfirmOptions(*p.confirmation, *p.services.settings, p.options);
            toolArea->addWidget(p.confirmOptions);
            p.backupAge = new BackupAgeOptions(settings(), p.options);
            toolArea->addWidget(p.backupAge);
        }
        if (page == nullptr) {
            page = new QWidget(p.SSTab1);
            auto* outer = new QVBoxLayout(page);
            toolArea = new QVBoxLayout;
            outer->addLayout(toolArea);
            outer->addStretch(1);
        }
        page->setObjectName(QStringLiteral("SSTab1Page") + QString::number(index));
        p.pages[index] = page;
        p.toolAreas[index] = toolArea;
        p.SSTab1->addTab(WindowFit::scrollable(page), QString::fromLatin1(pageCaptions[index]));
    }
    for (int side = 0; side < sideCount; ++side) {
        auto* defaultPaths = new QPushButton(tr("Default paths"), p.mainTools);
        defaultPaths->setObjectName(indexed("cmdDefaultPaths", side));
        defaultPaths->setToolTip(tr("Backup folders from the server addresses: \\\\server\\backup\\MIR"));
        connect(defaultPaths, &QPushButton::clicked, this, [this, side] { cmdDefaultPaths_Click(side); });
        sideButtons(side)->addWidget(defaultPaths);
    }
}

void frmMain::persistOnChange(QLineEdit* edit, const QString& control, int index) {
    const SettingAddress address = changeHandlerAddress(control, index);
    connect(edit, &QLineEdit::textChanged, this, [this, address](const QString& text) {
        m_parts->services.settings->saveSetting(address.section, address.key, text);
    });
}

void frmMain::connectHandlers() {
    Parts& p = *m_parts;
    for (int side = 0; side < sideCount; ++side) {
        SideColumn* column = p.sides[side];
        persistOnChange(column->txtPW, QStringLiteral("txtPW"), side);
        persistOnChange(column->txtServer, QStringLiteral("txtServer"), side);
        persistOnChange(column->txtServerPW, QStringLiteral("txtServerPW"), side);
        persistOnChange(column->txtServerUser, QStringLiteral("txtServerUser"), side);
        persistOnChange(column->txtLogDrive, QStringLiteral("txtLogDrive"), side);
        persistOnChange(column->txtPath, QStringLiteral("txtPath"), side);
        persistOnChange(column->txtUserID, QStringLiteral("txtUserID"), side);
        connect(column->cmdConnect, &QPushButton::clicked, this, [this, side] { cmdConnect_Click(side); });
        connect(column->cmdRefreshDB, &QPushButton::clicked, this,
                [this, side] { cmdRefreshDB_Click(side); });
        connect(column->GridDB, &controls::FlexGrid::Click, this, [this, side] { GridDB_Click(side); });
        connect(column->GridDB, &controls::FlexGrid::DblClick, this, [this, side] { GridDB_DblClick(side); });
    }
    persistOnChange(p.txtPath2, QStringLiteral("txtPath"), 2);
    for (int i = 0; i < restoreTargetCount; ++i)
        persistOnChange(p.txtRestoreTO[i], QStringLiteral("txtRestoreTO"), i);
    persistOnChange(p.txtBackupDrive, QStringLiteral("txtBackupDrive"), -1);
    connect(p.txtRestoreDir, &QLineEdit::textChanged, this, &frmMain::txtRestoreDir_Change);
    connect(p.Grid2, &controls::FlexGrid::Click, this, &frmMain::Grid2_Click);

    int previousTab = p.SSTab1->currentIndex();
    connect(p.SSTab1, &QTabWidget::currentChanged, this, [this, previousTab](int index) mutable {
        SSTab1_Click(previousTab);
        previousTab = index;
    });

    LogPanel* logs = p.logPanel;
    connect(logs->cmdCancelStatement, &QPushButton::clicked, this,
            [this] { serverAccess().cancelRunningStatement(); });
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(escape, &QShortcut::activated, this, [this] {
        if (serverAccess().isStatementRunning())
            serverAccess().cancelRunningStatement();
    });
    connect(p.access.get(), &db::ServerAccess::statementStarted, logs->cmdCancelStatement,
            [logs] { logs->cmdCancelStatement->setEnabled(true); });
    connect(p.access.get(), &db::ServerAccess::statementFinished, logs->cmdCancelStatement,
            [this, logs] { logs->cmdCancelStatement->setEnabled(serverAccess().isStatementRunning()); });
    connect(logs->chkScriptOnly, &QCheckBox::toggled, this,
            [this](bool on) { serverAccess().setScriptOnly(on); });
    connect(logs->cmdSaveScript, &QPushButton::clicked, this, &frmMain::cmdSaveScript_Click);

    p.Timer1 = new QTimer(this);
    p.Timer1->setObjectName(QStringLiteral("Timer1"));
    p.Timer1->setInterval(timer1Milliseconds);
    connect(p.Timer1, &QTimer::timeout, this, &frmMain::Timer1_Timer);
    for (controls::FileListBox* list : {p.FileA, p.FileB})
        connect(list, &controls::FileListBox::silentFolderChanged, this, &frmMain::showSilentFolders);
    // No tmrDoEv: it only turned the event loop, which the window's own loop does without it,
    // and code turns the loop only through db::EventLoopYield, on which the handler gate relies.
}

void frmMain::Form_Load() {
    Parts& p = *m_parts;
    platform::SettingsStore& store = *p.services.settings;
    // Start-up is a handler too: nothing else starts until the sides are connected and listed.
    const HandlerGate::Run startUp(*p.gate, tr("Start-up"));
    p.SSTab1->setCurrentIndex(0);
    show();
    QCoreApplication::processEvents();
    Q_EMIT painted();
    store.setProblemReporter([this](const QString& problem) { serverAccess().LogError(problem); });
    // Passwords kept in the file where no credential store is reachable is how a headless
    // scheduler runs every night, not an error of the run.
    store.setNoticeReporter([this](const QString& notice) { serverAccess().LogMessage(notice); });
    // The shell and the ODBC driver choice are ready before anything connects.
    p.options->load();
    p.confirmOptions->load();
    for (int side = 0; side < sideCount; ++side)
        loadSide(side);
    const SettingAddress sharedPath = startupAddress(QStringLiteral("txtPath"), 2);
    p.txtPath2->setText(store.getSetting(sharedPath.section, sharedPath.key));
    for (int side = 0; side < sideCount; ++side) {
        if (!txtPW(side)->text().isEmpty())
            cmdRefreshDB_Click(side);
    }
    const std::array<controls::FileListBox*, 3> folderLists{p.FileA, p.FileB, p.File1};
    for (int k = 0; k < 3; ++k) {
        serverAccess().LogMessage(QStringLiteral("checking path ") + txtPath(k)->text());
        folderLists[k]->setPath(txtPath(k)->text());
    }
    for (int i = 0; i < restoreTargetCount; ++i) {
        const SettingAddress target = startupAddress(QStringLiteral("txtRestoreTO"), i);
        p.txtRestoreTO[i]->setText(store.getSetting(target.section, target.key, QString()));
        if (p.txtRestoreTO[i]->text().isEmpty())
            p.txtRestoreTO[i]->setText(QStringLiteral("D"));
    }
    const SettingAddress backupDrive = startupAddress(QStringLiteral("txtBackupDrive"));
    p.txtBackupDrive->setText(store.getSetting(backupDrive.section, backupDrive.key,
                                               startupDefault(QStringLiteral("txtBackupDrive"))));
    setWindowTitle(windowTitle() + QStringLiteral(" v.") + applicationVersion());
    // The mirroring page's inner strip always opens on its first page.
    if (auto* innerTabs = findChild<QTabWidget*>(QStringLiteral("SSTab2")))
        innerTabs->setCurrentIndex(0);
    p.Timer1->start();
}

void frmMain::loadSide(int side) {
    platform::SettingsStore& store = *m_parts->services.settings;
    const std::pair<const char*, QLineEdit*> fields[] = {
        {"txtPW", txtPW(side)},
        {"txtServer", txtServer(side)},
        {"txtServerPW", txtServerPW(side)},
        {"txtServerUser", txtServerUser(side)},
        {"txtLogDrive", txtLogDrive(side)},
        {"txtPath", txtPath(side)},
        {"txtUserID", txtUserID(side)},
    };
    for (const auto& [name, edit] : fields) {
        const QString control = QString::fromLatin1(name);
        const SettingAddress address = startupAddress(control, side);
        edit->setText(store.getSetting(address.section, address.key, startupDefault(control)));
    }
}

void frmMain::cmdConnect_Click(int index) {
    serverAccess().closeConnection(index);
    serverAccess().ConnectServer(index);
}

void frmMain::cmdRefreshDB_Click(int index) {
    QString result;
    const bool listed =
        serverAccess().OpenRecordset(index, MainWindowStatements::databaseList(), QVariant(), result);
    controls::FlexGrid* grid = GridDB(index);
    grid->bind(serverAccess().sharedRecordset().table());
    grid->setColWidth(0, databaseColumnTwips);
    lblDBCount(index)->setText(QString::number(grid->Rows()));
    // A side that could not connect would only show its connect box a second time.
    if (listed && serverAccess().IsConnected(index) && m_parts->backupAge->showsHealth())
        m_parts->health->show(index);
}

void frmMain::cmdDefaultPaths_Click(int index) {
    platform::SettingsStore& store = settings();
    const QString backup = MainWindowStatements::defaultBackupFolder(txtServer(index)->text());
    const SettingAddress sideAddress = startupAddress(QStringLiteral("txtPath"), index);
    store.saveSetting(sideAddress.section, sideAddress.key, backup);
    txtPath(index)->setText(backup);
    const QString shared = MainWindowStatements::defaultSharedFolder(txtServer(0)->text());
    const SettingAddress sharedAddress = startupAddress(QStringLiteral("txtPath"), 2);
    store.saveSetting(sharedAddress.section, sharedAddress.key, shared);
    txtPath(2)->setText(shared);
}

void frmMain::GridDB_Click(int index) {
    controls::FlexGrid* grid = GridDB(index);
    if (grid->Rows() > 0)
        txtDB()->setText(grid->TextMatrix(grid->Row(), 0));
}

void frmMain::GridDB_DblClick(int /*index*/) {
    // Table sizes always come through the left server's connection, whichever grid was used.
    if (!db::NameGuard::admit(serverAccess(), db::NameGuard::Position::Unbracketed, {txtDB()->text()}))
        return;
    QString result;
    serverAccess().OpenRecordset(0, MainWindowStatements::useDatabase(txtDB()->text()), QVariant(), result);
    const QString tableSizes = MainWindowStatements::tableSizes();
    serverAccess().OpenRecordset(0, tableSizes, QVariant(), result);
    if (!result.isEmpty()) {
        // The result is the error followed by the statement; the log gets the error alone.
        const QString statement = QLatin1Char(' ') + tableSizes;
        serverAccess().LogMessage(result.endsWith(statement) ? result.chopped(statement.size()) : result);
    }
    controls::FlexGrid* grid = Grid2();
    grid->bind(serverAccess().sharedRecordset().table());
    grid->setColWidth(0, tableColumnTwips);
    lblcount()->setText(QString::number(std::max(grid->Rows() - 1, 0)));
}

void frmMain::Grid2_Click() {
    controls::FlexGrid* grid = Grid2();
    const QString table = grid->TextMatrix(grid->Row(), 0);
    if (!db::NameGuard::admit(serverAccess(), db::NameGuard::Position::Quoted, {table}))
        return;
    QString result;
    serverAccess().OpenRecordset(0, MainWindowStatements::tableRowCount(table), QVariant(), result);
    const db::Recordset& records = serverAccess().sharedRecordset();
    if (records.eof())
        return;
    const QVariant count = records.field(QStringLiteral("RCNT"));
    if (!count.isValid())
        return;
    serverAccess().LogMessage(QStringLiteral("ROWS: ") + db::ResultTableModel::displayText(count));
}

void frmMain::SSTab1_Click(int /*previousTab*/) {
    const int index = m_parts->SSTab1->currentIndex();
    // Turning to the page with the restore-directory lists refreshes them.
    if (index == restoreDirPage)
        txtRestoreDir_Change();
    const auto [first, last] = m_parts->pageHooks.equal_range(index);
    for (auto hook = first; hook != last; ++hook)
        hook->second();
}

bool frmMain::pageSwitchStartsHandler(int index) const {
    return index == restoreDirPage || m_parts->pageHooks.count(index) > 0;
}

// The backup folders are usually network mounts: they are listed off the window thread.
void frmMain::Timer1_Timer() {
    m_parts->FileA->RefreshInBackground();
    m_parts->FileB->RefreshInBackground();
}

void frmMain::showSilentFolders() {
    QStringList silent;
    for (const controls::FileListBox* list : {m_parts->FileA, m_parts->FileB}) {
        if (!list->silentFolder().isEmpty())
            silent.append(
                tr("%1 does not answer; its list shows the files last read.").arg(list->silentFolder()));
    }
    m_parts->lblFolders->setText(silent.join(QStringLiteral("  ")));
}

void frmMain::txtRestoreDir_Change() {
    const QString folder = m_parts->txtRestoreDir->text();
    m_parts->File2->setPath(folder);
    m_parts->fileAttach->setPath(folder);
}

void frmMain::cmdSaveScript_Click() {
    if (serverAccess().withheldStatements().isEmpty()) {
        messageBoxes().MsgBox(tr("No statements have been withheld yet."));
        return;
    }
    const QString name = messageBoxes().saveFileName(tr("Save script"), QStringLiteral("script.sql"),
                                                     tr("SQL scripts (*.sql)"));
    if (name.isEmpty())
        return;
    const QString script = db::withheldScript(serverAccess().withheldWithPlaces());
    if (!fileSystem().writeFile(name, script.toUtf8()))
        messageBoxes().MsgBox(tr("The script could not be written to ") + name);
}

QTabWidget* frmMain::SSTab1() const {
    return m_parts->SSTab1;
}

db::ServerAccess& frmMain::serverAccess() {
    return *m_parts->access;
}
platform::MessageBoxService& frmMain::messageBoxes() {
    return *m_parts->services.messageBoxes;
}
platform::ShellService& frmMain::shell() {
    return *m_parts->services.shell;
}
platform::FileSystemService& frmMain::fileSystem() {
    return *m_parts->services.files;
}
platform::PathMapper& frmMain::pathMapper() {
    return *m_parts->services.paths;
}
platform::SettingsStore& frmMain::settings() {
    return *m_parts->services.settings;
}
QString frmMain::dataDirectory() const {
    return m_parts->services.dataDirectory;
}

QLineEdit* frmMain::txtDB() {
    return m_parts->txtDB;
}
QCheckBox* frmMain::chkALL() {
    return m_parts->chkALL;
}
QCheckBox* frmMain::chkStop() {
    return m_parts->chkStop;
}
QCheckBox* frmMain::chkLogOnly() {
    return m_parts->chkLogOnly;
}
QLineEdit* frmMain::txtServer(int side) {
    return m_parts->sides.at(side)->txtServer;
}
QLineEdit* frmMain::txtUserID(int side) {
    return m_parts->sides.at(side)->txtUserID;
}
QLineEdit* frmMain::txtPW(int side) {
    return m_parts->sides.at(side)->txtPW;
}
QLineEdit* frmMain::txtServerUser(int side) {
    return m_parts->sides.at(side)->txtServerUser;
}
QLineEdit* frmMain::txtServerPW(int side) {
    return m_parts->sides.at(side)->txtServerPW;
}
QLineEdit* frmMain::txtLogDrive(int side) {
    return m_parts->sides.at(side)->txtLogDrive;
}

QLineEdit* frmMain::txtPath(int index) {
    if (index == 2)
        return m_parts->txtPath2;
    return m_parts->sides.at(index)->txtPath;
}

QLineEdit* frmMain::txtBackupDrive() {
    return m_parts->txtBackupDrive;
}
QLineEdit* frmMain::txtRestoreTO(int index) {
    return m_parts->txtRestoreTO.at(index);
}
QLineEdit* frmMain::txtRestoreDir() {
    return m_parts->txtRestoreDir;
}
controls::FlexGrid* frmMain::GridDB(int side) {
    return m_parts->sides.at(side)->GridDB;
}
controls::FlexGrid* frmMain::Grid2() {
    return m_parts->Grid2;
}
QLabel* frmMain::lblDBCount(int side) {
    return m_parts->sides.at(side)->lblDBCount;
}
QLabel* frmMain::lblcount() {
    return m_parts->lblcount;
}
controls::FileListBox* frmMain::FileA() {
    return m_parts->FileA;
}
controls::FileListBox* frmMain::FileB() {
    return m_parts->FileB;
}
controls::FileListBox* frmMain::File1() {
    return m_parts->File1;
}
controls::FileListBox* frmMain::File2() {
    return m_parts->File2;
}
controls::FileListBox* frmMain::fileAttach() {
    return m_parts->fileAttach;
}

bool frmMain::stopRequested() {
    return m_parts->chkStop->isChecked();
}

void frmMain::cmdClearConnections_Click(int side) {
    if (m_parts->clearConnections)
        m_parts->clearConnections(side);
}

void frmMain::provideClearConnections(std::function<void(int side)> handler) {
    m_parts->clearConnections = std::move(handler);
}

void frmMain::showStatusMessage(const QString& text, int milliseconds) {
    statusBar()->showMessage(text, milliseconds);
}

QWidget* frmMain::page(int index) {
    return m_parts->pages.at(index);
}

QBoxLayout* frmMain::sideButtons(int side) {
    return m_parts->mainTools->sideButtons(side);
}

QBoxLayout* frmMain::pageToolArea(int index) {
    return m_parts->toolAreas.at(index);
}

void frmMain::addPageHook(int index, std::function<void()> hook) {
    m_parts->pageHooks.emplace(index, std::move(hook));
}

void frmMain::registerWindow(const QString& name, std::function<QWidget*(QWidget* parent)> create) {
    m_parts->windowFactories[name] = std::move(create);
}

QWidget* frmMain::openWindow(const QString& name) {
    QPointer<QWidget>& window = m_parts->windows[name];
    if (window.isNull()) {
        const auto factory = m_parts->windowFactories.find(name);
        if (factory == m_parts->windowFactories.end()) {
            m_parts->windows.erase(name);
            return nullptr;
        }
        window = factory->second(this);
        window->setObjectName(name);
        window->setWindowFlag(Qt::Window);
        m_parts->gate->addWindow(window);
        m_parts->closeGuard->addWindow(window);
    }
    window->show();
    window->raise();
    return window.data();
}

QWidget* frmMain::findWindow(const QString& name) const {
    const auto window = m_parts->windows.find(name);
    return window == m_parts->windows.end() ? nullptr : window->second.data();
}

std::vector<QWidget*> frmMain::subsidiaryWindows() const {
    std::vector<QWidget*> open;
    for (const auto& [name, window] : m_parts->windows) {
        if (!window.isNull() && window->isVisible())
            open.push_back(window.data());
    }
    return open;
}

bool frmMain::knowsWindow(const QString& name) const {
    return m_parts->windowFactories.contains(name);
}

QString frmMain::serverText(int side) const {
    return m_parts->sides.at(side)->txtServer->text();
}
QString frmMain::userText(int side) const {
    return m_parts->sides.at(side)->txtUserID->text();
}
QString frmMain::passwordText(int side) const {
    return m_parts->sides.at(side)->txtPW->text();
}

void frmMain::showConnectError(const QString& description, const QString& title) {
    messageBoxes().MsgBox(description, platform::MessageBoxButtons::Ok, title);
}

void frmMain::setBusyCursor(bool busy) {
    m_parts->gate->setStatementBusy(busy);
}

HandlerGate& frmMain::handlerGate() {
    return *m_parts->gate;
}

CloseGuard& frmMain::closeGuard() {
    return *m_parts->closeGuard;
}

RunningWorkStopper& frmMain::workStopper() {
    return *m_parts->stopper;
}

void frmMain::allowWhileBusy(QWidget* control) {
    m_parts->gate->allowWhileBusy(control);
}

window::DestructiveConfirmation& frmMain::confirmations() {
    return *m_parts->confirmation;
}

void frmMain::enterBatchMode() {
    m_parts->confirmOptions->enterBatchMode();
    m_parts->backupAge->enterBatchMode();
}

} // namespace qormin::app
