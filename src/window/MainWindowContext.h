#pragma once

#include "window/Tab.h"

#include <QString>
#include <functional>

class QBoxLayout;
class QCheckBox;
class QLabel;
class QLineEdit;
class QWidget;

namespace qormin::db {
class ServerAccess;
}

namespace qormin::controls {
class FileListBox;
class FlexGrid;
} // namespace qormin::controls

namespace qormin::platform {
class FileSystemService;
class MessageBoxService;
class PathMapper;
class SettingsStore;
class ShellService;
} // namespace qormin::platform

namespace qormin::window {

class DestructiveConfirmation;

using platform::FileSystemService;
using platform::MessageBoxService;
using platform::PathMapper;
using platform::SettingsStore;
using platform::ShellService;

// What a page or handler class gets from the main window: the shared controls, the server
// access, the platform services, the handlers other handlers call, and the places where it
// adds its own widgets. Pages keep a reference to it; the window outlives them.
class MainWindowContext {
public:
    static constexpr int sideCount = 2;
    static constexpr int restoreTargetCount = 6;

    virtual ~MainWindowContext() = default;

    virtual db::ServerAccess& serverAccess() = 0;
    virtual MessageBoxService& messageBoxes() = 0;
    virtual ShellService& shell() = 0;
    virtual FileSystemService& fileSystem() = 0;
    virtual PathMapper& pathMapper() = 0;
    virtual SettingsStore& settings() = 0;
    // The program's folder for its text files (--data-dir, else the executable's folder).
    virtual QString dataDirectory() const = 0;

    virtual QLineEdit* txtDB() = 0;
    virtual QCheckBox* chkALL() = 0;
    virtual QCheckBox* chkStop() = 0;
    virtual QCheckBox* chkLogOnly() = 0;
    virtual QLineEdit* txtServer(int side) = 0;
    virtual QLineEdit* txtUserID(int side) = 0;
    virtual QLineEdit* txtPW(int side) = 0;
    virtual QLineEdit* txtServerUser(int side) = 0;
    virtual QLineEdit* txtServerPW(int side) = 0;
    virtual QLineEdit* txtLogDrive(int side) = 0;
    virtual QLineEdit* txtPath(int index) = 0; // 0, 1: each side's backup folder; 2: the shared one
    virtual QLineEdit* txtBackupDrive() = 0;
    virtual QLineEdit* txtRestoreTO(int index) = 0; // 0..2 left, 3..5 right
    virtual QLineEdit* txtRestoreDir() = 0;
    virtual controls::FlexGrid* GridDB(int side) = 0;
    virtual controls::FlexGrid* Grid2() = 0;
    virtual QLabel* lblDBCount(int side) = 0;
    virtual QLabel* lblcount() = 0;
    virtual controls::FileListBox* FileA() = 0;
    virtual controls::FileListBox* FileB() = 0;
    virtual controls::FileListBox* File1() = 0;
    virtual controls::FileListBox* File2() = 0;
    virtual controls::FileListBox* fileAttach() = 0;

    virtual void Timer1_Timer() = 0;
    virtual void cmdRefreshDB_Click(int side) = 0;
    virtual void GridDB_Click(int side) = 0;
    virtual void GridDB_DblClick(int side) = 0;
    // True when chkStop is ticked; loops call it between items.
    virtual bool stopRequested() = 0;
    // Ends every session on txtDB's database on that side: the share tools' handler, which the
    // drop-all of the database-file tools runs before each drop. Nothing until one is provided.
    virtual void cmdClearConnections_Click(int side) = 0;
    virtual void provideClearConnections(std::function<void(int side)> handler) = 0;
    // A notice in the window's status area for that long; it asks nothing and blocks nothing.
    virtual void showStatusMessage(const QString& text, int milliseconds) = 0;

    // The page of SSTab1 with that index (Tab::MainTools ... Tab::TransferData).
    virtual QWidget* page(int index) = 0;
    // The button group of one side on the "Main Tools" page; add buttons in the side's order.
    virtual QBoxLayout* sideButtons(int side) = 0;
    // A vertical layout on that page, reserved for the subsystem that owns the page.
    virtual QBoxLayout* pageToolArea(int index) = 0;
    // Runs when SSTab1 turns to that page, after the window's own hook for it.
    virtual void addPageHook(int index, std::function<void()> hook) = 0;
    // A subsidiary window that "open NAME" in batch mode and its opening button can show.
    // The window's controls are found by their object names inside it.
    virtual void registerWindow(const QString& name, std::function<QWidget*(QWidget* parent)> create) = 0;
    virtual QWidget* openWindow(const QString& name) = 0;
    // While a handler runs the windows take no input; a control that a running handler reads
    // on purpose (a window's stop button) is kept live here.
    virtual void allowWhileBusy(QWidget* control) = 0;

    // Confirmations: every handler that drops, detaches, truncates, overwrites, purges or
    // anonymises asks through this once per click.
    virtual DestructiveConfirmation& confirmations() = 0;
};

} // namespace qormin::window
