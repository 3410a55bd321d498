#include "app/pages/EncryptionOptions.h"

#include "db/ConnectionSecurity.h"
#include "db/ServerAccess.h"
#include "platform/SettingsStore.h"
#include "window/MainWindowContext.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>

namespace qormin::app {

namespace {

const QString section = QStringLiteral("MAIN");

QString indexed(const char* name, int side) {
    return QString::fromLatin1(name) + QString::number(side);
}

QString controlName(const char* name, int side) {
    return QString::fromLatin1(name) + u'(' + QString::number(side) + u')';
}

} // namespace

EncryptionOptions::EncryptionOptions(window::MainWindowContext& context, QWidget* parent)
    : QGroupBox(tr("Encrypted connections"), parent), m_context(context), m_sides{makeSide(0), makeSide(1)} {
    setObjectName(QStringLiteral("fraEncryption"));
    auto* grid = new QGridLayout(this);
    grid->addWidget(new QLabel(tr("Encryption"), this), 0, 1);
    grid->addWidget(new QLabel(tr("CA file"), this), 0, 2);
    grid->addWidget(new QLabel(tr("Name in the certificate"), this), 0, 3);
    for (int side = 0; side < 2; ++side) {
        const Side& fields = m_sides[static_cast<size_t>(side)];
        grid->addWidget(new QLabel(side == 0 ? tr("Left server:") : tr("Right server:"), this), side + 1, 0);
        grid->addWidget(fields.encryption, side + 1, 1);
        grid->addWidget(fields.caFile, side + 1, 2);
        grid->addWidget(fields.certificateHost, side + 1, 3);
    }
    grid->setColumnStretch(2, 2);
    grid->setColumnStretch(3, 1);
    auto* note =
        new QLabel(tr("Required: encrypted, and the server's certificate checked against the CA file (or "
                      "the system's trust store) and the server's name. FreeTDS checks the name as "
                      "typed in the server box; the Microsoft driver takes no CA file."),
                   this);
    note->setWordWrap(true);
    grid->addWidget(note, 3, 0, 1, 4);
}

EncryptionOptions::Side EncryptionOptions::makeSide(int side) {
    Side fields{new QComboBox(this), new QLineEdit(this), new QLineEdit(this)};
    fields.encryption->setObjectName(controlName("cboEncryption", side));
    fields.encryption->addItem(tr("Off"), db::encryptionSettingText(db::Encryption::Off));
    fields.encryption->addItem(tr("When offered"), db::encryptionSettingText(db::Encryption::WhenOffered));
    fields.encryption->addItem(tr("Required"), db::encryptionSettingText(db::Encryption::Required));
    fields.encryption->setCurrentIndex(1);
    fields.caFile->setObjectName(controlName("txtCAFile", side));
    fields.caFile->setPlaceholderText(tr("empty: the system's trust store"));
    fields.certificateHost->setObjectName(controlName("txtCertificateHost", side));
    fields.certificateHost->setPlaceholderText(tr("empty: the server's name"));
    connect(fields.encryption, &QComboBox::currentIndexChanged, this, [this, side, fields] {
        m_context.settings().saveSetting(section, indexed("cboEncryption", side),
                                         fields.encryption->currentData().toString());
        apply(side);
    });
    for (auto [edit, name] :
         {std::pair{fields.caFile, "txtCAFile"}, std::pair{fields.certificateHost, "txtCertificateHost"}}) {
        // A lambda cannot capture a structured binding before clang 16.
        const char* key = name;
        connect(edit, &QLineEdit::textChanged, this, [this, side, key](const QString& text) {
            m_context.settings().saveSetting(section, indexed(key, side), text);
            apply(side);
        });
    }
    return fields;
}

void EncryptionOptions::load() {
    for (int side = 0; side < 2; ++side) {
        const Side& fields = m_sides[static_cast<size_t>(side)];
        platform::SettingsStore& store = m_context.settings();
        const db::Encryption encryption =
            db::encryptionFromSettingText(store.getSetting(section, indexed("cboEncryption", side)));
        fields.encryption->setCurrentIndex(
            fields.encryption->findData(db::encryptionSettingText(encryption)));
        fields.caFile->setText(store.getSetting(section, indexed("txtCAFile", side)));
        fields.certificateHost->setText(store.getSetting(section, indexed("txtCertificateHost", side)));
        apply(side);
    }
}

void EncryptionOptions::apply(int side) {
    const Side& fields = m_sides[static_cast<size_t>(side)];
    const db::Encryption encryption =
        db::encryptionFromSettingText(fields.encryption->currentData().toString());
    const bool required = encryption == db::Encryption::Required;
    fields.caFile->setEnabled(required);
    fields.certificateHost->setEnabled(required);
    // The CA file and the name count only when encryption is required; kept, not cleared, otherwise.
    m_context.serverAccess().setConnectionSecurity(side,
                                                   {encryption, required ? fields.caFile->text() : QString(),
                                                    required ? fields.certificateHost->text() : QString()});
}

} // namespace qormin::app
