#include "app/pages/ConfirmOptions.h"

#include "platform/SettingsStore.h"
#include "window/DestructiveConfirmation.h"

#include <QCheckBox>
#include <QVBoxLayout>

namespace qormin::app {

namespace {
const QString section = QStringLiteral("MAIN");
const QString key = QStringLiteral("chkConfirmDestructive");
} // namespace

ConfirmOptions::ConfirmOptions(window::DestructiveConfirmation& confirmation,
                               platform::SettingsStore& settings, QWidget* parent)
    : QWidget(parent), m_confirmation(confirmation), m_settings(settings),
      m_box(new QCheckBox(tr("Ask before destructive actions"), this)) {
    m_box->setObjectName(key);
    m_box->setChecked(confirmation.enabled());
    m_box->setToolTip(tr("Drop, detach, truncate, restore over a database, purge and anonymise ask once "
                         "per click, naming the side, the server and the databases."));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_box);
    connect(m_box, &QCheckBox::toggled, this, [this](bool checked) {
        m_confirmation.setEnabled(checked);
        if (!m_batch)
            m_settings.saveSetting(section, key, checked ? QStringLiteral("1") : QStringLiteral("0"));
    });
}

void ConfirmOptions::enterBatchMode() {
    m_batch = true;
    m_box->setChecked(false);
}

void ConfirmOptions::load() {
    if (m_batch)
        return;
    m_box->setChecked(m_settings.getSetting(section, key, QStringLiteral("1")) != u"0");
}

} // namespace qormin::app
