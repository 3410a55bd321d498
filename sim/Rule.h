#pragma once

#include "sim/AnswerCut.h"
#include "sim/ResponseStep.h"

#include <QJsonValue>
#include <QRegularExpression>
#include <QStringList>
#include <QVariant>
#include <map>
#include <optional>
#include <vector>

namespace qormin::sim {

// Maps statements to a response; the first rule that matches wins.
struct Rule {
    enum class Match { Exact, Prefix, Regex };
    Match match = Match::Exact;
    QString text;
    bool caseSensitive = false;
    QString database; // empty: any current database
    QRegularExpression regex;
    // Parameters (lower-case name with "@") that must have arrived with these values, compared
    // in their transcript form; lets a rule refuse one row of a parameterised INSERT.
    std::map<QString, QJsonValue> parameters;
    std::vector<ResponseStep> response;
    std::optional<AnswerCut> cut;

    using Parameters = std::map<QString, QVariant>;
    // The captures ("{0}" the whole match, "{1}".. groups) when the rule applies.
    std::optional<QStringList> matches(const QString& statement, const QString& currentDatabase,
                                       const Parameters& arrived = {}) const;
};

} // namespace qormin::sim
