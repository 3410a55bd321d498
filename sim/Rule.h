#pragma once

#include "sim/AnswerCut.h"
#include "sim/ResponseStep.h"

#include <QJsonValue>
#include <QRegularExpression>
#include <QStringList>
#include <QVariant>
#include <atomic>
#include <map>
#include <memory>
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
    // "responses": one answer per match, in turn, the last repeated; a value that changes
    // between two asks of one statement (a request's progress) needs it. Shared by the copies
    // of a scenario, as every connection of one server asks the same rule.
    std::vector<std::vector<ResponseStep>> turns;
    std::shared_ptr<std::atomic<int>> turnsPlayed = std::make_shared<std::atomic<int>>(0);
    std::optional<AnswerCut> cut;
    // A cut without a response of its own cuts the answer the statement gets otherwise (a
    // built-in statement's, a later rule's, the default), so a fault can be placed in any answer.
    bool cutsOtherAnswer = false;
    // "onlyMatch": the rule applies to that match only (from 1, over every connection of the
    // server), so one row of a loop can be singled out; the other matches pass it by.
    std::optional<int> onlyMatch;
    std::shared_ptr<std::atomic<int>> matchesSeen = std::make_shared<std::atomic<int>>(0);

    using Parameters = std::map<QString, QVariant>;
    // The captures ("{0}" the whole match, "{1}".. groups) when the rule applies.
    // The answer for this match: the response, or the next of the turns.
    const std::vector<ResponseStep>& answer() const;
    std::optional<QStringList> matches(const QString& statement, const QString& currentDatabase,
                                       const Parameters& arrived = {}) const;

private:
    std::optional<QStringList> matchesText(const QString& statement, const QString& currentDatabase,
                                           const Parameters& arrived) const;
};

} // namespace qormin::sim
