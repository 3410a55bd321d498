#pragma once

#include <QString>

namespace qormin::net {

// The message shown for a failed share mapping (or cancel) result code.
QString NetErrorText(int code);

} // namespace qormin::net
