#pragma once

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
    // Cut the answer after this many tokens and close the connection (fault injection).
    std::optional<int> dropAfterTokens;
};

} // namespace qormin::sim
