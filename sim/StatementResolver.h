#pragma once

#include "sim/Response.h"

#include <QVariant>
#include <map>
#include <optional>
#include <vector>

namespace qormin::sim {

struct CursorStatement;
struct ScenarioData;
struct ServerCursor;
struct Session;

// Decides the answer to a statement: cursor statements natively, then the scenario's rules in
// order, then USE, then the scenario's default; a rule that only cuts cuts whichever it is.
class StatementResolver {
public:
    using Parameters = std::map<QString, QVariant>; // key: lower-case name with "@"

    StatementResolver(const ScenarioData& scenario, Session& session);

    Response resolve(const QString& text, const Parameters& parameters = {});
    // The rules only (plus USE and the default), as if `text` had been sent alone.
    Response resolveByRules(const QString& text, const Parameters& parameters = {}) const;

private:
    std::optional<AnswerCut> cutFor(const QString& text, const Parameters& parameters) const;
    Response answer(const QString& text, const Parameters& parameters);
    std::optional<Response> useDatabase(const QString& text) const;
    Response runCursorBatch(const std::vector<CursorStatement>& statements);
    void declareCursor(const CursorStatement& statement, Response& response);
    void fetch(const CursorStatement& statement, Response& response);
    Response updateCurrentRow(const CursorStatement& statement, const Parameters& parameters);
    static QString truncation(const ServerCursor& cursor, const CursorStatement& statement,
                              const Parameters& parameters);

    const ScenarioData& m_scenario;
    Session& m_session;
};

} // namespace qormin::sim
