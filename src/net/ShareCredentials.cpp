#include "net/ShareCredentials.h"

namespace qormin::net {

ShareCredentials ShareCredentials::fromAccount(const QString& account, const QString& password) {
    const qsizetype backslash = account.indexOf(u'\\');
    if (backslash < 0)
        return {account, QString(), password};
    return {account.mid(backslash + 1), account.left(backslash), password};
}

} // namespace qormin::net
