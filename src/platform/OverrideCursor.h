#pragma once

#include <QApplication>

namespace qormin::platform {

// The application's cursor set for as long as this lives; Qt keeps such cursors as a stack, so
// every set must be undone exactly once, on every way out.
class OverrideCursor {
public:
    explicit OverrideCursor(Qt::CursorShape shape) { QApplication::setOverrideCursor(shape); }
    ~OverrideCursor() { QApplication::restoreOverrideCursor(); }
    OverrideCursor(const OverrideCursor&) = delete;
    OverrideCursor& operator=(const OverrideCursor&) = delete;
};

} // namespace qormin::platform
