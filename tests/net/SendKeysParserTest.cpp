#include "net/SendKeysParser.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::net::KeyStroke;
using qormin::net::SendKeysParser;
using Key = KeyStroke::Key;

KeyStroke text(char16_t c) {
    return KeyStroke{Key::Character, c};
}
KeyStroke key(Key k) {
    return KeyStroke{k};
}
KeyStroke with(KeyStroke s, bool KeyStroke::*modifier) {
    s.*modifier = true;
    return s;
}

std::vector<KeyStroke> textOf(std::u16string_view s) {
    std::vector<KeyStroke> strokes;
    for (const char16_t c : s)
        strokes.push_back(text(c));
    return strokes;
}

std::vector<KeyStroke> operator+(std::vector<KeyStroke> a, const std::vector<KeyStroke>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

struct ParseCase {
    const char* name;
    std::u16string keys;
    std::vector<KeyStroke> strokes;
    const char* error = ""; // a refusal: only its text is checked
};

class SendKeysParserTest : public ::testing::TestWithParam<ParseCase> {};

TEST_P(SendKeysParserTest, readsTheKeysOrSaysWhatIsWrong) {
    const auto result = SendKeysParser::parse(GetParam().keys);
    EXPECT_EQ(result.error, GetParam().error);
    if (*GetParam().error == 0) {
        EXPECT_EQ(result.strokes, GetParam().strokes);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Notation, SendKeysParserTest,
    ::testing::Values(
        // What the share buttons send goes through the xdotool and Windows shell tests too.
        ParseCase{"textThenKey", u"X: {ENTER}", textOf(u"X: ") + std::vector{key(Key::Enter)}},
        ParseCase{"tildeIsEnter", u"a~", {text(u'a'), key(Key::Enter)}},
        ParseCase{"namesIgnoreCase", u"{down}{Esc}", {key(Key::Down), key(Key::Escape)}},
        ParseCase{"repeatCount", u"{LEFT 3}", {key(Key::Left), key(Key::Left), key(Key::Left)}},
        ParseCase{"repeatedCharacter", u"{x 2}", {text(u'x'), text(u'x')}},
        ParseCase{"bracedSpecials", u"{+}{^}{%}{~}{(}{{}{}}", textOf(u"+^%~({}")},
        ParseCase{"functionKey", u"{F12}", {KeyStroke{Key::Function, 0, 12}}},
        ParseCase{"controlOnNextKeyOnly", u"^cv", {with(text(u'c'), &KeyStroke::control), text(u'v')}},
        ParseCase{"modifiersCombine",
                  u"+^{END}",
                  {with(with(key(Key::End), &KeyStroke::control), &KeyStroke::shift)}},
        ParseCase{"groupHoldsTheModifier",
                  u"%(fx)y",
                  {with(text(u'f'), &KeyStroke::alt), with(text(u'x'), &KeyStroke::alt), text(u'y')}},
        ParseCase{"unicodeText", u"pä\u20ac", textOf(u"pä\u20ac")}, ParseCase{"empty", u"", {}},
        ParseCase{"unknownNameRefused", u"ab{NOPE}", {}, "unknown key {NOPE} at position 3"},
        ParseCase{"openBraceRefused", u"{ENTER", {}, "a \"{\" without its \"}\" at position 1"},
        ParseCase{"closingBraceRefused", u"a}", {}, "a \"}\" without its \"{\" at position 2"},
        ParseCase{"openGroupRefused", u"+(ab", {}, "a \"(\" without its \")\" at position 2"},
        ParseCase{"closingParenthesisRefused", u"a)", {}, "a \")\" without its \"(\" at position 2"},
        ParseCase{"modifierAtTheEndRefused", u"a^", {}, "a modifier without a key at position 2"},
        ParseCase{"badRepeatRefused", u"{DOWN x}", {}, "not a repeat count in {DOWN x} at position 1"},
        ParseCase{"functionOutOfRangeRefused", u"{F17}", {}, "unknown key {F17} at position 1"}),
    qormin::test::RowName());

} // namespace
