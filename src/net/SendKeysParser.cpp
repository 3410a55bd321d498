#include "net/SendKeysParser.h"

#include <cstddef>
#include <optional>
#include <utility>

namespace qormin::net {

namespace {

using Key = KeyStroke::Key;

struct Modifiers {
    bool shift = false;
    bool control = false;
    bool alt = false;
};

std::string narrow(std::u16string_view text) {
    std::string result;
    for (const char16_t c : text)
        result += c < 128 ? static_cast<char>(c) : '?';
    return result;
}

char16_t upper(char16_t c) {
    return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - u'a' + u'A') : c;
}

bool sameName(std::u16string_view text, std::string_view name) {
    if (text.size() != name.size())
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (upper(text[i]) != static_cast<char16_t>(name[i]))
            return false;
    }
    return true;
}

std::optional<KeyStroke> namedKey(std::u16string_view name) {
    static const std::pair<std::string_view, Key> names[] = {
        {"ENTER", Key::Enter},   {"RETURN", Key::Enter},   {"TAB", Key::Tab},
        {"ESC", Key::Escape},    {"ESCAPE", Key::Escape},  {"BACKSPACE", Key::Backspace},
        {"BS", Key::Backspace},  {"BKSP", Key::Backspace}, {"DELETE", Key::Delete},
        {"DEL", Key::Delete},    {"INSERT", Key::Insert},  {"INS", Key::Insert},
        {"HOME", Key::Home},     {"END", Key::End},        {"PGUP", Key::PageUp},
        {"PGDN", Key::PageDown}, {"UP", Key::Up},          {"DOWN", Key::Down},
        {"LEFT", Key::Left},     {"RIGHT", Key::Right},
    };
    for (const auto& [text, key] : names) {
        if (sameName(name, text))
            return KeyStroke{key};
    }
    if (name.size() >= 2 && name.size() <= 3 && upper(name[0]) == u'F') {
        int number = 0;
        for (const char16_t digit : name.substr(1)) {
            if (digit < u'0' || digit > u'9')
                return std::nullopt;
            number = number * 10 + (digit - u'0');
        }
        if (number >= 1 && number <= 16)
            return KeyStroke{Key::Function, 0, number};
    }
    return std::nullopt;
}

// Reads the text between "{" and "}": a name or one character, and a repeat count.
bool braced(std::u16string_view inside, KeyStroke& stroke, int& count, std::string& error) {
    count = 1;
    std::u16string_view name = inside;
    const std::size_t blank = inside.rfind(u' ');
    if (blank != std::u16string_view::npos && blank > 0) {
        int repeat = 0;
        const std::u16string_view digits = inside.substr(blank + 1);
        for (const char16_t digit : digits) {
            if (digit < u'0' || digit > u'9') {
                error = "not a repeat count in {" + narrow(inside) + "}";
                return false;
            }
            repeat = repeat * 10 + (digit - u'0');
        }
        if (digits.empty() || repeat > 1000) {
            error = "not a repeat count in {" + narrow(inside) + "}";
            return false;
        }
        count = repeat;
        name = inside.substr(0, blank);
    }
    if (name.size() == 1) {
        stroke = KeyStroke{Key::Character, name[0]};
        return true;
    }
    const auto key = namedKey(name);
    if (!key) {
        error = "unknown key {" + narrow(name) + "}";
        return false;
    }
    stroke = *key;
    return true;
}

class Reader {
public:
    explicit Reader(std::u16string_view keys) : m_keys(keys) {}

    SendKeysParser::Result read() {
        while (m_position < m_keys.size() && m_result.error.empty())
            readOne(Modifiers{});
        return std::move(m_result);
    }

private:
    void add(KeyStroke stroke, Modifiers held, int count = 1) {
        stroke.shift = held.shift;
        stroke.control = held.control;
        stroke.alt = held.alt;
        for (int i = 0; i < count; ++i)
            m_result.strokes.push_back(stroke);
    }

    // at: where the offending character stands, counted from 0.
    void fail(const std::string& message, std::size_t at) {
        if (m_result.error.empty())
            m_result.error = message + " at position " + std::to_string(at + 1);
    }

    // One key, a modified key or a group.
    void readOne(Modifiers held) {
        const std::size_t at = m_position++;
        const char16_t c = m_keys[at];
        switch (c) {
        case u'+':
        case u'^':
        case u'%':
            held.shift = held.shift || c == u'+';
            held.control = held.control || c == u'^';
            held.alt = held.alt || c == u'%';
            if (m_position >= m_keys.size())
                return fail("a modifier without a key", at);
            return readOne(held);
        case u'(':
            return readGroup(held, at);
        case u')':
            return fail("a \")\" without its \"(\"", at);
        case u'~':
            return add(KeyStroke{Key::Enter}, held);
        case u'{':
            return readBraced(held, at);
        case u'}':
            return fail("a \"}\" without its \"{\"", at);
        default:
            return add(KeyStroke{Key::Character, c}, held);
        }
    }

    void readGroup(Modifiers held, std::size_t openAt) {
        while (m_result.error.empty()) {
            if (m_position >= m_keys.size())
                return fail("a \"(\" without its \")\"", openAt);
            if (m_keys[m_position] == u')') {
                ++m_position;
                return;
            }
            readOne(held);
        }
    }

    void readBraced(Modifiers held, std::size_t openAt) {
        // "{}}" is the brace itself, so the search for the end starts after the first character.
        const std::size_t end = m_keys.find(u'}', m_position + 1);
        if (end == std::u16string_view::npos)
            return fail("a \"{\" without its \"}\"", openAt);
        KeyStroke stroke;
        int count = 1;
        std::string error;
        if (!braced(m_keys.substr(m_position, end - m_position), stroke, count, error))
            return fail(error, openAt);
        m_position = end + 1;
        add(stroke, held, count);
    }

    std::u16string_view m_keys;
    std::size_t m_position = 0;
    SendKeysParser::Result m_result;
};

} // namespace

SendKeysParser::Result SendKeysParser::parse(std::u16string_view keys) {
    return Reader(keys).read();
}

} // namespace qormin::net
