#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "DoubleFormat.h"

namespace nbx {
namespace {

// printf in the C locale is the reference the output must match byte for byte.
std::string reference(double d) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.17g", d);
    return buffer;
}

std::string ours(double d) {
    char buffer[32];
    return std::string(buffer, formatDouble17(d, buffer));
}

class MatchesPrintf : public testing::TestWithParam<double> {};

TEST_P(MatchesPrintf, ForThisValueAndItsNeighbours) {
    double d = GetParam();
    for (int i = 0; i < 3; ++i, d = std::nextafter(d, std::numeric_limits<double>::infinity())) {
        EXPECT_EQ(ours(d), reference(d));
        EXPECT_EQ(ours(-d), reference(-d));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Boundaries, MatchesPrintf,
    testing::Values(0.0, 1.0, 0.1, 0.5, 1500.0, 1e-4, 9.9999999999999995e-5, 1e-5, 1e-11, 1e-12,
                    123456789.125, 1e15, 1e16, 9999999999999998.0, 1e17, 99999999999999984.0, 1e21,
                    1e22, 1e23, 1.7e38, 1e39, 1e300, std::numeric_limits<double>::max(),
                    std::numeric_limits<double>::min(), std::numeric_limits<double>::denorm_min(),
                    9007199254740993.0, 18446744073709551616.0, 0.30000000000000004, 5e-324 * 3,
                    2.2250738585072009e-308));

TEST(DoubleFormat, MatchesPrintfAcrossMagnitudes) {
    std::mt19937_64 random(42);
    // Powers of two and ten hit the exact ties and the rounding carries.
    for (int k = -1074; k <= 1023; ++k)
        ASSERT_EQ(ours(std::ldexp(1.0, k)), reference(std::ldexp(1.0, k))) << k;
    for (int k = -323; k <= 308; ++k) {
        const double d = std::strtod(("1e" + std::to_string(k)).c_str(), nullptr);
        ASSERT_EQ(ours(d), reference(d)) << k;
    }
    for (int i = 0; i < 100000; ++i) {
        const auto d = std::bit_cast<double>(random());
        if (!std::isfinite(d)) continue;
        ASSERT_EQ(ours(d), reference(d)) << reference(d);
    }
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (int i = 0; i < 100000; ++i) {
        const double d = unit(random) * std::pow(10.0, static_cast<int>(random() % 50) - 15);
        ASSERT_EQ(ours(d), reference(d)) << reference(d);
    }
    for (int i = 0; i < 20000; ++i) {
        const auto n = static_cast<double>(random() >> (random() % 64));
        ASSERT_EQ(ours(n), reference(n)) << reference(n);
    }
}

}  // namespace
}  // namespace nbx
