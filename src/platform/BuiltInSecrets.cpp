#include "platform/BuiltInSecrets.h"

#include "platform/SettingsStore.h"

namespace qormin::platform {

namespace {

struct Entry {
    const char* key;
    const char* caption;
};

Entry entry(BuiltInSecret secret) {
    switch (secret) {
    case BuiltInSecret::SpeedTestLogin:
        return {"txtSpeedTestPassword", "Speed test log-on (sa):"};
    case BuiltInSecret::ShareLogOn:
        return {"txtShareLogOnPassword", "Share log-on (administrator):"};
    case BuiltInSecret::MirroringMasterKey:
        return {"txtMirroringKeyPassword", "Mirroring master key:"};
    case BuiltInSecret::MirroringLogin:
        return {"txtMirroringLoginPassword", "Mirroring logins:"};
    }
    return {"", ""};
}

} // namespace

QString builtInSecretDefault() {
    return QStringLiteral("harbor@579");
}

QString builtInSecretSection() {
    return QStringLiteral("MAIN");
}

QString builtInSecretKey(BuiltInSecret secret) {
    return QString::fromLatin1(entry(secret).key);
}

QString builtInSecretCaption(BuiltInSecret secret) {
    return QString::fromLatin1(entry(secret).caption);
}

QString builtInSecret(const SettingsStore& settings, BuiltInSecret secret) {
    const QString value = settings.getSetting(builtInSecretSection(), builtInSecretKey(secret));
    return value.isEmpty() ? builtInSecretDefault() : value;
}

QStringList builtInSecretAddresses() {
    QStringList addresses;
    for (const BuiltInSecret secret : allBuiltInSecrets)
        addresses.append(builtInSecretSection() + u'/' + builtInSecretKey(secret));
    return addresses;
}

} // namespace qormin::platform
