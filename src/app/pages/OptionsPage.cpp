#include "app/pages/OptionsPage.h"

#include "app/pages/EncryptionOptions.h"

#include "db/ServerAccess.h"
#include "platform/PathMapper.h"
#include "platform/SettingsStore.h"
#include "window/MainWindowContext.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace qormin::app {

namespace {
const QString section = QStringLiteral("Options");
const QString mountRootKey = QStringLiteral("txtMountRoot");
const QString odbcDriverKey = QStringLiteral("txtOdbcDriver");
} // namespace

OptionsPage::OptionsPage(window::MainWindowContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_mountRoot(new QLineEdit(this)),
      m_odbcDriver(new QLineEdit(this)), m_encryption(new EncryptionOptions(context, this)),
      m_toolArea(new QVBoxLayout) {
    m_mountRoot->setObjectName(mountRootKey);
    m_mountRoot->setPlaceholderText(tr("empty: the desktop's SMB mounts (GVfs)"));
    m_odbcDriver->setObjectName(odbcDriverKey);
    m_odbcDriver->setPlaceholderText(tr("empty: found automatically"));

    auto* form = new QFormLayout;
    form->addRow(tr("Share mount root:"), m_mountRoot);
    form->addRow(tr("ODBC driver:"), m_odbcDriver);
    auto* note = new QLabel(
        tr("On this system a share \\\\server\\share\\dir is found at <mount root>/server/share/dir, "
           "or in the GVfs mount of the share when no root is given. Drive letters "
           "(X:\\dir) are found through the links in %1.")
            .arg(platform::PathMapper::defaultDriveLinkRoot()),
        this);
    note->setWordWrap(true);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(note);
    layout->addWidget(m_encryption);
    layout->addLayout(m_toolArea);
    layout->addStretch(1);

    connect(m_mountRoot, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_context.pathMapper().setMountRoot(text);
        m_context.settings().saveSetting(section, mountRootKey, text);
    });
    connect(m_odbcDriver, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_context.serverAccess().setDriverOverride(text);
        m_context.settings().saveSetting(section, odbcDriverKey, text);
    });
}

QBoxLayout* OptionsPage::toolArea() const {
    return m_toolArea;
}

void OptionsPage::load() {
    m_mountRoot->setText(m_context.settings().getSetting(section, mountRootKey));
    m_odbcDriver->setText(m_context.settings().getSetting(section, odbcDriverKey));
    m_encryption->load();
}

} // namespace qormin::app
