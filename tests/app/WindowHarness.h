#pragma once

#include "app/batch/BatchMessageBoxService.h"
#include "app/frmMain.h"
#include "platform/LocalFileSystemService.h"
#include "platform/PathMapper.h"
#include "platform/SettingsStore.h"

#include <QStringList>
#include <QTemporaryDir>
#include <QTextStream>
#include <memory>

namespace qormin::platform {
class FileSystemService;
class ShellService;
} // namespace qormin::platform

namespace qormin::test {

struct BatchResult {
    int exitCode = 0;
    QString output;
    QString errors;
    QString log; // the echoed log lines and the closing summary
};

// A main window on a settings file of its own, with message boxes answered the batch way
// (printed as "MSGBOX: ..." into output()). restart() closes the window and opens a new one
// on the same settings file, as a second run of the program would.
class WindowHarness {
public:
    enum class Mode { Batch, Window };
    // files: the file system the window lists its folders through; the machine's own when null.
    // Mode::Window: the window as it starts without --batch (the settings it keeps from a batch
    // run count).
    explicit WindowHarness(platform::FileSystemService* files = nullptr, Mode mode = Mode::Batch);
    ~WindowHarness();

    app::frmMain& window() { return *m_window; }
    platform::SettingsStore& settings() { return *m_settings; }
    QString settingsFile() const;
    QString folder(const QString& name) const; // a folder inside the harness's temporary root
    QString output() const { return m_output; }
    QString errors() const { return m_errors; }

    void load(); // Form_Load
    // The server and password a side finds in the settings at start-up.
    void storeConnection(int side, const QString& server, const QString& password);
    void restart();
    BatchResult runBatch(const QString& script);

private:
    void open();

    QTemporaryDir m_root;
    std::unique_ptr<platform::SettingsStore> m_settings;
    platform::PathMapper m_paths;
    platform::LocalFileSystemService m_files;
    platform::FileSystemService* m_activeFiles;
    std::unique_ptr<platform::ShellService> m_shell; // runs nothing
    QString m_output;
    QString m_errors;
    QString m_log;
    QTextStream m_outputStream;
    QTextStream m_errorStream;
    QTextStream m_logStream;
    app::BatchMessageBoxService m_messageBoxes;
    std::unique_ptr<app::frmMain> m_window;
    Mode m_mode;
};

} // namespace qormin::test
