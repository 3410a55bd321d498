#pragma once

#include "sim/AnswerCut.h"
#include "sim/ResponseStep.h"

#include <QRegularExpression>
#include <QStringList>
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
    std::vector<ResponseStep> response;
    std::optional<AnswerCut> cut;

    // The captures ("{0}" the whole match, "{1}".. groups) when the rule applies.
    std::optional<QStringList> matches(const QString& statement, const QString& currentDatabase) const;
};

} // namespace qormin::sim
