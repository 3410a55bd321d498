#include "sim/Scenario.h"

#include "sim/ScenarioData.h"
#include "sim/ScenarioParser.h"

#include <QFile>

namespace qormin::sim {

Scenario::Scenario(std::shared_ptr<const ScenarioData> data) : m_data(std::move(data)) {}

std::optional<Scenario> Scenario::fromJson(const QByteArray& json, QString* error) {
    ScenarioParser parser;
    auto data = parser.parse(json);
    if (!data) {
        if (error != nullptr) {
            *error = parser.error();
        }
        return std::nullopt;
    }
    return Scenario(std::make_shared<const ScenarioData>(std::move(*data)));
}

std::optional<Scenario> Scenario::fromFile(const QString& path, QString* error) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error != nullptr) {
            *error = QStringLiteral("cannot read scenario %1: %2").arg(path, file.errorString());
        }
        return std::nullopt;
    }
    QString parseError;
    auto scenario = fromJson(file.readAll(), &parseError);
    if (!scenario && error != nullptr) {
        *error = QStringLiteral("%1: %2").arg(path, parseError);
    }
    return scenario;
}

} // namespace qormin::sim
