#include "net/ModNetUse.h"
#include "net/ShareConnector.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using qormin::net::ModNetUse;

// Answers with queued codes and keeps what it was given, as the networking call sees it.
class ScriptedConnector : public qormin::net::ShareConnector {
public:
    struct Call {
        std::string remoteName, localName, user, password;
    };
    std::vector<std::uint32_t> results;
    std::vector<Call> calls;

    std::uint32_t addConnection(const std::string& remoteName, const std::string& localName,
                                const std::string& user, const std::string& password) override {
        calls.push_back({remoteName, localName, user, password});
        const std::uint32_t result = results.at(calls.size() - 1);
        return result;
    }
    std::uint32_t cancelConnection(const std::string&) override { return 0; }
    std::string lastDetail() const override { return {}; }
};

TEST(ModNetUseTest, passesTheRemoteNameWithLeadingBackslashesAndTheAccountAsGiven) {
    ScriptedConnector connector;
    connector.results = {0};
    ModNetUse net(connector);
    net.NetUseConnect(QStringLiteral("SERVER1\\backup"), QStringLiteral("X:"),
                      QStringLiteral("HOSP\\administrator"), QStringLiteral("secret word"));
    ASSERT_EQ(connector.calls.size(), 1u);
    EXPECT_EQ(connector.calls[0].remoteName, "\\\\SERVER1\\backup");
    EXPECT_EQ(connector.calls[0].localName, "X:");
    EXPECT_EQ(connector.calls[0].user, "HOSP\\administrator");
    EXPECT_EQ(connector.calls[0].password, "secret word");
}

struct ResultCase {
    std::uint32_t result;
    std::int32_t lastError;
    const char* lastErrorText;
};

void PrintTo(const ResultCase& c, std::ostream* out) {
    *out << c.result;
}

class ModNetUseResultTest : public ::testing::TestWithParam<ResultCase> {};

// A failure first, so that the values of the case under test must also clear what it left.
TEST_P(ModNetUseResultTest, setsTheLastValuesFromTheResult) {
    ScriptedConnector connector;
    connector.results = {1204, GetParam().result};
    ModNetUse net(connector);
    net.NetUseConnect(QStringLiteral("a\\backup"), QStringLiteral("Y:"), QString(), QString());
    net.NetUseConnect(QStringLiteral("a\\backup"), QStringLiteral("Y:"), QString(), QString());
    EXPECT_EQ(net.NetLastResult(), static_cast<std::int32_t>(GetParam().result));
    EXPECT_EQ(net.NetLastError(), GetParam().lastError);
    EXPECT_EQ(net.NetLastErrorText(), QString::fromUtf8(GetParam().lastErrorText));
}

INSTANTIATE_TEST_SUITE_P(Results, ModNetUseResultTest,
                         ::testing::Values(ResultCase{0, 0, ""}, ResultCase{85, 85, "Already Assigned."},
                                           ResultCase{86, 86, "Invalid Password"},
                                           ResultCase{1207, 1207, "Unrecognized Error 1207."}));

} // namespace
