#include "net/MountErrorCodes.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

namespace MountErrorCodes = qormin::net::MountErrorCodes;

struct MessageCase {
    const char* message;
    std::uint32_t code;
    bool fromSmbclient = false;
};

std::string_view label(const MessageCase& row) {
    return row.message;
}

class MountErrorCodesTest : public ::testing::TestWithParam<MessageCase> {};

TEST_P(MountErrorCodesTest, givesTheWindowsCode) {
    const MessageCase& c = GetParam();
    const QString message = QString::fromUtf8(c.message);
    EXPECT_EQ(c.fromSmbclient ? MountErrorCodes::fromSmbclientOutput(message)
                              : MountErrorCodes::fromGioMessage(message),
              c.code);
}

INSTANTIATE_TEST_SUITE_P(
    Messages, MountErrorCodesTest,
    ::testing::Values(
        MessageCase{"gio: smb://srv/backup/: Location is already mounted", 0},
        MessageCase{"gio: smb://srv/nosuch/: Failed to mount Windows share: No such file or directory", 67},
        MessageCase{"gio: smb://srv/backup/: Failed to mount Windows share: Permission denied", 5},
        MessageCase{"gio: smb://srv/backup/: Failed to mount Windows share: Network is unreachable", 1222},
        MessageCase{"gio: smb://srv:4456/backup/: Failed to mount Windows share: Connection refused", 53},
        MessageCase{"gio: smb://srv/backup/: Failed to mount Windows share: No route to host", 53},
        MessageCase{"gio: smb://srv/backup/: Failed to mount Windows share: Connection timed out", 53},
        MessageCase{"gio: smb://srv/backup/: Operation not supported", 1222},
        MessageCase{"gio: smb://srv/backup/: The specified location is not supported", 1222},
        MessageCase{"gio: smb://srv/backup/: Device or resource busy", 2404},
        MessageCase{"gio: smb://srv/backup/: Something nobody expected", 31}, MessageCase{"", 31},
        MessageCase{"session setup failed: NT_STATUS_LOGON_FAILURE", 86, true},
        MessageCase{"session setup failed: NT_STATUS_WRONG_PASSWORD", 86, true},
        MessageCase{"tree connect failed: NT_STATUS_ACCESS_DENIED", 5, true},
        MessageCase{"tree connect failed: NT_STATUS_BAD_NETWORK_NAME", 67, true},
        MessageCase{"cd \\MIR\\: NT_STATUS_OBJECT_NAME_NOT_FOUND", 67, true},
        MessageCase{"do_connect: Connection to srv failed (Error NT_STATUS_CONNECTION_REFUSED)", 53, true},
        MessageCase{"do_connect: Connection to nohost failed (Error NT_STATUS_UNSUCCESSFUL)", 53, true},
        MessageCase{"Connection to srv failed (Error NT_STATUS_NETWORK_UNREACHABLE)", 1222, true},
        MessageCase{"session setup failed: NT_STATUS_ACCOUNT_LOCKED_OUT", 1909, true},
        MessageCase{"session setup failed: NT_STATUS_PASSWORD_EXPIRED", 1330, true},
        MessageCase{"something else entirely", 31, true}),
    [](const auto& testInfo) {
        return (testInfo.param.fromSmbclient ? "smbclient" : "gio") + std::to_string(testInfo.index);
    });

} // namespace
