#pragma once

#include <QString>
#include <chrono>

namespace qormin::net {

class KeyStrokeSender;

// Sends keys written in the SendKeys notation; "" when sent, else the log line saying why not.
QString typeKeys(KeyStrokeSender& sender, const QString& keys);

// Key strokes go to whatever window is in front; a window just started needs a moment to get
// there. The window keeps painting meanwhile, but takes no clicks.
void letWindowOpen(std::chrono::milliseconds wait);

} // namespace qormin::net
