#include "app/InstallLayout.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace qormin::app::install {

namespace {

QString simulatorName() {
#ifdef Q_OS_WIN
    return QStringLiteral("qormin-sim.exe");
#else
    return QStringLiteral("qormin-sim");
#endif
}

const QString scenarioName = QStringLiteral("scenarios/demo.json");

// The first of the candidates that exists, or empty.
QString firstExisting(const QStringList& candidates) {
    for (const QString& candidate : candidates) {
        if (QFileInfo::exists(candidate))
            return QDir::cleanPath(candidate);
    }
    return {};
}

QString under(const QString& programDirectory, const char* relative, const QString& name) {
    return programDirectory + u'/' + QLatin1String(relative) + u'/' + name;
}

} // namespace

QString simulatorProgram(const QString& programDirectory) {
    return firstExisting({programDirectory + u'/' + simulatorName(),
                          under(programDirectory, QORMIN_INSTALL_PRIVATE_RELATIVE, simulatorName())});
}

QString demoScenario(const QString& programDirectory) {
    return firstExisting({programDirectory + u'/' + scenarioName,
                          under(programDirectory, QORMIN_INSTALL_DATA_RELATIVE, scenarioName)});
}

bool runsInstalled(const QString& programDirectory) {
    return QFileInfo::exists(under(programDirectory, QORMIN_INSTALL_DATA_RELATIVE, scenarioName));
}

QString defaultDataDirectory(const QString& programDirectory) {
    if (!runsInstalled(programDirectory))
        return programDirectory;
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir().mkpath(folder);
    return folder;
}

} // namespace qormin::app::install
