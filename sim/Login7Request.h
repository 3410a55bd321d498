#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace qormin::sim {

// The fields of a LOGIN7 message the simulator cares about.
struct Login7Request {
    quint32 tdsVersion = 0;
    int packetSize = 4096;
    QString hostName;
    QString userName;
    QString password;
    QString applicationName;
    QString serverName;
    QString language;
    QString database;

    static std::optional<Login7Request> parse(const QByteArray& payload);
};

} // namespace qormin::sim
