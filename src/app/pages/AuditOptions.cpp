#include "app/pages/AuditOptions.h"

#include "db/AuditTrail.h"
#include "db/SecretMask.h"
#include "db/ServerAccess.h"
#include "platform/BuiltInSecrets.h"
#include "platform/SettingsStore.h"
#include "window/MainWindowContext.h"

#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QLineEdit>

namespace qormin::app {

namespace {
const QString section = QStringLiteral("MAIN");
const QString auditFileKey = QStringLiteral("txtAuditFile");
} // namespace

AuditOptions::AuditOptions(window::MainWindowContext& context, QWidget* parent)
    : QGroupBox(tr("Audit trail and built-in passwords"), parent), m_context(context),
      m_auditFile(new QLineEdit(this)) {
    setObjectName(QStringLiteral("fraAudit"));
    db::ServerAccess& access = context.serverAccess();
    m_trail = std::make_unique<db::AuditTrail>(
        [&context](int side) { return side == 0 || side == 1 ? context.txtServer(side)->text() : QString(); },
        [&access](const QString& problem) { access.reportAuditFailure(problem); });
    const QString defaultPath = defaultAuditPath(context);
    m_auditFile->setObjectName(auditFileKey);
    m_auditFile->setPlaceholderText(defaultPath);
    m_auditFile->setText(context.settings().getSetting(section, auditFileKey));
    m_trail->setPath(m_auditFile->text().isEmpty() ? defaultPath : m_auditFile->text());
    connect(m_auditFile, &QLineEdit::textChanged, this, [this, defaultPath](const QString& text) {
        m_context.settings().saveSetting(section, auditFileKey, text);
        m_trail->setPath(text.isEmpty() ? defaultPath : text);
    });
    auto* form = new QFormLayout(this);
    form->addRow(tr("Audit trail file:"), m_auditFile);
    addPasswordFields();
    maskSidePasswords();
    access.setAuditSink(m_trail.get());
}

AuditOptions::~AuditOptions() {
    m_context.serverAccess().setAuditSink(nullptr);
}

QString AuditOptions::defaultAuditPath(window::MainWindowContext& context) {
    const QFileInfo settings(context.settings().location());
    const QString folder = settings.isFile() ? settings.absolutePath() : context.dataDirectory();
    return QDir(folder).filePath(QStringLiteral("audit.jsonl"));
}

// Empty means the built-in value, which the statements then use unchanged.
void AuditOptions::addPasswordFields() {
    auto* form = static_cast<QFormLayout*>(layout());
    for (const platform::BuiltInSecret secret : platform::allBuiltInSecrets) {
        const QString key = platform::builtInSecretKey(secret);
        auto* edit = new QLineEdit(this);
        edit->setObjectName(key);
        edit->setEchoMode(QLineEdit::Password);
        edit->setPlaceholderText(tr("empty: the built-in password"));
        edit->setText(m_context.settings().getSetting(platform::builtInSecretSection(), key));
        db::setKnownSecret(key, platform::builtInSecret(m_context.settings(), secret));
        connect(edit, &QLineEdit::textChanged, this, [this, key, secret](const QString& text) {
            m_context.settings().saveSetting(platform::builtInSecretSection(), key, text);
            db::setKnownSecret(key, platform::builtInSecret(m_context.settings(), secret));
        });
        form->addRow(platform::builtInSecretCaption(secret), edit);
    }
}

void AuditOptions::maskSidePasswords() {
    for (int side = 0; side < window::MainWindowContext::sideCount; ++side) {
        for (QLineEdit* edit : {m_context.txtPW(side), m_context.txtServerPW(side)}) {
            db::setKnownSecret(edit->objectName(), edit->text());
            connect(edit, &QLineEdit::textChanged, this,
                    [edit](const QString& text) { db::setKnownSecret(edit->objectName(), text); });
        }
    }
}

} // namespace qormin::app
