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

TEST(DoubleFormat, MatchesPrintfAcrossMagnitudes) {
    std::mt19937_64 random(42);
    // Powers of two and ten hit the exact ties and the rounding carries.
    for (int k = -1074; k <= 1023; ++k)
        ASSERT_EQ(ours(-std::ldexp(1.0, k)), reference(-std::ldexp(1.0, k))) << k;
    for (int k = -323; k <= 308; ++k) {
        const double d = std::strtod(("1e" + std::to_string(k)).c_str(), nullptr);
        for (const double near : {std::nextafter(d, 0.0), d, std::nextafter(d, INFINITY)})
            ASSERT_EQ(ours(near), reference(near)) << k;
    }
    for (int i = 0; i < 100000; ++i) {
        const auto d = std::bit_cast<double>(random());
        if (std::isfinite(d)) ASSERT_EQ(ours(d), reference(d)) << reference(d);
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
    for (const double d : {-0.0, std::numeric_limits<double>::max(), 0.30000000000000004})
        EXPECT_EQ(ours(d), reference(d));
}

}  // namespace
}  // namespace nbx
