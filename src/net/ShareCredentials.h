#pragma once

#include <QString>

namespace qormin::net {

// The account a share is opened with. A Windows "DOMAIN\user" is split for the SMB client.
struct ShareCredentials {
    QString user;
    QString domain;
    QString password;

    static ShareCredentials fromAccount(const QString& account, const QString& password);
};

} // namespace qormin::net
