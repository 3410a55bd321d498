#include "sim/ScenarioParser.h"

#include "sim/ValueText.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <limits>

namespace qormin::sim {

namespace {

// Names the place being parsed for the duration of a scope.
class PathScope {
public:
    PathScope(QStringList& path, const QString& part) : m_path(path) { m_path.append(part); }
    ~PathScope() { m_path.removeLast(); }
    PathScope(const PathScope&) = delete;
    PathScope& operator=(const PathScope&) = delete;

private:
    QStringList& m_path;
};

QString indexed(const QString& name, qsizetype index) {
    return QStringLiteral("%1[%2]").arg(name).arg(index);
}

const QStringList stepKinds{QStringLiteral("result"),  QStringLiteral("rowCount"), QStringLiteral("info"),
                            QStringLiteral("error"),   QStringLiteral("done"),     QStringLiteral("delay"),
                            QStringLiteral("hang"),    QStringLiteral("drop"),     QStringLiteral("use"),
                            QStringLiteral("progress")};

constexpr double largestMilliseconds = std::numeric_limits<int>::max();
constexpr double largestCount = 9007199254740992.0; // 2^53: every whole number below is exact

// A figure from the file becomes an integer only when the simulator can count or wait with it:
// a negative or huge number is a mistake in the scenario, and converting it would be undefined.
std::optional<qint64> wholeNumber(double value, double largest) {
    if (!(value >= 0 && value <= largest)) {
        return std::nullopt;
    }
    return static_cast<qint64>(value);
}

} // namespace

bool ScenarioParser::fail(const QString& message) {
    if (m_error.isEmpty()) {
        m_error = m_path.isEmpty() ? message : m_path.join(QLatin1Char('.')) + QStringLiteral(": ") + message;
    }
    return false;
}

bool ScenarioParser::checkKeys(const QJsonObject& object, const QStringList& allowed) {
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!allowed.contains(it.key()) && it.key() != QLatin1String("comment")) {
            return fail(QStringLiteral("unknown key \"%1\" (expected one of: %2)")
                            .arg(it.key(), allowed.join(QStringLiteral(", "))));
        }
    }
    return true;
}

std::optional<ScenarioData> ScenarioParser::parse(const QByteArray& json) {
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        fail(QStringLiteral("invalid JSON at offset %1: %2")
                 .arg(parseError.offset)
                 .arg(parseError.errorString()));
        return std::nullopt;
    }
    if (!document.isObject()) {
        fail(QStringLiteral("a scenario is a JSON object"));
        return std::nullopt;
    }
    const QJsonObject root = document.object();
    if (!checkKeys(root, {QStringLiteral("server"), QStringLiteral("login"), QStringLiteral("databases"),
                          QStringLiteral("rules"), QStringLiteral("default"),
                          QStringLiteral("hangLimitSeconds"), QStringLiteral("loginStallAfterTokens")})) {
        return std::nullopt;
    }
    ScenarioData data;
    data.serverName = root.value(QLatin1String("server")).toString(data.serverName);
    const auto hangLimit =
        wholeNumber(root.value(QLatin1String("hangLimitSeconds")).toDouble(120) * 1000, largestMilliseconds);
    if (!hangLimit) {
        fail(QStringLiteral("\"hangLimitSeconds\" is a number of seconds (0 or more)"));
        return std::nullopt;
    }
    data.hangLimitMilliseconds = static_cast<int>(*hangLimit);
    if (root.contains(QLatin1String("loginStallAfterTokens"))) {
        const int tokens = root.value(QLatin1String("loginStallAfterTokens")).toInt(-1);
        if (tokens < 0) {
            fail(QStringLiteral("\"loginStallAfterTokens\" is a count of tokens (0 or more)"));
            return std::nullopt;
        }
        data.loginStallAfterTokens = tokens;
    }
    if (root.contains(QLatin1String("login"))) {
        PathScope scope(m_path, QStringLiteral("login"));
        const QJsonObject login = root.value(QLatin1String("login")).toObject();
        if (!checkKeys(login, {QStringLiteral("user"), QStringLiteral("password")})) {
            return std::nullopt;
        }
        if (!login.value(QLatin1String("user")).isString()) {
            fail(QStringLiteral("\"user\" is required"));
            return std::nullopt;
        }
        data.login = LoginCheck{login.value(QLatin1String("user")).toString(),
                                login.value(QLatin1String("password")).toString()};
    }
    for (const auto& name : root.value(QLatin1String("databases")).toArray()) {
        data.databases.append(name.toString());
    }
    const QJsonArray rules = root.value(QLatin1String("rules")).toArray();
    for (qsizetype i = 0; i < rules.size(); ++i) {
        PathScope scope(m_path, indexed(QStringLiteral("rules"), i));
        Rule rule;
        if (!rules.at(i).isObject()) {
            fail(QStringLiteral("a rule is an object"));
            return std::nullopt;
        }
        if (!parseRule(rules.at(i).toObject(), rule)) {
            return std::nullopt;
        }
        data.rules.push_back(std::move(rule));
    }
    if (root.contains(QLatin1String("default"))) {
        PathScope scope(m_path, QStringLiteral("default"));
        if (!parseResponse(root.value(QLatin1String("default")), data.defaultResponse)) {
            return std::nullopt;
        }
    }
    return data;
}

bool ScenarioParser::parseRule(const QJsonObject& object, Rule& rule) {
    if (!checkKeys(object, {QStringLiteral("exact"), QStringLiteral("prefix"), QStringLiteral("regex"),
                            QStringLiteral("caseSensitive"), QStringLiteral("database"),
                            QStringLiteral("dropAfterTokens"), QStringLiteral("stallAfterTokens"),
                            QStringLiteral("parameters"), QStringLiteral("onlyMatch"),
                            QStringLiteral("response"), QStringLiteral("responses")})) {
        return false;
    }
    const QJsonObject parameters = object.value(QLatin1String("parameters")).toObject();
    for (auto it = parameters.begin(); it != parameters.end(); ++it) {
        rule.parameters.emplace(it.key().toLower(), it.value());
    }
    const std::pair<const char*, Rule::Match> kinds[] = {
        {"exact", Rule::Match::Exact}, {"prefix", Rule::Match::Prefix}, {"regex", Rule::Match::Regex}};
    int found = 0;
    for (const auto& [key, match] : kinds) {
        if (object.contains(QLatin1String(key))) {
            rule.match = match;
            rule.text = object.value(QLatin1String(key)).toString();
            ++found;
        }
    }
    if (found != 1) {
        return fail(QStringLiteral("a rule has exactly one of \"exact\", \"prefix\" or \"regex\""));
    }
    rule.caseSensitive = object.value(QLatin1String("caseSensitive")).toBool(false);
    rule.database = object.value(QLatin1String("database")).toString();
    const std::pair<const char*, AnswerCut::Kind> cuts[] = {{"dropAfterTokens", AnswerCut::Kind::Drop},
                                                            {"stallAfterTokens", AnswerCut::Kind::Stall}};
    for (const auto& [key, kind] : cuts) {
        if (!object.contains(QLatin1String(key))) {
            continue;
        }
        const int tokens = object.value(QLatin1String(key)).toInt(-1);
        if (tokens < 0 || rule.cut) {
            return fail(
                QStringLiteral("\"%1\" is a count of tokens (0 or more), and a rule has one cut at most")
                    .arg(QLatin1String(key)));
        }
        rule.cut = AnswerCut{kind, tokens};
    }
    rule.cutsOtherAnswer = rule.cut && !object.contains(QLatin1String("response")) &&
                           !object.contains(QLatin1String("responses"));
    if (object.contains(QLatin1String("onlyMatch"))) {
        const int match = object.value(QLatin1String("onlyMatch")).toInt(0);
        if (match < 1) {
            return fail(QStringLiteral("\"onlyMatch\" is the number of a match, from 1"));
        }
        rule.onlyMatch = match;
    }
    if (rule.match == Rule::Match::Regex) {
        QRegularExpression::PatternOptions options = QRegularExpression::DotMatchesEverythingOption;
        if (!rule.caseSensitive) {
            options |= QRegularExpression::CaseInsensitiveOption;
        }
        rule.regex = QRegularExpression(rule.text, options);
        if (!rule.regex.isValid()) {
            return fail(QStringLiteral("bad regular expression: %1").arg(rule.regex.errorString()));
        }
        rule.regex.optimize();
    }
    if (object.contains(QLatin1String("responses")))
        return parseTurns(object, rule);
    PathScope scope(m_path, QStringLiteral("response"));
    return parseResponse(object.value(QLatin1String("response")), rule.response);
}

bool ScenarioParser::parseTurns(const QJsonObject& object, Rule& rule) {
    const QJsonArray turns = object.value(QLatin1String("responses")).toArray();
    if (object.contains(QLatin1String("response")) || turns.isEmpty()) {
        return fail(
            QStringLiteral("\"responses\" is a list of one or more responses, instead of \"response\""));
    }
    for (qsizetype index = 0; index < turns.size(); ++index) {
        PathScope scope(m_path, QStringLiteral("responses[%1]").arg(index));
        std::vector<ResponseStep> steps;
        if (!parseResponse(turns.at(index), steps))
            return false;
        rule.turns.push_back(std::move(steps));
    }
    return true;
}

bool ScenarioParser::parseResponse(const QJsonValue& value, std::vector<ResponseStep>& steps) {
    if (value.isUndefined() || value.isNull()) {
        return true;
    }
    const QJsonArray array = value.isArray() ? value.toArray() : QJsonArray{value};
    for (qsizetype i = 0; i < array.size(); ++i) {
        PathScope scope(m_path, indexed(QStringLiteral("step"), i));
        if (!array.at(i).isObject() || array.at(i).toObject().size() != 1) {
            return fail(QStringLiteral("a step is an object with one key: %1")
                            .arg(stepKinds.join(QStringLiteral(", "))));
        }
        ResponseStep step;
        if (!parseStep(array.at(i).toObject(), step)) {
            return false;
        }
        steps.push_back(std::move(step));
    }
    return true;
}

bool ScenarioParser::parseStep(const QJsonObject& object, ResponseStep& step) {
    const QString key = object.begin().key();
    const QJsonValue value = object.begin().value();
    PathScope scope(m_path, key);
    if (key == QLatin1String("result")) {
        auto result = std::make_shared<ResultSet>();
        step.kind = ResponseStep::Kind::Result;
        step.result = result;
        return parseResult(value, *result);
    }
    if (key == QLatin1String("rowCount")) {
        step.kind = ResponseStep::Kind::RowCount;
        const auto count = wholeNumber(value.toDouble(-1), largestCount);
        step.count = count.value_or(0);
        return count || fail(QStringLiteral("a row count is a number (0 or more)"));
    }
    if (key == QLatin1String("info") || key == QLatin1String("error")) {
        const bool isError = key == QLatin1String("error");
        step.kind = isError ? ResponseStep::Kind::Error : ResponseStep::Kind::Info;
        return parseMessage(value, step.message, isError ? 16 : 0);
    }
    if (key == QLatin1String("done")) {
        step.kind = ResponseStep::Kind::Done;
        return true;
    }
    if (key == QLatin1String("delay")) {
        step.kind = ResponseStep::Kind::Delay;
        step.milliseconds = value.toInt(-1);
        return step.milliseconds >= 0 || fail(QStringLiteral("a delay is a number of milliseconds"));
    }
    if (key == QLatin1String("hang")) {
        step.kind = ResponseStep::Kind::Hang;
        const auto milliseconds = wholeNumber(
            value.toObject().value(QLatin1String("seconds")).toDouble(0) * 1000, largestMilliseconds);
        step.milliseconds = static_cast<int>(milliseconds.value_or(0));
        return milliseconds || fail(QStringLiteral("\"seconds\" is a number of seconds (0 or more)"));
    }
    if (key == QLatin1String("drop")) {
        step.kind = ResponseStep::Kind::Drop;
        return true;
    }
    if (key == QLatin1String("use")) {
        step.kind = ResponseStep::Kind::UseDatabase;
        step.database = value.toString();
        return !step.database.isEmpty() || fail(QStringLiteral("\"use\" names a database"));
    }
    if (key == QLatin1String("progress")) {
        return parseProgress(value, step);
    }
    return fail(
        QStringLiteral("unknown step (expected one of: %1)").arg(stepKinds.join(QStringLiteral(", "))));
}

bool ScenarioParser::parseMessage(const QJsonValue& value, ServerMessage& message, int defaultSeverity) {
    if (value.isString()) {
        message.text = value.toString();
        message.severity = defaultSeverity;
        return true;
    }
    const QJsonObject object = value.toObject();
    if (!checkKeys(object, {QStringLiteral("number"), QStringLiteral("state"), QStringLiteral("class"),
                            QStringLiteral("severity"), QStringLiteral("text"), QStringLiteral("procedure"),
                            QStringLiteral("line"), QStringLiteral("abortsBatch")})) {
        return false;
    }
    if (!object.value(QLatin1String("text")).isString()) {
        return fail(QStringLiteral("a message needs a \"text\""));
    }
    message.text = object.value(QLatin1String("text")).toString();
    message.number = object.value(QLatin1String("number")).toInt(defaultSeverity > 10 ? 50000 : 0);
    message.state = object.value(QLatin1String("state")).toInt(1);
    message.severity = object.value(QLatin1String("severity"))
                           .toInt(object.value(QLatin1String("class")).toInt(defaultSeverity));
    message.procedure = object.value(QLatin1String("procedure")).toString();
    message.line = object.value(QLatin1String("line")).toInt(1);
    message.abortsBatch = object.value(QLatin1String("abortsBatch")).toBool(false);
    return true;
}

bool ScenarioParser::parseProgress(const QJsonValue& value, ResponseStep& step) {
    const QJsonObject object = value.toObject();
    if (!checkKeys(object, {QStringLiteral("every"), QStringLiteral("pace"), QStringLiteral("number"),
                            QStringLiteral("state"), QStringLiteral("class"), QStringLiteral("text")})) {
        return false;
    }
    step.kind = ResponseStep::Kind::Progress;
    step.count = object.value(QLatin1String("every")).toInt(10);
    step.milliseconds = object.value(QLatin1String("pace")).toInt(0);
    step.message.number = object.value(QLatin1String("number")).toInt(3211);
    step.message.state = object.value(QLatin1String("state")).toInt(1);
    step.message.severity = object.value(QLatin1String("class")).toInt(0);
    step.message.text =
        object.value(QLatin1String("text")).toString(QStringLiteral("{percent} percent processed."));
    if (step.count < 1 || step.count > 100) {
        return fail(QStringLiteral("\"every\" is a percentage between 1 and 100"));
    }
    if (step.milliseconds < 0) {
        return fail(QStringLiteral("\"pace\" is a number of milliseconds (0 or more)"));
    }
    return true;
}

bool ScenarioParser::parseResult(const QJsonValue& value, ResultSet& result) {
    const QJsonObject object = value.toObject();
    if (!checkKeys(object, {QStringLiteral("columns"), QStringLiteral("rows"), QStringLiteral("generate")})) {
        return false;
    }
    const QJsonArray columns = object.value(QLatin1String("columns")).toArray();
    if (columns.isEmpty()) {
        return fail(QStringLiteral("a result needs \"columns\""));
    }
    for (qsizetype i = 0; i < columns.size(); ++i) {
        PathScope scope(m_path, indexed(QStringLiteral("columns"), i));
        ResultColumn column;
        if (!parseColumn(columns.at(i), column)) {
            return false;
        }
        result.columns.push_back(std::move(column));
    }
    const auto generated = wholeNumber(object.value(QLatin1String("generate")).toDouble(0), largestCount);
    if (!generated) {
        return fail(QStringLiteral("\"generate\" is a row count"));
    }
    result.generatedRows = *generated;
    return parseRows(object.value(QLatin1String("rows")).toArray(), result);
}

bool ScenarioParser::parseColumn(const QJsonValue& value, ResultColumn& column) {
    QString typeName;
    QJsonObject object;
    if (value.isString()) {
        const QString text = value.toString();
        const qsizetype colon = text.lastIndexOf(QLatin1Char(':'));
        column.name = text.left(colon);
        typeName = colon < 0 ? QStringLiteral("nvarchar(4000)") : text.mid(colon + 1);
    } else {
        object = value.toObject();
        if (!checkKeys(object, {QStringLiteral("name"), QStringLiteral("type"), QStringLiteral("generate"),
                                QStringLiteral("identity"), QStringLiteral("computed")})) {
            return false;
        }
        column.name = object.value(QLatin1String("name")).toString();
        typeName = object.value(QLatin1String("type")).toString(QStringLiteral("nvarchar(4000)"));
        column.identity = object.value(QLatin1String("identity")).toBool(false);
        column.computed = object.value(QLatin1String("computed")).toBool(false);
    }
    // rowversion is binary(8) on the wire; only the user type tells it apart.
    if (typeName.compare(QLatin1String("rowversion"), Qt::CaseInsensitive) == 0 ||
        typeName.compare(QLatin1String("timestamp"), Qt::CaseInsensitive) == 0) {
        column.rowVersion = true;
        typeName = QStringLiteral("binary(8)");
    }
    const auto type = SqlType::parse(typeName);
    if (!type) {
        return fail(QStringLiteral("unknown type \"%1\"").arg(typeName));
    }
    column.type = *type;
    if (object.contains(QLatin1String("generate"))) {
        PathScope scope(m_path, QStringLiteral("generate"));
        return parseGenerator(object.value(QLatin1String("generate")).toObject(), column);
    }
    return true;
}

bool ScenarioParser::parseGenerator(const QJsonObject& object, ResultColumn& column) {
    if (!checkKeys(object, {QStringLiteral("start"), QStringLiteral("step"), QStringLiteral("template"),
                            QStringLiteral("cycle"), QStringLiteral("value"), QStringLiteral("nullEvery")})) {
        return false;
    }
    ColumnGenerator& generator = column.generator;
    generator.nullEvery = object.value(QLatin1String("nullEvery")).toInt(0);
    if (object.contains(QLatin1String("template"))) {
        generator.kind = ColumnGenerator::Kind::Template;
        generator.text = object.value(QLatin1String("template")).toString();
    } else if (object.contains(QLatin1String("cycle"))) {
        generator.kind = ColumnGenerator::Kind::Cycle;
        for (const auto& item : object.value(QLatin1String("cycle")).toArray()) {
            QString error;
            const auto converted = ValueText::fromJson(item, column.type, &error);
            if (!converted) {
                return fail(error);
            }
            generator.cycle.append(*converted);
        }
    } else if (object.contains(QLatin1String("value"))) {
        generator.kind = ColumnGenerator::Kind::Constant;
        QString error;
        const auto converted = ValueText::fromJson(object.value(QLatin1String("value")), column.type, &error);
        if (!converted) {
            return fail(error);
        }
        generator.constant = *converted;
    } else if (object.contains(QLatin1String("start")) || object.contains(QLatin1String("step"))) {
        generator.kind = ColumnGenerator::Kind::Sequence;
        const QJsonValue start = object.value(QLatin1String("start"));
        generator.start = start.toDouble(1);
        generator.startDate = start.isString() ? start.toString() : QString();
        generator.step = object.value(QLatin1String("step")).toDouble(1);
    }
    return true;
}

bool ScenarioParser::parseRows(const QJsonArray& rows, ResultSet& result) {
    const auto columnCount = static_cast<qsizetype>(result.columns.size());
    for (qsizetype r = 0; r < rows.size(); ++r) {
        PathScope scope(m_path, indexed(QStringLiteral("rows"), r));
        const QJsonArray cells = rows.at(r).toArray();
        if (cells.size() != columnCount) {
            return fail(QStringLiteral("%1 values for %2 columns").arg(cells.size()).arg(columnCount));
        }
        QVariantList values;
        for (qsizetype c = 0; c < columnCount; ++c) {
            QString error;
            const auto converted =
                ValueText::fromJson(cells.at(c), result.columns[static_cast<size_t>(c)].type, &error);
            if (!converted) {
                return fail(
                    QStringLiteral("column %1: %2").arg(result.columns[static_cast<size_t>(c)].name, error));
            }
            values.append(*converted);
        }
        result.rows.push_back(std::move(values));
    }
    return true;
}

} // namespace qormin::sim
