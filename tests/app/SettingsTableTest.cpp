#include "app/SettingsTable.h"

#include <gtest/gtest.h>

namespace {

using namespace qormin::app;

struct AddressCase {
    const char* control;
    int index;
    SettingAddress written;
    SettingAddress read;
    const char* startupDefault;
};

class SettingsTableTest : public testing::TestWithParam<AddressCase> {};

TEST_P(SettingsTableTest, changeHandlerAndStartUpUseTheHistoricalAddresses) {
    const AddressCase& c = GetParam();
    const QString control = QString::fromLatin1(c.control);
    EXPECT_EQ(changeHandlerAddress(control, c.index), c.written);
    EXPECT_EQ(startupAddress(control, c.index), c.read);
    EXPECT_EQ(startupDefault(control), QString::fromLatin1(c.startupDefault));
}

SettingAddress at(const char* section, const char* key) {
    return {QString::fromLatin1(section), QString::fromLatin1(key)};
}

const AddressCase addressCases[] = {
    {"txtPW", 0, at("MIR", "DB0"), at("MIR", "DB0"), ""},
    {"txtPW", 1, at("MIR", "DB1"), at("MIR", "DB1"), ""},
    {"txtServer", 1, at("MIR", "txtServer1"), at("MIR", "txtServer1"), ""},
    {"txtServerPW", 0, at("MAIN", "txtServerPW0"), at("MAIN", "txtServerPW0"), ""},
    {"txtServerUser", 1, at("MAIN", "txtServerUser1"), at("MAIN", "txtServerUser1"), "administrator"},
    {"txtLogDrive", 0, at("MAIN", "txtLogDrive0"), at("MAIN", "txtLogDrive0"), ""},
    {"txtPath", 0, at("MIR", "txtPath0"), at("MAIN", "txtPath0"), ""},
    {"txtPath", 2, at("MIR", "txtPath2"), at("MAIN", "txtPath2"), ""},
    {"txtUserID", 0, at("MAIN", "txtUserID0"), at("MAIN", "txtUserID0"), "sa"},
    {"txtRestoreTO", 5, at("txtRestoreTO", "DB5"), at("txtRestoreTO", "DB5"), ""},
    {"txtBackupDrive", -1, at("MAIN", "txtBackupDrive"), at("MAIN", "txtBackupDrive"), "p:\\backup\\MIR\\"},
    {"txtLastNames", -1, at("MAIN", "txtLastNames"), SettingAddress{}, ""},
    {"txtAnonymizeField", 3, at("MAIN", "txtAnonymizeField3"), SettingAddress{}, ""},
    {"txtDB", -1, SettingAddress{}, SettingAddress{}, ""},
    {"txtRestoreDir", -1, SettingAddress{}, SettingAddress{}, ""},
};

INSTANTIATE_TEST_SUITE_P(Controls, SettingsTableTest, testing::ValuesIn(addressCases),
                         [](const auto& testInfo) {
                             return std::string(testInfo.param.control) +
                                    (testInfo.param.index >= 0 ? std::to_string(testInfo.param.index) : "");
                         });

} // namespace
