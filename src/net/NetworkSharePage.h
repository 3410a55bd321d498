#pragma once

#include <QObject>
#include <QProcessEnvironment>
#include <memory>

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::net {

class ShareServices;

// The share buttons of each side on "Main Tools" (map the backup share as X: or Y:, open it,
// open it at a log-on prompt, a command prompt on the drive, clear the database's sessions)
// and "Drop Dir".
class NetworkSharePage : public QObject {
    Q_OBJECT
public:
    // The administrator account typed into the server's log-on prompt by cmdOpenDirB; its
    // password is the setting BuiltInSecret::ShareLogOn.
    static constexpr const char* logOnUser = "administrator";

    NetworkSharePage(window::MainWindowContext& context, std::unique_ptr<ShareServices> services,
                     QObject* parent = nullptr);
    ~NetworkSharePage() override;

    // Puts the buttons on the window, with this platform's services.
    static NetworkSharePage*
    install(window::MainWindowContext& context,
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment());

    void cmdNetworkConnect_Click(int index);
    void cmdOpenDir_Click(int index);
    void cmdOpenFolder_Click(int index);
    void cmdOpenDirB_Click(int index);
    void cmdOpenPath_Click(int index);
    // Also run by the drop-all of the attach/detach tools before each drop.
    void cmdClearConnections_Click(int index);
    void cmdDropDir_Click();

private:
    void addButtons();
    void log(const QString& problem);

    window::MainWindowContext& m_context;
    std::unique_ptr<ShareServices> m_services;
};

} // namespace qormin::net
