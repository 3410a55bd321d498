#include "WindowHarness.h"

#include "app/batch/BatchLogEcho.h"
#include "app/batch/BatchRunner.h"
#include "platform/PlatformServices.h"
#include "platform/ShellService.h"

#include <QDir>

namespace qormin::test {

namespace {

// The window's commands are not run: a test must not start programs or open folders.
class InertShellService : public platform::ShellService {
public:
    int run(const QString& /*commandLine*/, bool /*wait*/) override { return 0; }
    bool openFolder(const QString& /*folder*/) override { return true; }
};

} // namespace

WindowHarness::WindowHarness(platform::FileSystemService* files, Mode mode)
    : m_settings(platform::SettingsStore::openFile(m_root.filePath(QStringLiteral("settings.ini")))),
      m_paths(platform::PathMapper::Platform::Posix, m_root.filePath(QStringLiteral("gvfs")),
              m_root.filePath(QStringLiteral("drives"))),
      m_files(m_paths), m_activeFiles(files != nullptr ? files : &m_files),
      m_shell(std::make_unique<InertShellService>()), m_outputStream(&m_output), m_errorStream(&m_errors),
      m_logStream(&m_log), m_messageBoxes(m_outputStream, m_errorStream), m_mode(mode) {
    open();
}

WindowHarness::~WindowHarness() = default;

void WindowHarness::open() {
    platform::PlatformServices services{m_settings.get(), &m_paths,
                                        m_activeFiles,    m_shell.get(),
                                        &m_messageBoxes,  m_root.filePath(QStringLiteral("data"))};
    m_window = std::make_unique<app::frmMain>(services);
    if (m_mode == Mode::Batch)
        m_window->enterBatchMode();
}

QString WindowHarness::settingsFile() const {
    return m_root.filePath(QStringLiteral("settings.ini"));
}

QString WindowHarness::folder(const QString& name) const {
    QDir(m_root.path()).mkpath(name);
    return m_root.filePath(name);
}

void WindowHarness::load() {
    m_window->Form_Load();
}

void WindowHarness::storeConnection(int side, const QString& server, const QString& password) {
    const QString index = QString::number(side);
    m_settings->saveSetting(QStringLiteral("MIR"), QStringLiteral("txtServer") + index, server);
    m_settings->saveSetting(QStringLiteral("MIR"), QStringLiteral("DB") + index, password);
}

void WindowHarness::restart() {
    m_window.reset();
    m_settings = platform::SettingsStore::openFile(settingsFile());
    open();
    load();
}

BatchResult WindowHarness::runBatch(const QString& script) {
    QString text = script;
    QTextStream input(&text);
    const qsizetype outputBefore = m_output.size();
    const qsizetype errorsBefore = m_errors.size();
    const qsizetype logBefore = m_log.size();
    const app::BatchLogEcho echo(m_window->serverAccess(), m_logStream);
    app::BatchRunner runner(*m_window, m_messageBoxes, m_outputStream, m_errorStream, m_logStream);
    const int exitCode = runner.run(input);
    m_outputStream.flush();
    m_errorStream.flush();
    m_logStream.flush();
    return {exitCode, m_output.mid(outputBefore), m_errors.mid(errorsBefore), m_log.mid(logBefore)};
}

} // namespace qormin::test
