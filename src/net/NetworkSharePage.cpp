#include "net/NetworkSharePage.h"

#include "db/EventLoopYield.h"
#include "db/NameGuard.h"
#include "db/ServerAccess.h"
#include "net/KeyStrokeTyping.h"
#include "net/ModNetUse.h"
#include "net/NetworkErrorCodes.h"
#include "net/SessionStatements.h"
#include "net/ShareConnector.h"
#include "net/ShareServices.h"
#include "net/ShareShell.h"
#include "platform/BuiltInSecrets.h"
#include "platform/MessageBoxService.h"
#include "window/MainWindowContext.h"

#include <QBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

namespace qormin::net {

namespace {

constexpr std::chrono::milliseconds explorerWait(1500);

QString indexed(const char* name, int index) {
    return QString::fromLatin1(name) + u'(' + QString::number(index) + u')';
}

} // namespace

NetworkSharePage::NetworkSharePage(window::MainWindowContext& context,
                                   std::unique_ptr<ShareServices> services, QObject* parent)
    : QObject(parent), m_context(context), m_services(std::move(services)) {
    addButtons();
}

NetworkSharePage::~NetworkSharePage() = default;

NetworkSharePage* NetworkSharePage::install(window::MainWindowContext& context,
                                            QProcessEnvironment environment) {
    return new NetworkSharePage(context, std::make_unique<ShareServices>(context, std::move(environment)),
                                context.page(0));
}

void NetworkSharePage::addButtons() {
    struct Button {
        const char* name;
        const char* caption;
        const char* tip;
        void (NetworkSharePage::*handler)(int);
    };
    static const Button buttons[] = {
        {"cmdNetworkConnect", "Net Connect", "Map \\\\server\\backup as X: (left) or Y: (right)",
         &NetworkSharePage::cmdNetworkConnect_Click},
        {"cmdOpenDir", "Open Dir", "Open \\\\server\\backup in the file manager",
         &NetworkSharePage::cmdOpenDir_Click},
        {"cmdOpenFolder", "Open Folder", "Open \\\\server\\backup in the file manager",
         &NetworkSharePage::cmdOpenFolder_Click},
        {"cmdOpenDirB", "Open Dir (log-on)", "Open \\\\server\\backup and answer the log-on prompt",
         &NetworkSharePage::cmdOpenDirB_Click},
        {"cmdOpenPath", "Command Prompt", "A command prompt on the mapped drive",
         &NetworkSharePage::cmdOpenPath_Click},
        {"cmdClearConnections", "Clear Connections", "End every session using the database in txtDB",
         &NetworkSharePage::cmdClearConnections_Click},
    };
    for (int side = 0; side < window::MainWindowContext::sideCount; ++side) {
        for (const Button& button : buttons) {
            auto* widget = new QPushButton(tr(button.caption), m_context.page(0));
            widget->setObjectName(indexed(button.name, side));
            widget->setToolTip(tr(button.tip));
            const auto handler = button.handler;
            connect(widget, &QPushButton::clicked, this, [this, handler, side] { (this->*handler)(side); });
            m_context.sideButtons(side)->addWidget(widget);
        }
    }
    auto* dropDir = new QPushButton(tr("Drop Dir"), m_context.page(0));
    dropDir->setObjectName(QStringLiteral("cmdDropDir"));
    dropDir->setToolTip(tr("Remove all mapped network drives"));
    connect(dropDir, &QPushButton::clicked, this, [this] { cmdDropDir_Click(); });
    m_context.pageToolArea(0)->addWidget(dropDir);
}

void NetworkSharePage::log(const QString& problem) {
    if (!problem.isEmpty())
        m_context.serverAccess().LogMessage(problem);
}

void NetworkSharePage::cmdNetworkConnect_Click(int index) {
    db::EventLoopYield::processEvents();
    db::EventLoopYield::processEvents();
    const bool right = index == 1;
    ModNetUse& net = m_services->net();
    net.NetUseConnect(m_context.txtServer(index)->text() + QStringLiteral("\\backup"),
                      right ? QStringLiteral("Y:") : QStringLiteral("X:"),
                      m_context.txtServerUser(index)->text(), m_context.txtServerPW(index)->text());
    const auto result = static_cast<std::uint32_t>(net.NetLastResult());
    if (result == NetworkErrorCodes::success || result == NetworkErrorCodes::alreadyAssigned)
        return;
    const std::string detail = net.connector().lastDetail();
    if (!detail.empty())
        qWarning("share mapping: %s", detail.c_str());
    m_context.messageBoxes().MsgBox(net.NetLastErrorText());
}

void NetworkSharePage::cmdOpenDir_Click(int index) {
    log(m_services->shell().openShareFolder(m_context.txtServer(index)->text()));
}

void NetworkSharePage::cmdOpenFolder_Click(int index) {
    cmdOpenDir_Click(index);
}

void NetworkSharePage::cmdOpenDirB_Click(int index) {
    ShareShell& shell = m_services->shell();
    const QString problem = shell.openShareFolder(m_context.txtServer(index)->text());
    if (!problem.isEmpty())
        return log(problem);
    letWindowOpen(explorerWait);
    const QString keys[] = {
        QStringLiteral("{DOWN}{DOWN}"), QString::fromLatin1(logOnUser) + QStringLiteral("{TAB}"),
        platform::builtInSecret(m_context.settings(), platform::BuiltInSecret::ShareLogOn),
        QStringLiteral("{ENTER}")};
    for (const QString& text : keys) {
        const QString notSent = shell.sendKeys(text);
        if (!notSent.isEmpty())
            return log(notSent);
    }
}

void NetworkSharePage::cmdOpenPath_Click(int index) {
    log(m_services->shell().openCommandPrompt(index == 1 ? QStringLiteral("y:") : QStringLiteral("X:")));
}

void NetworkSharePage::cmdClearConnections_Click(int index) {
    const QString database = m_context.txtDB()->text();
    if (db::NameGuard::admit(m_context.serverAccess(), db::NameGuard::Position::Quoted, {database}))
        m_context.serverAccess().ExecuteSQL(index, SessionStatements::clearConnections(database));
}

void NetworkSharePage::cmdDropDir_Click() {
    log(m_services->shell().dropMappedDrives());
}

} // namespace qormin::net
