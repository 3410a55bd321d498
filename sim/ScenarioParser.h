#pragma once

#include "sim/ScenarioData.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

namespace qormin::sim {

// Reads the scenario JSON; every mistake is reported with its place, e.g. "rules[2].response[0]".
class ScenarioParser {
public:
    std::optional<ScenarioData> parse(const QByteArray& json);
    QString error() const { return m_error; }

private:
    bool fail(const QString& message);
    bool checkKeys(const QJsonObject& object, const QStringList& allowed);
    bool parseRule(const QJsonObject& object, Rule& rule);
    bool parseResponse(const QJsonValue& value, std::vector<ResponseStep>& steps);
    bool parseTurns(const QJsonObject& object, Rule& rule);
    bool parseStep(const QJsonObject& object, ResponseStep& step);
    bool parseMessage(const QJsonValue& value, ServerMessage& message, int defaultSeverity);
    bool parseProgress(const QJsonValue& value, ResponseStep& step);
    bool parseResult(const QJsonValue& value, ResultSet& result);
    bool parseColumn(const QJsonValue& value, ResultColumn& column);
    bool parseGenerator(const QJsonObject& object, ResultColumn& column);
    bool parseRows(const QJsonArray& rows, ResultSet& result);

    QStringList m_path;
    QString m_error;
};

} // namespace qormin::sim
