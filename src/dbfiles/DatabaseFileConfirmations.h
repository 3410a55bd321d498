#pragma once

#include <QStringList>

namespace qormin::controls {
class FileListBox;
}

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::dbfiles {

// The question each destructive button of the database-file tools asks before its handler
// runs, once per click: the handlers call one another (Drop ALL drops through DropDB, Mirror All
// restores through Restore), so the question sits at the button, not in the routine.
// Each returns true when the handler may run.
class DatabaseFileConfirmations {
public:
    explicit DatabaseFileConfirmations(window::MainWindowContext& context) : m_context(context) {}

    bool drop(int side);
    bool dropAll(int side);
    bool detachAll();
    // Only when a database to be restored is listed on that side already.
    bool restore(int side);
    bool restoreAllToMain(controls::FileListBox& files);
    bool restoreClickedToMain();
    bool mirrorAll();

private:
    QStringList listed(int side) const;
    QStringList listedOn(int side, const QStringList& databases) const;
    QStringList databasesOrTxtDB(int side) const;
    bool confirm(const QString& action, int side, const QStringList& databases);

    window::MainWindowContext& m_context;
};

} // namespace qormin::dbfiles
