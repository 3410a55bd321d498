#include "sim/ScenarioData.h"

namespace qormin::sim {

QString ScenarioData::knownDatabase(const QString& asked) const {
    // Like the server's own comparisons, trailing blanks do not count ("MASTER " is master).
    QString name = asked;
    while (name.endsWith(QLatin1Char(' '))) {
        name.chop(1);
    }
    static const QStringList systemDatabases{QStringLiteral("master"), QStringLiteral("tempdb"),
                                             QStringLiteral("model"), QStringLiteral("msdb")};
    for (const auto& list : {systemDatabases, databases}) {
        for (const auto& known : list) {
            if (known.compare(name, Qt::CaseInsensitive) == 0) {
                return known;
            }
        }
    }
    return databases.isEmpty() ? name : QString();
}

} // namespace qormin::sim
