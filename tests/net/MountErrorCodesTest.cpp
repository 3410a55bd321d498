#include "net/MountErrorCodes.h"

#include <gtest/gtest.h>

namespace {

namespace MountErrorCodes = qormin::net::MountErrorCodes;

struct MessageCase {
    const char* message;
    std::uint32_t code;
};

void PrintTo(const MessageCase& c, std::ostream* out) {
    *out << c.message;
}

class GioMessageTest : public ::testing::TestWithParam<MessageCase> {};

TEST_P(GioMessageTest, givesTheWindowsCode) {
    EXPECT_EQ(MountErrorCodes::fromGioMessage(QString::fromUtf8(GetParam().message)), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    GioMessages, GioMessageTest,
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
        MessageCase{"gio: smb://srv/backup/: Something nobody expected", 31}, MessageCase{"", 31}));

class SmbclientOutputTest : public ::testing::TestWithParam<MessageCase> {};

TEST_P(SmbclientOutputTest, givesTheWindowsCode) {
    EXPECT_EQ(MountErrorCodes::fromSmbclientOutput(QString::fromUtf8(GetParam().message)), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    SmbclientOutput, SmbclientOutputTest,
    ::testing::Values(
        MessageCase{"session setup failed: NT_STATUS_LOGON_FAILURE", 86},
        MessageCase{"session setup failed: NT_STATUS_WRONG_PASSWORD", 86},
        MessageCase{"tree connect failed: NT_STATUS_ACCESS_DENIED", 5},
        MessageCase{"tree connect failed: NT_STATUS_BAD_NETWORK_NAME", 67},
        MessageCase{"cd \\MIR\\: NT_STATUS_OBJECT_NAME_NOT_FOUND", 67},
        MessageCase{"do_connect: Connection to srv failed (Error NT_STATUS_CONNECTION_REFUSED)", 53},
        MessageCase{"do_connect: Connection to nohost failed (Error NT_STATUS_UNSUCCESSFUL)", 53},
        MessageCase{"Connection to srv failed (Error NT_STATUS_NETWORK_UNREACHABLE)", 1222},
        MessageCase{"session setup failed: NT_STATUS_ACCOUNT_LOCKED_OUT", 1909},
        MessageCase{"session setup failed: NT_STATUS_PASSWORD_EXPIRED", 1330},
        MessageCase{"something else entirely", 31}));

} // namespace
