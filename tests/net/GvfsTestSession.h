#pragma once

#include "PrivateSessionBus.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

namespace qormin::test {

// A private desktop session for GVfs: its own D-Bus session bus and XDG_RUNTIME_DIR, so
// gvfsd, its SMB backend and gvfsd-fuse start as they would at a desktop, and end with it.
class GvfsTestSession {
public:
    GvfsTestSession() = default;
    ~GvfsTestSession();
    GvfsTestSession(const GvfsTestSession&) = delete;
    GvfsTestSession& operator=(const GvfsTestSession&) = delete;

    // False, with what is missing, when GVfs cannot run here.
    bool start(QString& whyNot);

    QProcessEnvironment environment() const { return m_environment; }
    QString gvfsFolder() const;

private:
    QTemporaryDir m_folder;
    PrivateSessionBus m_bus{m_folder.path()};
    QProcessEnvironment m_environment;
};

} // namespace qormin::test
