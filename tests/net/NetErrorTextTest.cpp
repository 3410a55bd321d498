#include "net/NetErrorText.h"

#include <gtest/gtest.h>

namespace {

struct NetErrorCase {
    int code;
    const char* text;
};

void PrintTo(const NetErrorCase& c, std::ostream* out) {
    *out << c.code;
}

class NetErrorTextTest : public ::testing::TestWithParam<NetErrorCase> {};

TEST_P(NetErrorTextTest, givesTheOperatorsTextForEachCode) {
    EXPECT_EQ(qormin::net::NetErrorText(GetParam().code), QString::fromUtf8(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    KnownCodes, NetErrorTextTest,
    ::testing::Values(NetErrorCase{5, "Access Denied."}, NetErrorCase{66, "Bad device."},
                      NetErrorCase{67, "Bad net name"}, NetErrorCase{85, "Already Assigned."},
                      NetErrorCase{86, "Invalid Password"}, NetErrorCase{170, "Busy"},
                      NetErrorCase{173, "Cancel Violation"},
                      NetErrorCase{234, "Buffer to small to hold network name, make lpnLength bigger"},
                      NetErrorCase{1202, "Device already remembered"},
                      NetErrorCase{1203, "Could not find the specified device"},
                      NetErrorCase{1204, "Bad Provider"}, NetErrorCase{1205, "Cannot Open Profile"},
                      NetErrorCase{1206, "Bad Profile"}, NetErrorCase{1208, "Device already remembered"},
                      NetErrorCase{1222, "No Network Present"}, NetErrorCase{2250, "No Connection Present"},
                      NetErrorCase{2401, "Files open and the force parameter is false"},
                      NetErrorCase{2404, "Connection Currently in use "}));

INSTANTIATE_TEST_SUITE_P(UnknownCodes, NetErrorTextTest,
                         ::testing::Values(NetErrorCase{1207, "Unrecognized Error 1207."},
                                           NetErrorCase{0, "Unrecognized Error 0."}));

} // namespace
