#pragma once

#include "dbfiles/CopyOrder.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace qormin::dbfiles {

// Statements, scripts and certificate copies of the "Mirroring" page.
class MirroringStatements {
public:
    MirroringStatements() = delete;

    static constexpr int scriptCount = 5;

    // cmdSetPartner: the partner's endpoint, then asynchronous mirroring. The only statements
    // of the subsystem that bracket the database name.
    static QStringList setPartner(const QString& database, const QString& partnerServer);
    // cmdMakeOnline: end mirroring, recover, full recovery model; each is sent whatever the
    // one before returned.
    static QStringList makeOnline(const QString& database);

    // The default text of txtScript1(index), lines ended by CR LF: 0 reset (both servers),
    // 1 and 3 left server set-up, 2 right server set-up, 4 endpoint restart.
    static QString defaultScript(int index);
    // The default as txtScript1 shows it: each password replaced by the mask.
    static QString shownScript(int index);
    // The script with each masked password filled in: the master key's "BY PASSWORD" and the
    // logins' "WITH PASSWORD", quotes doubled. defaultScript(index) is
    // withPasswords(shownScript(index), the built-in password, the built-in password).
    static QString withPasswords(const QString& script, const QString& masterKey, const QString& login);
    // cmdCopyCert(index): 0 copies the left certificate to the right share, 1 the right one to
    // the left share; any other index copies nothing.
    static std::optional<CopyOrder> certificateCopy(int index);
};

} // namespace qormin::dbfiles
