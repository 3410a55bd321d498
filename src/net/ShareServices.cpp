#include "net/ShareServices.h"

#include "net/ModNetUse.h"
#include "platform/PathMapper.h"
#include "window/MainWindowContext.h"

#ifdef Q_OS_WIN
#include "net/Win32KeyStrokeSender.h"
#include "net/Win32ShareConnector.h"
#include "net/WindowsShareShell.h"
#else
#include "net/ConfiguredShareMounter.h"
#include "net/DesktopShareShell.h"
#include "net/DriveLinkStore.h"
#include "net/GioShareMounter.h"
#include "net/MountShareConnector.h"
#include "net/ShareAddress.h"
#include "net/SmbclientShareMounter.h"
#include "net/XdotoolKeyStrokeSender.h"
#endif

namespace qormin::net {

#ifdef Q_OS_WIN

struct ShareServices::Parts {
    Parts(window::MainWindowContext& context, const QProcessEnvironment&)
        : shell(context.shell(), keys, std::chrono::milliseconds(1500)), net(connector) {}

    Win32ShareConnector connector;
    Win32KeyStrokeSender keys;
    WindowsShareShell shell;
    ModNetUse net;
};

#else

struct ShareServices::Parts {
    Parts(window::MainWindowContext& context, const QProcessEnvironment& environment)
        : links(context.pathMapper().driveLinkRoot()), desktopMounter(environment),
          mountRootMounter([&paths = context.pathMapper()](
                               const ShareAddress& share) { return paths.resolve(share.remoteName()); },
                           environment),
          mounter(context.pathMapper(), desktopMounter, mountRootMounter), connector(mounter, links),
          keys(environment), shell(context.pathMapper(), connector, keys, environment), net(connector) {}

    DriveLinkStore links;
    GioShareMounter desktopMounter;
    SmbclientShareMounter mountRootMounter;
    ConfiguredShareMounter mounter;
    MountShareConnector connector;
    XdotoolKeyStrokeSender keys;
    DesktopShareShell shell;
    ModNetUse net;
};

#endif

ShareServices::ShareServices(window::MainWindowContext& context, QProcessEnvironment environment)
    : m_parts(std::make_unique<Parts>(context, environment)) {}

ShareServices::~ShareServices() = default;

ModNetUse& ShareServices::net() {
    return m_parts->net;
}

ShareShell& ShareServices::shell() {
    return m_parts->shell;
}

} // namespace qormin::net
