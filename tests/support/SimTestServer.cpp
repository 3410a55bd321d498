#include "SimTestServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace qormin::test {

namespace {

std::unique_ptr<SimTestServer> started(std::optional<sim::Scenario> scenario, const QString& error) {
    if (!scenario) {
        ADD_FAILURE() << "scenario does not parse: " << error.toStdString();
        return nullptr;
    }
    return std::make_unique<SimTestServer>(std::move(*scenario));
}

} // namespace

std::unique_ptr<SimTestServer> SimTestServer::fromJson(const QByteArray& json) {
    QString error;
    return started(sim::Scenario::fromJson(json, &error), error);
}

std::unique_ptr<SimTestServer> SimTestServer::fromFile(const QString& path) {
    QString error;
    return started(sim::Scenario::fromFile(path, &error), error);
}

SimTestServer::SimTestServer(sim::Scenario scenario) : m_server(std::move(scenario)) {
    QString error;
    m_running = m_server.start(0, &error);
    if (!m_running) {
        ADD_FAILURE() << "simulated server does not start: " << error.toStdString();
    }
}

QString SimTestServer::connectionString(const QString& user, const QString& password,
                                        const QString& database) const {
    return QStringLiteral("Driver=FreeTDS;Server=127.0.0.1;Port=%1;TDS_Version=7.4;UID=%2;PWD=%3;Database=%4;"
                          "ClientCharset=UTF-8")
        .arg(port())
        .arg(user, password, database);
}

std::vector<sim::TranscriptEntry> SimTestServer::requests() const {
    std::vector<sim::TranscriptEntry> result;
    for (auto& entry : m_server.transcript()) {
        const QString procedure = entry.json.value(QLatin1String("procedure")).toString().toLower();
        const bool bookkeeping = procedure == QLatin1String("sp_prepare") ||
                                 procedure == QLatin1String("sp_unprepare") ||
                                 entry.text == QLatin1String("SELECT @@SPID") ||
                                 entry.text.startsWith(QLatin1String(healthQueryStart));
        if ((entry.kind == QLatin1String("batch") || entry.kind == QLatin1String("rpc")) && !bookkeeping) {
            result.push_back(std::move(entry));
        }
    }
    return result;
}

QStringList SimTestServer::statements() const {
    QStringList texts;
    for (const auto& entry : requests()) {
        texts.append(entry.text);
    }
    return texts;
}

QString parameterValues(const sim::TranscriptEntry& entry) {
    QJsonArray values;
    for (const auto& parameter : entry.parameters) {
        values.append(parameter.toObject().value(QStringLiteral("value")));
    }
    return QString::fromUtf8(QJsonDocument(values).toJson(QJsonDocument::Compact));
}

QString insertedRow(const sim::TranscriptEntry& entry) {
    return entry.text.section(QLatin1Char('('), 1, 1).section(QLatin1Char(')'), 0, 0) + QLatin1Char(' ') +
           parameterValues(entry);
}

} // namespace qormin::test
