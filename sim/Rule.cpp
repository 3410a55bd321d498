#include "sim/Rule.h"

#include "sim/ValueText.h"

#include <algorithm>

namespace qormin::sim {

const std::vector<ResponseStep>& Rule::answer() const {
    if (turns.empty())
        return response;
    const auto last = static_cast<int>(turns.size()) - 1;
    return turns[static_cast<size_t>(std::min(turnsPlayed->fetch_add(1), last))];
}

std::optional<QStringList> Rule::matches(const QString& statement, const QString& currentDatabase,
                                         const Parameters& arrived) const {
    auto captures = matchesText(statement, currentDatabase, arrived);
    if (captures && onlyMatch && matchesSeen->fetch_add(1) + 1 != *onlyMatch) {
        return std::nullopt;
    }
    return captures;
}

std::optional<QStringList> Rule::matchesText(const QString& statement, const QString& currentDatabase,
                                             const Parameters& arrived) const {
    if (!database.isEmpty() && database.compare(currentDatabase, Qt::CaseInsensitive) != 0) {
        return std::nullopt;
    }
    for (const auto& [name, expected] : parameters) {
        const auto found = arrived.find(name);
        if (found == arrived.end() || ValueText::toJson(found->second) != expected) {
            return std::nullopt;
        }
    }
    const Qt::CaseSensitivity sensitivity = caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive;
    switch (match) {
    case Match::Exact:
        if (statement.compare(text, sensitivity) == 0) {
            return QStringList{statement};
        }
        return std::nullopt;
    case Match::Prefix:
        if (statement.startsWith(text, sensitivity)) {
            return QStringList{statement};
        }
        return std::nullopt;
    case Match::Regex: {
        const auto found = regex.match(statement);
        if (!found.hasMatch()) {
            return std::nullopt;
        }
        return found.capturedTexts();
    }
    }
    return std::nullopt;
}

} // namespace qormin::sim
