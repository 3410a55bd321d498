#include "net/Win32KeyStrokeSender.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

namespace qormin::net {

namespace {

using Key = KeyStroke::Key;

struct VirtualKey {
    WORD code = 0;
    bool extended = false;
};

VirtualKey virtualKey(const KeyStroke& stroke) {
    switch (stroke.key) {
    case Key::Enter:
        return {VK_RETURN};
    case Key::Tab:
        return {VK_TAB};
    case Key::Escape:
        return {VK_ESCAPE};
    case Key::Backspace:
        return {VK_BACK};
    case Key::Delete:
        return {VK_DELETE, true};
    case Key::Insert:
        return {VK_INSERT, true};
    case Key::Home:
        return {VK_HOME, true};
    case Key::End:
        return {VK_END, true};
    case Key::PageUp:
        return {VK_PRIOR, true};
    case Key::PageDown:
        return {VK_NEXT, true};
    case Key::Up:
        return {VK_UP, true};
    case Key::Down:
        return {VK_DOWN, true};
    case Key::Left:
        return {VK_LEFT, true};
    case Key::Right:
        return {VK_RIGHT, true};
    case Key::Function:
        return {static_cast<WORD>(VK_F1 + stroke.functionNumber - 1)};
    case Key::Character:
        break;
    }
    // A character under a modifier (^c) is its key, not its text.
    const SHORT scan = VkKeyScanW(static_cast<WCHAR>(stroke.character));
    return {static_cast<WORD>(scan == -1 ? 0 : LOBYTE(scan))};
}

INPUT keyInput(VirtualKey key, bool up) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key.code;
    input.ki.dwFlags = (up ? KEYEVENTF_KEYUP : 0) | (key.extended ? KEYEVENTF_EXTENDEDKEY : 0);
    return input;
}

INPUT unicodeInput(char16_t character, bool up) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wScan = static_cast<WORD>(character);
    input.ki.dwFlags = KEYEVENTF_UNICODE | (up ? KEYEVENTF_KEYUP : 0);
    return input;
}

void addModifiers(std::vector<INPUT>& inputs, const KeyStroke& stroke, bool up) {
    if (stroke.shift)
        inputs.push_back(keyInput({VK_SHIFT}, up));
    if (stroke.control)
        inputs.push_back(keyInput({VK_CONTROL}, up));
    if (stroke.alt)
        inputs.push_back(keyInput({VK_MENU}, up));
}

} // namespace

std::string Win32KeyStrokeSender::send(const std::vector<KeyStroke>& strokes) {
    std::vector<INPUT> inputs;
    for (const KeyStroke& stroke : strokes) {
        const bool modified = stroke.shift || stroke.control || stroke.alt;
        addModifiers(inputs, stroke, false);
        if (stroke.key == Key::Character && !modified) {
            inputs.push_back(unicodeInput(stroke.character, false));
            inputs.push_back(unicodeInput(stroke.character, true));
        } else {
            const VirtualKey key = virtualKey(stroke);
            if (key.code == 0)
                return "no key on this keyboard types the character under a modifier";
            inputs.push_back(keyInput(key, false));
            inputs.push_back(keyInput(key, true));
        }
        addModifiers(inputs, stroke, true);
    }
    if (inputs.empty())
        return {};
    const UINT sent = SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
    if (sent != inputs.size())
        return "Windows accepted " + std::to_string(sent) + " of " + std::to_string(inputs.size()) +
               " key events (another program may block input)";
    return {};
}

} // namespace qormin::net
