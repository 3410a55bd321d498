#pragma once

#include "sim/AnswerCut.h"
#include "sim/ResponseStep.h"

#include <QJsonObject>
#include <QStringList>
#include <optional>
#include <vector>

namespace qormin::sim {

// What to answer to one statement: the steps, the rule's captures for "{1}"-style fields, and
// anything the transcript should show about what the statement did (e.g. a cursor update).
struct Response {
    std::vector<ResponseStep> steps;
    QStringList captures;
    QJsonObject note;
    std::optional<AnswerCut> cut;
};

} // namespace qormin::sim
