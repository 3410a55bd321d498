#pragma once

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>

namespace qormin::sim {

struct ScenarioData;

// A parsed scenario file: the rules a simulated server answers from. Cheap to copy.
class Scenario {
public:
    static std::optional<Scenario> fromJson(const QByteArray& json, QString* error);
    static std::optional<Scenario> fromFile(const QString& path, QString* error);

    const ScenarioData& data() const { return *m_data; }

private:
    explicit Scenario(std::shared_ptr<const ScenarioData> data);
    std::shared_ptr<const ScenarioData> m_data;
};

} // namespace qormin::sim
