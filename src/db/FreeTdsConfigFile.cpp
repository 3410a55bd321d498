#include "db/FreeTdsConfigFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMap>
#include <QSaveFile>
#include <mutex>

namespace qormin::db {

namespace {

struct State {
    std::mutex mutex;
    bool installed = false;
    QString path;
    QString userFile; // what FREETDSCONF named before, if anything
    QMap<QString, QString> sections;
    bool written = false;

    ~State() {
        if (written) {
            QFile::remove(path);
        }
    }

    // The sections, then the user's own file as it is now.
    bool write() {
        QString text;
        for (const QString& kept : std::as_const(sections)) {
            text += kept + u'\n';
        }
        QFile user(userFile);
        if (!userFile.isEmpty() && user.open(QIODevice::ReadOnly)) {
            text += QString::fromUtf8(user.readAll());
        }
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly)) {
            return false;
        }
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        file.write(text.toUtf8());
        const bool committed = file.commit();
        written = written || committed;
        return committed;
    }
};

State& state() {
    static State instance;
    return instance;
}

QString sectionName(const QString& section) {
    return section.section(QLatin1Char('\n'), 0, 0);
}

} // namespace

void FreeTdsConfigFile::install() {
    State& s = state();
    const std::lock_guard lock(s.mutex);
    if (s.installed) {
        return;
    }
    s.installed = true;
    s.userFile = qEnvironmentVariable("FREETDSCONF");
    // The file holds server addresses and CA paths, nothing secret; it exists only once a
    // verified connection needs it (at once when it must carry the user's own file), and is replaced whole
    // (QSaveFile), never written in place.
    s.path = QDir(QDir::tempPath())
                 .filePath(QStringLiteral("qormin-freetds-%1.conf").arg(QCoreApplication::applicationPid()));
    qputenv("FREETDSCONF", QFile::encodeName(s.path));
    // A user's own file must stay in force from the first connection on.
    if (!s.userFile.isEmpty()) {
        s.write();
    }
}

bool FreeTdsConfigFile::put(const QString& section) {
    install();
    State& s = state();
    const std::lock_guard lock(s.mutex);
    s.sections.insert(sectionName(section), section);
    return s.write();
}

QString FreeTdsConfigFile::path() {
    State& s = state();
    const std::lock_guard lock(s.mutex);
    return s.path;
}

} // namespace qormin::db
