#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

namespace qormin::sim {

// One line of the transcript: a login, batch, rpc, attention or disconnect as the server saw it.
// `json` holds every field, including those not broken out here.
struct TranscriptEntry {
    int connection = 0;
    QString kind;
    QString database;
    QString text;
    QJsonArray parameters;
    QJsonObject json;
};

} // namespace qormin::sim
