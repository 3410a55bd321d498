#pragma once

#include "sim/SqlType.h"

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <optional>
#include <vector>

namespace qormin::sim {

struct RpcParameter {
    QString name;
    SqlType type;
    QVariant value;
    bool output = false;
};

struct RpcCall {
    QString procedure; // by name, or the well-known name of the procedure id
    int procedureId = 0;
    std::vector<RpcParameter> parameters;
};

// A decoded RPC message: one or more calls, each with typed parameters.
struct RpcRequest {
    std::vector<RpcCall> calls;

    static std::optional<RpcRequest> parse(const QByteArray& payload, QString* error);
    static QString procedureName(int procedureId);
};

} // namespace qormin::sim
