#include "net/XdotoolKeyStrokeSender.h"
#include "RowName.h"
#include "net/SendKeysParser.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using qormin::net::SendKeysParser;
using qormin::net::XdotoolKeyStrokeSender;
using Invocation = XdotoolKeyStrokeSender::Invocation;

QStringList typeArguments() {
    return {QStringLiteral("type"), QStringLiteral("--clearmodifiers"), QStringLiteral("--file"),
            QStringLiteral("-")};
}

QStringList keyArguments(const QStringList& keys) {
    return QStringList{QStringLiteral("key"), QStringLiteral("--clearmodifiers")} + keys;
}

struct InvocationCase {
    const char* name;
    std::u16string keys;
    std::vector<Invocation> runs;
};

class XdotoolInvocationTest : public ::testing::TestWithParam<InvocationCase> {};

TEST_P(XdotoolInvocationTest, typesTextFromInputAndPressesNamedKeys) {
    const auto parsed = SendKeysParser::parse(GetParam().keys);
    ASSERT_EQ(parsed.error, "");
    EXPECT_EQ(XdotoolKeyStrokeSender::invocations(parsed.strokes), GetParam().runs);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, XdotoolInvocationTest,
    ::testing::Values(
        // What the share buttons send is checked through the window, as xdotool sees it.
        InvocationCase{"chords",
                       u"^c+{F4}%{ }^@^\u00e4",
                       {{keyArguments({"ctrl+c", "shift+F4", "alt+space", "ctrl+at", "ctrl+U00E4"}), {}}}},
        InvocationCase{"surrogatePairStaysWhole", u"a\U0001F600", {{typeArguments(), "a\xf0\x9f\x98\x80"}}},
        InvocationCase{"nothing", u"", {}}),
    qormin::test::RowName());

} // namespace
