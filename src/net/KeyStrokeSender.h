#pragma once

#include "net/KeyStroke.h"

#include <string>
#include <vector>

namespace qormin::net {

// Types key strokes into whatever window is in front. Plain C++ so the Windows sender stays
// free of Qt.
class KeyStrokeSender {
public:
    virtual ~KeyStrokeSender() = default;
    // Empty when sent, else why not, for the log.
    virtual std::string send(const std::vector<KeyStroke>& strokes) = 0;
};

} // namespace qormin::net
