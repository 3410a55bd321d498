#include "sim/StatementResolver.h"

#include "sim/CursorStatement.h"
#include "sim/ScenarioData.h"
#include "sim/Session.h"
#include "sim/ValueText.h"

#include <QJsonObject>
#include <QRegularExpression>
#include <algorithm>

namespace qormin::sim {

namespace {

ResponseStep errorStep(int number, const QString& text) {
    ResponseStep step;
    step.kind = ResponseStep::Kind::Error;
    step.message.number = number;
    step.message.severity = 16;
    step.message.state = 1;
    step.message.text = text;
    return step;
}

ResponseStep doneStep() {
    return ResponseStep{};
}

ResponseStep resultStep(std::shared_ptr<const ResultSet> result) {
    ResponseStep step;
    step.kind = ResponseStep::Kind::Result;
    step.result = std::move(result);
    return step;
}

QString objectNameOf(const QString& select) {
    static const QRegularExpression from(QStringLiteral(R"(\bFROM\s+([^\s,;()]+))"),
                                         QRegularExpression::CaseInsensitiveOption);
    const auto match = from.match(select);
    return match.hasMatch() ? match.captured(1) : select.simplified();
}

QString cursorMissing(const QString& name) {
    return QStringLiteral("A cursor with the name '%1' does not exist.").arg(name);
}

QVariant literalValue(const QString& literal) {
    if (literal.compare(QLatin1String("NULL"), Qt::CaseInsensitive) == 0) {
        return QVariant();
    }
    if (literal.endsWith(QLatin1Char('\''))) {
        const qsizetype start = literal.indexOf(QLatin1Char('\'')) + 1;
        return literal.mid(start, literal.size() - start - 1)
            .replace(QLatin1String("''"), QLatin1String("'"));
    }
    return literal;
}

QVariant toColumnType(const QVariant& value, const SqlType& type) {
    const auto converted = ValueText::fromJson(ValueText::toJson(value), type, nullptr);
    return converted ? *converted : value;
}

} // namespace

StatementResolver::StatementResolver(const ScenarioData& scenario, Session& session)
    : m_scenario(scenario), m_session(session) {}

Response StatementResolver::resolve(const QString& text, const Parameters& parameters) {
    const std::optional<AnswerCut> cut = cutFor(text, parameters);
    Response response = answer(text, parameters);
    if (cut) {
        response.cut = cut;
    }
    return response;
}

std::optional<AnswerCut> StatementResolver::cutFor(const QString& text, const Parameters& parameters) const {
    for (const auto& rule : m_scenario.rules) {
        if (rule.cutsOtherAnswer && rule.matches(text, m_session.database, parameters)) {
            return rule.cut;
        }
    }
    return std::nullopt;
}

Response StatementResolver::answer(const QString& text, const Parameters& parameters) {
    if (const auto update = CursorStatement::parseUpdate(text)) {
        return updateCurrentRow(*update, parameters);
    }
    if (const auto statements = CursorStatement::parseBatch(text)) {
        return runCursorBatch(*statements);
    }
    return resolveByRules(text, parameters);
}

Response StatementResolver::resolveByRules(const QString& text, const Parameters& parameters) const {
    for (const auto& rule : m_scenario.rules) {
        if (rule.cutsOtherAnswer) {
            continue;
        }
        if (auto captures = rule.matches(text, m_session.database, parameters)) {
            return Response{rule.answer(), std::move(*captures), {}, rule.cut};
        }
    }
    if (auto use = useDatabase(text)) {
        return *use;
    }
    return Response{m_scenario.defaultResponse, {}, {}, {}};
}

std::optional<Response> StatementResolver::useDatabase(const QString& text) const {
    static const QRegularExpression use(
        QStringLiteral(R"(^\s*use\s+(?:\[([^\]]+)\]|([^\s;\[\]]+))\s*;?\s*$)"),
        QRegularExpression::CaseInsensitiveOption);
    const auto match = use.match(text);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    ResponseStep step;
    step.kind = ResponseStep::Kind::UseDatabase;
    step.database = match.captured(1).isEmpty() ? match.captured(2) : match.captured(1);
    return Response{{step}, {}, {}, {}};
}

Response StatementResolver::runCursorBatch(const std::vector<CursorStatement>& statements) {
    Response response;
    for (const auto& statement : statements) {
        const QString key = statement.cursor.toLower();
        const bool exists = m_session.cursors.count(key) > 0;
        switch (statement.kind) {
        case CursorStatement::Kind::Declare:
            declareCursor(statement, response);
            break;
        case CursorStatement::Kind::Fetch:
            fetch(statement, response);
            break;
        case CursorStatement::Kind::Open:
        case CursorStatement::Kind::Close:
            if (!exists) {
                response.steps.push_back(errorStep(16916, cursorMissing(statement.cursor)));
            }
            response.steps.push_back(doneStep());
            break;
        case CursorStatement::Kind::Deallocate:
            m_session.cursors.erase(key);
            if (!exists) {
                response.steps.push_back(errorStep(16916, cursorMissing(statement.cursor)));
            }
            response.steps.push_back(doneStep());
            break;
        case CursorStatement::Kind::UpdateCurrent:
            break;
        }
    }
    return response;
}

void StatementResolver::declareCursor(const CursorStatement& statement, Response& response) {
    const QString key = statement.cursor.toLower();
    if (m_session.cursors.count(key) > 0) {
        response.steps.push_back(errorStep(
            16915, QStringLiteral("A cursor with the name '%1' already exists.").arg(statement.cursor)));
        return;
    }
    const Response source = resolveByRules(statement.select);
    std::shared_ptr<const ResultSet> result;
    bool failed = false;
    for (const auto& step : source.steps) {
        if (step.kind == ResponseStep::Kind::Error || step.kind == ResponseStep::Kind::Info) {
            failed = failed || step.kind == ResponseStep::Kind::Error;
            response.steps.push_back(step);
        } else if (step.kind == ResponseStep::Kind::Result && !result) {
            result = step.result;
        }
    }
    if (!failed && !result) {
        response.steps.push_back(
            errorStep(208, QStringLiteral("Invalid object name '%1'.").arg(objectNameOf(statement.select))));
        failed = true;
    }
    if (failed) {
        response.steps.push_back(doneStep());
        return;
    }
    ServerCursor cursor;
    cursor.name = statement.cursor;
    cursor.select = statement.select;
    cursor.updatable = statement.isUpdatableDeclaration();
    cursor.columns = result->columns;
    cursor.rows.reserve(static_cast<size_t>(result->rowCount()));
    for (qint64 i = 0; i < result->rowCount(); ++i) {
        cursor.rows.push_back(result->row(i));
    }
    m_session.cursors.emplace(key, std::move(cursor));
    response.steps.push_back(doneStep());
}

void StatementResolver::fetch(const CursorStatement& statement, Response& response) {
    const auto found = m_session.cursors.find(statement.cursor.toLower());
    if (found == m_session.cursors.end()) {
        response.steps.push_back(errorStep(16916, cursorMissing(statement.cursor)));
        response.steps.push_back(doneStep());
        return;
    }
    ServerCursor& cursor = found->second;
    const auto rowCount = static_cast<qint64>(cursor.rows.size());
    cursor.position = std::min(cursor.position + 1, rowCount);
    auto result = std::make_shared<ResultSet>();
    result->columns = cursor.columns;
    if (cursor.position < rowCount) {
        result->rows.push_back(cursor.rows[static_cast<size_t>(cursor.position)]);
    }
    response.steps.push_back(resultStep(std::move(result)));
}

// SQL Server refuses the whole statement when one text is longer than its column.
QString StatementResolver::truncation(const ServerCursor& cursor, const CursorStatement& statement,
                                      const Parameters& parameters) {
    for (const auto& [columnName, source] : statement.assignments) {
        for (const ResultColumn& column : cursor.columns) {
            if (column.name.compare(columnName, Qt::CaseInsensitive) != 0 || !column.type.isCharacter() ||
                column.type.length <= 0) {
                continue;
            }
            const auto parameter = parameters.find(source.toLower());
            const QString text =
                source.startsWith(QLatin1Char('@'))
                    ? (parameter == parameters.end() ? QString() : parameter->second.toString())
                    : literalValue(source).toString();
            if (text.size() > column.type.length) {
                return QStringLiteral("String or binary data would be truncated in table '%1', column '%2'. "
                                      "Truncated value: '%3'.")
                    .arg(statement.table, column.name, text.left(column.type.length));
            }
        }
    }
    return QString();
}

Response StatementResolver::updateCurrentRow(const CursorStatement& statement, const Parameters& parameters) {
    Response response;
    const auto found = m_session.cursors.find(statement.cursor.toLower());
    if (found == m_session.cursors.end()) {
        response.steps.push_back(errorStep(16916, cursorMissing(statement.cursor)));
        return response;
    }
    ServerCursor& cursor = found->second;
    if (!cursor.updatable) {
        response.steps.push_back(errorStep(16929, QStringLiteral("The cursor is READ ONLY.")));
        return response;
    }
    if (cursor.position < 0 || cursor.position >= static_cast<qint64>(cursor.rows.size())) {
        response.steps.push_back(
            errorStep(16930, QStringLiteral("The requested row is not in the fetch buffer.")));
        return response;
    }
    if (const QString refusal = truncation(cursor, statement, parameters); !refusal.isEmpty()) {
        response.steps.push_back(errorStep(2628, refusal));
        return response;
    }
    QVariantList& row = cursor.rows[static_cast<size_t>(cursor.position)];
    QJsonObject values;
    for (const auto& [columnName, source] : statement.assignments) {
        const auto column = std::find_if(cursor.columns.begin(), cursor.columns.end(),
                                         [&name = columnName](const ResultColumn& c) {
                                             return c.name.compare(name, Qt::CaseInsensitive) == 0;
                                         });
        if (column == cursor.columns.end()) {
            response.steps.push_back(
                errorStep(207, QStringLiteral("Invalid column name '%1'.").arg(columnName)));
            return response;
        }
        const auto parameter = parameters.find(source.toLower());
        const QVariant value = source.startsWith(QLatin1Char('@'))
                                   ? (parameter == parameters.end() ? QVariant() : parameter->second)
                                   : literalValue(source);
        const auto index = static_cast<qsizetype>(column - cursor.columns.begin());
        row[index] = toColumnType(value, column->type);
        values.insert(column->name, ValueText::toJson(row[index]));
    }
    response.note = QJsonObject{{QStringLiteral("cursor"), cursor.name},
                                {QStringLiteral("row"), cursor.position + 1},
                                {QStringLiteral("values"), values}};
    ResponseStep count;
    count.kind = ResponseStep::Kind::RowCount;
    count.count = 1;
    response.steps.push_back(count);
    return response;
}

} // namespace qormin::sim
