#include "app/Application.h"

#include "app/AppInfo.h"
#include "app/CloseGuard.h"
#include "app/RunningWorkStopper.h"
#include "app/SettingsTable.h"
#include "app/batch/BatchLogEcho.h"
#include "app/batch/BatchMessageBoxService.h"
#include "app/batch/BatchRunner.h"
#include "app/frmMain.h"
#include "db/LogBuffer.h"
#include "db/ServerAccess.h"
#include "platform/BuiltInSecrets.h"
#include "platform/KeychainSecretStore.h"
#include "platform/LocalFileSystemService.h"
#include "platform/PathMapper.h"
#include "platform/PlatformServices.h"
#include "platform/ProcessShellService.h"
#include "platform/SettingsStore.h"
#include "platform/TerminationRequests.h"
#include "platform/WidgetMessageBoxService.h"

#include "app/DemoServer.h"
#include "app/InstallLayout.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace qormin::app {

namespace {

constexpr int usageExitCode = 2;
constexpr qsizetype batchLogLineLimit = 10000;
// Long enough for the operator to answer a keyring's unlock prompt; a store that never answers
// delays start-up by this much once, and the run goes on with the settings file.
constexpr std::chrono::seconds credentialStoreLimit{10};

struct Options {
    bool batch = false;
    QString batchFile;
    QString settingsFile;
    QString dataDirectory;
    bool demo = false;
    bool exitAfterPaint = false;
    QString screenshotFile;
};

// Batch mode, and the options that only print, must choose the headless platform before the
// application object exists: they run where there is no display (cron, a server's shell).
bool headlessRequested(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const char* argument = argv[i];
        if (std::strcmp(argument, "--batch") == 0 || std::strncmp(argument, "--batch=", 8) == 0)
            return true;
        for (const char* printing : {"--version", "-v", "--help", "-h", "-?", "--help-all"}) {
            if (std::strcmp(argument, printing) == 0)
                return true;
        }
    }
    return false;
}

std::optional<Options> parse(const QApplication& application, QTextStream& errors) {
    QCommandLineParser parser;
    parser.setApplicationDescription(applicationTitle());
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption batch(
        QStringLiteral("batch"), QStringLiteral("Run the commands of FILE (- for standard input) headless."),
        QStringLiteral("FILE"));
    const QCommandLineOption settings(QStringLiteral("settings"),
                                      QStringLiteral("Keep the settings in the INI file FILE."),
                                      QStringLiteral("FILE"));
    const QCommandLineOption dataDir(QStringLiteral("data-dir"),
                                     QStringLiteral("Folder of the program's text files."),
                                     QStringLiteral("DIR"));
    const QCommandLineOption demo(QStringLiteral("demo"),
                                  QStringLiteral("Start the simulated server and connect both sides to it."));
    const QCommandLineOption exitAfterPaint(QStringLiteral("exit-after-paint"),
                                            QStringLiteral("End once start-up is done."));
    const QCommandLineOption screenshot(
        QStringLiteral("screenshot"),
        QStringLiteral("Save a picture of the window to FILE when the run ends."), QStringLiteral("FILE"));
    parser.addOptions({batch, settings, dataDir, demo, exitAfterPaint, screenshot});
    if (!parser.parse(application.arguments())) {
        errors << parser.errorText() << Qt::endl;
        return std::nullopt;
    }
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(0);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();
    if (!parser.positionalArguments().isEmpty()) {
        errors << "unexpected argument: " << parser.positionalArguments().constFirst() << Qt::endl;
        return std::nullopt;
    }
    Options options;
    options.batch = parser.isSet(batch);
    options.batchFile = parser.value(batch);
    options.settingsFile = parser.value(settings);
    options.dataDirectory = parser.isSet(dataDir)
                                ? parser.value(dataDir)
                                : install::defaultDataDirectory(QCoreApplication::applicationDirPath());
    options.demo = parser.isSet(demo);
    options.exitAfterPaint = parser.isSet(exitAfterPaint);
    options.screenshotFile = parser.value(screenshot);
    return options;
}

std::unique_ptr<platform::SettingsStore> openSettings(const Options& options, QTemporaryDir& demoFolder) {
    if (!options.settingsFile.isEmpty())
        return platform::SettingsStore::openFile(options.settingsFile);
    if (options.demo)
        return platform::SettingsStore::openFile(demoFolder.filePath(QStringLiteral("settings.ini")));
    // The user's own store keeps its passwords in the credential store; a file named on the
    // command line is complete in itself (a batch job's or a test's).
    auto settings = platform::SettingsStore::openDefault();
    settings->keepSecretsIn(
        std::make_unique<platform::KeychainSecretStore>(applicationTitle(), credentialStoreLimit),
        passwordAddresses() + platform::builtInSecretAddresses());
    return settings;
}

void storeDemoLogins(platform::SettingsStore& settings, const QString& address) {
    for (const QString& side : {QStringLiteral("0"), QStringLiteral("1")}) {
        settings.saveSetting(QStringLiteral("MIR"), QStringLiteral("txtServer") + side, address);
        settings.saveSetting(QStringLiteral("MIR"), QStringLiteral("DB") + side,
                             QString::fromLatin1(DemoServer::password));
        settings.saveSetting(QStringLiteral("MAIN"), QStringLiteral("txtUserID") + side,
                             QString::fromLatin1(DemoServer::user));
    }
}

// How the program ends when the handler under way did not end after its cancel: it is still on
// the window thread's stack, so nothing can return through it.
using EndNow = std::function<void(int status)>;

int runBatch(frmMain& window, BatchMessageBoxService& boxes, const Options& options, QTextStream& output,
             QTextStream& errors, platform::TerminationRequests& termination, const EndNow& endNow) {
    QFile file(options.batchFile);
    const bool opened = options.batchFile == u"-" ? file.open(stdin, QIODevice::ReadOnly | QIODevice::Text)
                                                  : file.open(QIODevice::ReadOnly | QIODevice::Text);
    if (!opened) {
        errors << "cannot read the batch file " << options.batchFile << ": " << file.errorString()
               << Qt::endl;
        return BatchRunner::malformedExitCode;
    }
    QTextStream input(&file);
    // Start-up's log lines, connections and statements belong to the run as well.
    const BatchLogEcho echo(window.serverAccess(), output);
    // Every line is in the output as it happens, so the boxes need keep only the newest.
    window.serverAccess().log().setLineLimit(batchLogLineLimit);
    window.serverAccess().errors().setLineLimit(batchLogLineLimit);
    BatchRunner runner(window, boxes, output, errors, output);
    runner.watch(termination);
    const QMetaObject::Connection overdue =
        QObject::connect(&window.workStopper(), &RunningWorkStopper::overdue, &window,
                         [&runner, &endNow] { endNow(runner.abandon()); });
    window.enterBatchMode();
    window.Form_Load();
    const int status = runner.run(input);
    QObject::disconnect(overdue);
    return status;
}

bool savePicture(QWidget& window, const QString& file, QTextStream& errors) {
    if (window.grab().save(file))
        return true;
    errors << "the picture could not be saved to " << file << Qt::endl;
    return false;
}

// A subsidiary window still open at the end is saved beside the main window's picture, as
// "<file>-<window name>.png", so a batch that opens one can show it.
bool saveScreenshot(QWidget& window, const QString& file, QTextStream& errors) {
    if (file.isEmpty())
        return true;
    QCoreApplication::processEvents();
    bool saved = savePicture(window, file, errors);
    const QFileInfo info(file);
    for (QWidget* other : QApplication::topLevelWidgets()) {
        if (other != &window && other->isVisible() && other->parentWidget() == &window) {
            const QString name = info.path() + u'/' + info.completeBaseName() + u'-' + other->objectName() +
                                 u'.' + info.suffix();
            saved = savePicture(*other, name, errors) && saved;
        }
    }
    return saved;
}

} // namespace

int runApplication(int argc, char** argv) {
    QElapsedTimer sinceStart;
    sinceStart.start();
    const bool headless = headlessRequested(argc, argv);
    if (headless)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setApplicationName(applicationTitle());
    QApplication::setApplicationVersion(applicationVersion());
    QTextStream output(stdout);
    QTextStream errors(stderr);
    const std::optional<Options> options = parse(application, errors);
    if (!options)
        return usageExitCode;

    QTemporaryDir demoFolder;
    std::unique_ptr<platform::SettingsStore> settings = openSettings(*options, demoFolder);
    std::unique_ptr<DemoServer> demo;
    if (options->demo) {
        QString error;
        demo = DemoServer::start(error);
        if (!demo) {
            errors << "the demo server did not start: " << error << Qt::endl;
            return 1;
        }
        storeDemoLogins(*settings, demo->address());
    }
    platform::PathMapper paths = platform::PathMapper::forThisSystem();
    platform::LocalFileSystemService files(paths);
    platform::ProcessShellService shell(paths);
    platform::WidgetMessageBoxService widgetBoxes;
    BatchMessageBoxService batchBoxes(output, errors);
    platform::PlatformServices services{
        settings.get(),
        &paths,
        &files,
        &shell,
        options->batch ? static_cast<platform::MessageBoxService*>(&batchBoxes) : &widgetBoxes,
        options->dataDirectory};
    frmMain window(services);
    widgetBoxes.setParentWindow(&window);
    platform::TerminationRequests termination;
    const EndNow endNow = [&demo, &output](int status) {
        output.flush();
        std::fflush(nullptr);
        demo.reset();
        std::_Exit(status);
    };
    if (options->batch) {
        const int status = runBatch(window, batchBoxes, *options, output, errors, termination, endNow);
        saveScreenshot(window, options->screenshotFile, errors);
        return status;
    }
    qint64 paintedAfter = -1;
    QObject::connect(&window, &frmMain::painted, [&] { paintedAfter = sinceStart.elapsed(); });
    window.Form_Load();
    if (options->exitAfterPaint) {
        errors << "start-up: painted after " << paintedAfter << " ms, ready after " << sinceStart.elapsed()
               << " ms" << Qt::endl;
        return saveScreenshot(window, options->screenshotFile, errors) ? 0 : 1;
    }
    window.closeGuard().setOverdueEnd([&endNow] { endNow(BatchRunner::interruptedExitCode); });
    bool terminated = false;
    QObject::connect(&termination, &platform::TerminationRequests::requested, &window,
                     [&window, &terminated](const QString& name) {
                         terminated = true;
                         window.closeGuard().closeWithoutAsking(
                             QStringLiteral("Interrupted by ") + name +
                             QStringLiteral(": the running statement is cancelled and the window closes."));
                     });
    const int status = application.exec();
    return terminated ? BatchRunner::interruptedExitCode : status;
}

} // namespace qormin::app
