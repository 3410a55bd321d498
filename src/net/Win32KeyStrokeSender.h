#pragma once

#include "net/KeyStrokeSender.h"

namespace qormin::net {

// Key strokes into the foreground window with SendInput. Plain C++ and windows.h only.
class Win32KeyStrokeSender : public KeyStrokeSender {
public:
    std::string send(const std::vector<KeyStroke>& strokes) override;
};

} // namespace qormin::net
