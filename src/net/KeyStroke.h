#pragma once

namespace qormin::net {

// One key press as the shell's SendKeys describes it: a character or a named key, with the
// modifiers held down while it is pressed. Plain C++, shared by the Windows and X11 senders.
struct KeyStroke {
    enum class Key {
        Character,
        Enter,
        Tab,
        Escape,
        Backspace,
        Delete,
        Insert,
        Home,
        End,
        PageUp,
        PageDown,
        Up,
        Down,
        Left,
        Right,
        Function, // F1 .. F16, see functionNumber
    };

    Key key = Key::Character;
    char16_t character = 0;
    int functionNumber = 0;
    bool shift = false;
    bool control = false;
    bool alt = false;

    bool operator==(const KeyStroke&) const = default;
};

} // namespace qormin::net
