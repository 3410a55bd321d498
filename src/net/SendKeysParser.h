#pragma once

#include "net/KeyStroke.h"

#include <string>
#include <string_view>
#include <vector>

namespace qormin::net {

// Reads the key notation of the shell's SendKeys: plain characters, "~" for Enter, "{NAME}"
// and "{NAME n}" for named or repeated keys, "{+}" and the like for the special characters,
// "+", "^" and "%" for Shift, Ctrl and Alt on the next key or on a "( )" group.
class SendKeysParser {
public:
    struct Result {
        std::vector<KeyStroke> strokes;
        std::string error; // empty when the whole text was understood
    };

    static Result parse(std::u16string_view keys);
};

} // namespace qormin::net
