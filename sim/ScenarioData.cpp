#include "sim/ScenarioData.h"

namespace qormin::sim {

QString ScenarioData::knownDatabase(const QString& name) const {
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
