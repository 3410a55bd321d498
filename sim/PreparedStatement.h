#pragma once

#include <QString>

namespace qormin::sim {

// A statement prepared with sp_prepare or sp_prepexec, run again by handle with sp_execute.
struct PreparedStatement {
    QString text;
    QString parameterDeclarations;
};

} // namespace qormin::sim
