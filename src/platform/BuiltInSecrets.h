#pragma once

#include <QString>
#include <QStringList>
#include <array>

namespace qormin::platform {

class SettingsStore;

// The passwords the tool once had built in: the speed test's log-on, the administrator password
// typed into a share's log-on prompt, and the mirroring scripts' master key and logins. Each is a
// setting under "MAIN" kept in the credential store like the SQL passwords; unset, each is the
// value the tool always used, so the statements stay as they were.
enum class BuiltInSecret { SpeedTestLogin, ShareLogOn, MirroringMasterKey, MirroringLogin };

inline constexpr std::array allBuiltInSecrets{BuiltInSecret::SpeedTestLogin, BuiltInSecret::ShareLogOn,
                                              BuiltInSecret::MirroringMasterKey,
                                              BuiltInSecret::MirroringLogin};

QString builtInSecretDefault();
QString builtInSecretSection();
QString builtInSecretKey(BuiltInSecret secret);
QString builtInSecretCaption(BuiltInSecret secret);
// The stored value, or the default when none is stored (or an empty one).
QString builtInSecret(const SettingsStore& settings, BuiltInSecret secret);
// As "section/key", for SettingsStore::keepSecretsIn.
QStringList builtInSecretAddresses();

} // namespace qormin::platform
