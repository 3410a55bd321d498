#include "app/SettingsTable.h"
#include "RowName.h"

#include <gtest/gtest.h>

namespace {

using qormin::test::PrintTo;

using namespace qormin::app;

struct AddressCase {
    const char* control;
    int index;
    SettingAddress written;
    SettingAddress read;
    const char* startupDefault;
};
std::string label(const AddressCase& row) {
    return row.control + (row.index >= 0 ? std::to_string(row.index) : "");
}

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

// The window's own tests cover the fields it reads at start-up; these are the rest.
const AddressCase addressCases[] = {
    {"txtLastNames", -1, at("MAIN", "txtLastNames"), SettingAddress{}, ""},
    {"txtAnonymizeField", 3, at("MAIN", "txtAnonymizeField3"), SettingAddress{}, ""},
    {"txtDB", -1, SettingAddress{}, SettingAddress{}, ""},
};

INSTANTIATE_TEST_SUITE_P(Controls, SettingsTableTest, testing::ValuesIn(addressCases),
                         qormin::test::RowName());

// A password address missing here would be written into the settings file in plain text.
TEST(SettingsTableTest, everyPasswordBoxIsKeptAsASecret) {
    EXPECT_EQ(passwordAddresses(),
              (QStringList{"MIR/DB0", "MIR/DB1", "MAIN/txtServerPW0", "MAIN/txtServerPW1"}));
}

} // namespace
