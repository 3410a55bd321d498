#pragma once

#include "db/ServerAccess.h"
#include "window/MainWindowContext.h"

#include <QMainWindow>
#include <memory>
#include <vector>

class QTabWidget;

namespace qormin::platform {
struct PlatformServices;
}

namespace qormin::app {

class CloseGuard;
class HandlerGate;
class RunningWorkStopper;

// The main window: two server columns, the shared controls, the tab strip SSTab1 with the tool
// pages, and the log boxes. Handlers are named after their control and event; the pages of the
// subsystems reach the shared controls through window::MainWindowContext.
class frmMain : public QMainWindow, public window::MainWindowContext, public db::ServerAccessHost {
    Q_OBJECT
public:
    static constexpr int timer1Milliseconds = 5000;

    explicit frmMain(const platform::PlatformServices& services, QWidget* parent = nullptr);
    ~frmMain() override;

    // Start-up: paints first, then restores the fields, connects the sides with a stored
    // password, checks the folders and fills the defaults.
    void Form_Load();

    void cmdConnect_Click(int index);
    void cmdRefreshDB_Click(int index) override;
    void cmdDefaultPaths_Click(int index);
    void GridDB_Click(int index) override;
    void GridDB_DblClick(int index) override;
    void Grid2_Click();
    void SSTab1_Click(int previousTab);
    void Timer1_Timer() override;
    void txtRestoreDir_Change();

    QTabWidget* SSTab1() const;
    // One handler at a time: batch mode starts its commands through it too.
    HandlerGate& handlerGate();
    // Closing a window while a handler runs asks first (see CloseGuard).
    CloseGuard& closeGuard();
    // Ends the running handler on a close or a termination request.
    RunningWorkStopper& workStopper();
    // Whether turning SSTab1 to that page runs a page hook.
    bool pageSwitchStartsHandler(int index) const;

    // window::MainWindowContext
    db::ServerAccess& serverAccess() override;
    platform::MessageBoxService& messageBoxes() override;
    platform::ShellService& shell() override;
    platform::FileSystemService& fileSystem() override;
    platform::PathMapper& pathMapper() override;
    platform::SettingsStore& settings() override;
    QString dataDirectory() const override;
    QLineEdit* txtDB() override;
    QCheckBox* chkALL() override;
    QCheckBox* chkStop() override;
    QCheckBox* chkLogOnly() override;
    QLineEdit* txtServer(int side) override;
    QLineEdit* txtUserID(int side) override;
    QLineEdit* txtPW(int side) override;
    QLineEdit* txtServerUser(int side) override;
    QLineEdit* txtServerPW(int side) override;
    QLineEdit* txtLogDrive(int side) override;
    QLineEdit* txtPath(int index) override;
    QLineEdit* txtBackupDrive() override;
    QLineEdit* txtRestoreTO(int index) override;
    QLineEdit* txtRestoreDir() override;
    controls::FlexGrid* GridDB(int side) override;
    controls::FlexGrid* Grid2() override;
    QLabel* lblDBCount(int side) override;
    QLabel* lblcount() override;
    controls::FileListBox* FileA() override;
    controls::FileListBox* FileB() override;
    controls::FileListBox* File1() override;
    controls::FileListBox* File2() override;
    controls::FileListBox* fileAttach() override;
    bool stopRequested() override;
    void cmdClearConnections_Click(int side) override;
    void provideClearConnections(std::function<void(int side)> handler) override;
    void showStatusMessage(const QString& text, int milliseconds) override;
    QWidget* page(int index) override;
    QBoxLayout* sideButtons(int side) override;
    QBoxLayout* pageToolArea(int index) override;
    void addPageHook(int index, std::function<void()> hook) override;
    void registerWindow(const QString& name, std::function<QWidget*(QWidget* parent)> create) override;
    QWidget* openWindow(const QString& name) override;
    void allowWhileBusy(QWidget* control) override;
    window::DestructiveConfirmation& confirmations() override;
    // Before start-up in a batch run: the settings a scheduled run must not take from the window.
    void enterBatchMode();
    QWidget* findWindow(const QString& name) const;
    std::vector<QWidget*> subsidiaryWindows() const; // the open ones
    // Whether openWindow can open a window of that name.
    bool knowsWindow(const QString& name) const;

    // ServerAccessHost
    QString serverText(int side) const override;
    QString userText(int side) const override;
    QString passwordText(int side) const override;
    void showConnectError(const QString& description, const QString& title) override;
    void setBusyCursor(bool busy) override;

Q_SIGNALS:
    // Start-up has shown and painted the window; the slow steps follow.
    void painted();

private:
    struct Parts;

    void buildWindow();
    void buildGate();
    void buildPages();
    void connectHandlers();
    void persistOnChange(QLineEdit* edit, const QString& control, int index);
    void loadSide(int side);
    void cmdSaveScript_Click();
    void showSilentFolders();

    std::unique_ptr<Parts> m_parts;
};

} // namespace qormin::app
