#include "net/ModNetUse.h"
#include "QStringPrinter.h"
#include "RowName.h"
#include "net/NetErrorText.h"
#include "net/ShareConnector.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using qormin::test::PrintTo;

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
        return results.at(calls.size() - 1);
    }
    std::uint32_t cancelConnection(const std::string&) override { return 0; }
    std::string lastDetail() const override { return {}; }
};

TEST(ModNetUseTest, passesTheRemoteNameWithLeadingBackslashesAndTheAccountAsGiven) {
    ScriptedConnector connector;
    connector.results = {0};
    ModNetUse(connector).NetUseConnect(QStringLiteral("SERVER1\\backup"), QStringLiteral("X:"),
                                       QStringLiteral("HOSP\\administrator"), QStringLiteral("secret word"));
    ASSERT_EQ(connector.calls.size(), 1u);
    EXPECT_EQ(connector.calls[0].remoteName, "\\\\SERVER1\\backup");
    EXPECT_EQ(connector.calls[0].localName, "X:");
    EXPECT_EQ(connector.calls[0].user, "HOSP\\administrator");
    EXPECT_EQ(connector.calls[0].password, "secret word");
}

struct ResultCase {
    std::uint32_t code;
    const char* text;
};
std::string_view label(const ResultCase& row) {
    return row.text;
}

class NetErrorTextTest : public ::testing::TestWithParam<ResultCase> {};

// A failure first, so that the values of the case under test must also clear what it left.
TEST_P(NetErrorTextTest, givesTheOperatorsTextForEachCodeAndSetsTheLastValues) {
    const ResultCase& c = GetParam();
    const QString text = QString::fromUtf8(c.text);
    EXPECT_EQ(qormin::net::NetErrorText(static_cast<int>(c.code)), text);
    ScriptedConnector connector;
    connector.results = {1204, c.code};
    ModNetUse net(connector);
    net.NetUseConnect(QStringLiteral("a\\backup"), QStringLiteral("Y:"), QString(), QString());
    net.NetUseConnect(QStringLiteral("a\\backup"), QStringLiteral("Y:"), QString(), QString());
    EXPECT_EQ(net.NetLastResult(), static_cast<std::int32_t>(c.code));
    EXPECT_EQ(net.NetLastError(), static_cast<std::int32_t>(c.code));
    // Success leaves no text, although the table has none for 0.
    EXPECT_EQ(net.NetLastErrorText(), c.code == 0 ? QString() : text);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, NetErrorTextTest,
    ::testing::Values(ResultCase{5, "Access Denied."}, ResultCase{66, "Bad device."},
                      ResultCase{67, "Bad net name"}, ResultCase{85, "Already Assigned."},
                      ResultCase{86, "Invalid Password"}, ResultCase{170, "Busy"},
                      ResultCase{173, "Cancel Violation"},
                      ResultCase{234, "Buffer to small to hold network name, make lpnLength bigger"},
                      ResultCase{1202, "Device already remembered"},
                      ResultCase{1203, "Could not find the specified device"},
                      ResultCase{1204, "Bad Provider"}, ResultCase{1205, "Cannot Open Profile"},
                      ResultCase{1206, "Bad Profile"}, ResultCase{1208, "Device already remembered"},
                      ResultCase{1222, "No Network Present"}, ResultCase{2250, "No Connection Present"},
                      ResultCase{2401, "Files open and the force parameter is false"},
                      ResultCase{2404, "Connection Currently in use "},
                      ResultCase{1207, "Unrecognized Error 1207."}, ResultCase{0, "Unrecognized Error 0."}),
    [](const auto& testInfo) { return "code" + std::to_string(testInfo.param.code); });

} // namespace
