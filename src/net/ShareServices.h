#pragma once

#include <QProcessEnvironment>
#include <memory>

namespace qormin::window {
class MainWindowContext;
}

namespace qormin::net {

class ModNetUse;
class ShareShell;

// The share mapping and shell services of this platform, built on the window's path
// mapping and shell, and owned together.
class ShareServices {
public:
    // environment: where the Linux tools (gio, smbclient, xdg-open, terminals, xdotool) are
    // looked up and what they run with.
    explicit ShareServices(window::MainWindowContext& context,
                           QProcessEnvironment environment = QProcessEnvironment::systemEnvironment());
    ~ShareServices();
    ShareServices(const ShareServices&) = delete;
    ShareServices& operator=(const ShareServices&) = delete;

    ModNetUse& net();
    ShareShell& shell();

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace qormin::net
