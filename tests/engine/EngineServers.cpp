#include "EngineServers.h"

#include "db/ConnectionString.h"

#include <QProcessEnvironment>

namespace qormin::test {

std::optional<EngineServers> EngineServers::fromEnvironment(QString& whyNot) {
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    EngineServers servers;
    servers.server[0] = environment.value(QStringLiteral("QORMIN_TEST_SERVER_LEFT"));
    servers.server[1] = environment.value(QStringLiteral("QORMIN_TEST_SERVER_RIGHT"));
    servers.user = environment.value(QStringLiteral("QORMIN_TEST_USER"), QStringLiteral("sa"));
    servers.password = environment.value(QStringLiteral("QORMIN_TEST_PASSWORD"));
    servers.babelfish = environment.value(QStringLiteral("QORMIN_TEST_ENGINE")) == QLatin1String("babelfish");
    if (servers.server[0].isEmpty() || servers.server[1].isEmpty()) {
        whyNot = QStringLiteral(
            "no T-SQL servers: QORMIN_TEST_SERVER_LEFT and QORMIN_TEST_SERVER_RIGHT are not "
            "set (scripts/test.sh starts two engines and sets them; see tests/engine/README.md)");
        return std::nullopt;
    }
    return servers;
}

QString EngineServers::connectionString(int side, const QString& database) const {
    const QString provider = db::buildConnectionString(server[side], user, password);
    QString text = db::translateConnectionString(provider, QStringLiteral("FreeTDS")).text;
    return text.replace(QStringLiteral("Database=MASTER;"),
                        QStringLiteral("Database=") + database + QLatin1Char(';'));
}

} // namespace qormin::test
