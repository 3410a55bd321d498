#include "net/XdotoolKeyStrokeSender.h"
#include "net/SendKeysParser.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

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

void PrintTo(const InvocationCase& c, std::ostream* out) {
    *out << c.name;
}

class XdotoolInvocationTest : public ::testing::TestWithParam<InvocationCase> {};

TEST_P(XdotoolInvocationTest, typesTextFromInputAndPressesNamedKeys) {
    const auto parsed = SendKeysParser::parse(GetParam().keys);
    ASSERT_EQ(parsed.error, "");
    EXPECT_EQ(XdotoolKeyStrokeSender::invocations(parsed.strokes), GetParam().runs);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, XdotoolInvocationTest,
    ::testing::Values(
        InvocationCase{"downsInOneRun", u"{DOWN}{DOWN}", {{keyArguments({"Down", "Down"}), {}}}},
        InvocationCase{"textThenTab",
                       u"administrator{TAB}",
                       {{typeArguments(), "administrator"}, {keyArguments({"Tab"}), {}}}},
        InvocationCase{
            "passwordIsTypedNotPassedAsArgument", u"harbor@579", {{typeArguments(), "harbor@579"}}},
        InvocationCase{
            "driveThenEnter", u"X: {ENTER}", {{typeArguments(), "X: "}, {keyArguments({"Return"}), {}}}},
        InvocationCase{"chords",
                       u"^c+{F4}%{ }^@^\u00e4",
                       {{keyArguments({"ctrl+c", "shift+F4", "alt+space", "ctrl+at", "ctrl+U00E4"}), {}}}},
        InvocationCase{"surrogatePairStaysWhole", u"a\U0001F600", {{typeArguments(), "a\xf0\x9f\x98\x80"}}},
        InvocationCase{"nothing", u"", {}}),
    [](const auto& testInfo) { return std::string(testInfo.param.name); });

// A stand-in xdotool that writes down its arguments and what it read, one run per line.
class FakeXdotool {
public:
    FakeXdotool() {
        QFile script(m_folder.filePath(QStringLiteral("xdotool")));
        script.open(QIODevice::WriteOnly);
        script.write(
            "#!/bin/sh\nprintf '%s|' \"$@\" >> \"$0.log\"\nprintf '<%s>\\n' \"$(cat)\" >> \"$0.log\"\n");
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QProcessEnvironment environment() const {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PATH"),
                           m_folder.path() + u':' + environment.value(QStringLiteral("PATH")));
        return environment;
    }
    QString log() const {
        QFile file(m_folder.filePath(QStringLiteral("xdotool.log")));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

private:
    QTemporaryDir m_folder;
};

TEST(XdotoolKeyStrokeSenderTest, runsXdotoolOncePerRunWithTheTextOnItsInput) {
    FakeXdotool xdotool;
    XdotoolKeyStrokeSender sender(xdotool.environment());
    EXPECT_EQ(sender.send(SendKeysParser::parse(u"administrator{TAB}").strokes), "");
    EXPECT_EQ(xdotool.log().toStdString(), std::string("type|--clearmodifiers|--file|-|<administrator>\n"
                                                       "key|--clearmodifiers|Tab|<>\n"));
}

TEST(XdotoolKeyStrokeSenderTest, saysWhenXdotoolIsMissing) {
    QTemporaryDir empty;
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("PATH"), empty.path());
    XdotoolKeyStrokeSender sender(environment);
    EXPECT_EQ(sender.send(SendKeysParser::parse(u"{ENTER}").strokes), "xdotool is not installed");
}

} // namespace
