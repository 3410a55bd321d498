#pragma once

#include "sim/Rule.h"

#include <QStringList>
#include <optional>
#include <vector>

namespace qormin::sim {

struct LoginCheck {
    QString user;
    QString password;
};

// Everything a scenario file declares, ready for the connections to use (read-only, shared).
struct ScenarioData {
    std::optional<LoginCheck> login;
    QStringList databases; // empty: every name is accepted
    QString serverName = QStringLiteral("QORMINSIM");
    std::vector<Rule> rules;
    std::vector<ResponseStep> defaultResponse;
    int hangLimitMilliseconds = 120'000;
    // The login's answer stops after this many tokens and the server falls silent.
    std::optional<int> loginStallAfterTokens;

    // The declared spelling of `name` (case-insensitive); empty when the database is unknown.
    QString knownDatabase(const QString& asked) const;
};

} // namespace qormin::sim
