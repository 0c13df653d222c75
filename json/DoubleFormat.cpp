#include "DoubleFormat.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace nbx {

namespace {

// A compiler extension, hence the marker that keeps pedantic builds quiet.
__extension__ typedef unsigned __int128 U128;

constexpr int kDigits = 17;
constexpr std::uint64_t kLow = 10'000'000'000'000'000ULL;  // 10^16: smallest 17-digit value
constexpr std::uint64_t kHigh = 10 * kLow;                 // 10^17

template <unsigned Base, std::size_t Count>
constexpr std::array<U128, Count> powers() {
    std::array<U128, Count> table{};
    table[0] = 1;
    for (std::size_t i = 1; i < Count; ++i)
        table[i] = table[i - 1] * Base;
    return table;
}
constexpr auto kPowersOf5 = powers<5, 28>();
// 10^k for the decimal exponents the 128-bit path covers.
constexpr int kFirstPower = -11;
constexpr double kPowersOf10Double[] = {
    1e-11, 1e-10, 1e-9, 1e-8, 1e-7, 1e-6, 1e-5, 1e-4, 1e-3, 1e-2, 1e-1, 1e0,  1e1,
    1e2,   1e3,   1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14,
    1e15,  1e16,  1e17, 1e18, 1e19, 1e20, 1e21, 1e22, 1e23, 1e24, 1e25, 1e26, 1e27,
    1e28,  1e29,  1e30, 1e31, 1e32, 1e33, 1e34, 1e35, 1e36, 1e37, 1e38, 1e39};
constexpr auto kPowersOf10 = powers<10, 39>();

// Rounds q + r / divisor to nearest, ties to even, as printf does.
std::uint64_t roundHalfEven(U128 q, U128 r, U128 divisor) {
    const U128 twice = r << 1;  // r < divisor <= 2^127
    if (twice > divisor || (twice == divisor && (q & 1))) ++q;
    return static_cast<std::uint64_t>(q);
}

struct Scaled {
    std::uint64_t truncated;  // floor(m * 2^e * 10^p)
    std::uint64_t rounded;
};

// m * 2^e * 10^p exactly in 128-bit arithmetic, when the operands allow it; the result is
// expected to be near 10^16..10^17.
bool scale(std::uint64_t m, int e, int p, Scaled& out) {
    if (p >= 0) {
        if (p > 27) return false;  // 5^27 < 2^63 keeps m * 5^p below 2^116
        const U128 a = U128{m} * kPowersOf5[static_cast<std::size_t>(p)];
        const int shift = e + p;
        if (shift >= 0) {
            if (shift > 60 || (a >> (64 - shift)) != 0) return false;
            const auto exact = static_cast<std::uint64_t>(a << shift);
            out = {exact, exact};
            return true;
        }
        if (shift <= -127) return false;
        const U128 q = a >> -shift;
        const U128 r = a - (q << -shift);
        if (q >> 64) return false;
        out = {static_cast<std::uint64_t>(q), roundHalfEven(q, r, U128{1} << -shift)};
        return true;
    }
    if (p < -38 || e < 0 || e > 74) return false;  // m << e and 10^-p within 128 bits
    const U128 a = U128{m} << e;
    const U128 divisor = kPowersOf10[static_cast<std::size_t>(-p)];
    const U128 q = a / divisor;
    if (q >> 64) return false;
    out = {static_cast<std::uint64_t>(q), roundHalfEven(q, a % divisor, divisor)};
    return true;
}

// The 17 significant digits and the decimal exponent of the first one.
bool significantDigits(double magnitude, std::uint64_t& digits, int& exponent) {
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    const int biased = static_cast<int>(bits >> 52);
    std::uint64_t m = bits & ((std::uint64_t{1} << 52) - 1);
    int e = -1074;
    if (biased != 0) {
        m |= std::uint64_t{1} << 52;
        e = biased - 1075;
    }
    // floor(log10(2^b)) is the decimal exponent or one less; the table settles most cases.
    const int binaryExponent = e + 63 - std::countl_zero(m);
    exponent = (binaryExponent * 78913) >> 18;
    const int next = exponent + 1 - kFirstPower;
    if (next < 0 || next >= static_cast<int>(std::size(kPowersOf10Double))) return false;
    if (magnitude >= kPowersOf10Double[next]) ++exponent;
    Scaled s;
    // log10 can be one off next to a power of ten.
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (!scale(m, e, kDigits - 1 - exponent, s)) return false;
        if (s.truncated >= kHigh) {
            ++exponent;
        } else if (s.truncated < kLow) {
            --exponent;
        } else {
            break;
        }
    }
    if (s.truncated < kLow || s.truncated >= kHigh) return false;
    digits = s.rounded;
    if (digits == kHigh) {  // rounded up to the next power of ten
        digits = kLow;
        ++exponent;
    }
    return true;
}

// Exactly 17 digits, two at a time in 32-bit arithmetic.
void writeDigits(std::uint64_t digits, char* text) {
    static constexpr char kPairs[] =
        "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
        "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
        "8081828384858687888990919293949596979899";
    auto high = static_cast<std::uint32_t>(digits / 100'000'000);  // 9 digits
    auto low = static_cast<std::uint32_t>(digits % 100'000'000);   // 8 digits
    for (int i = kDigits - 2; i >= 9; i -= 2, low /= 100)
        std::memcpy(text + i, kPairs + 2 * (low % 100), 2);
    for (int i = 7; i >= 1; i -= 2, high /= 100)
        std::memcpy(text + i, kPairs + 2 * (high % 100), 2);
    text[0] = static_cast<char>('0' + high);
}

char* writeExponent(char* out, int exponent) {
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    const int magnitude = exponent < 0 ? -exponent : exponent;
    if (magnitude < 10) *out++ = '0';
    return std::to_chars(out, out + 4, magnitude).ptr;
}

// Lays the digits out as "%g" does: scientific below 1e-4 and from 1e17, trailing zeros cut.
char* layOut(std::uint64_t digits, int exponent, char* out) {
    char text[kDigits];
    writeDigits(digits, text);
    int length = kDigits;
    while (length > 1 && text[length - 1] == '0')
        --length;
    if (exponent < -4 || exponent >= kDigits) {
        *out++ = text[0];
        if (length > 1) {
            *out++ = '.';
            out = std::copy(text + 1, text + length, out);
        }
        return writeExponent(out, exponent);
    }
    if (exponent < 0) {
        *out++ = '0';
        *out++ = '.';
        out = std::fill_n(out, -exponent - 1, '0');
        return std::copy(text, text + length, out);
    }
    const int integerDigits = exponent + 1;
    if (length <= integerDigits) {
        out = std::copy(text, text + length, out);
        return std::fill_n(out, integerDigits - length, '0');
    }
    out = std::copy(text, text + integerDigits, out);
    *out++ = '.';
    return std::copy(text + integerDigits, text + length, out);
}

}  // namespace

char* formatDouble17(double value, char* out) {
    if (std::signbit(value)) *out++ = '-';
    const double magnitude = std::fabs(value);
    if (magnitude == 0) {
        *out++ = '0';
        return out;
    }
    std::uint64_t digits;
    int exponent;
    if (significantDigits(magnitude, digits, exponent)) return layOut(digits, exponent, out);
    // Very large and very small magnitudes: the library's exact conversion.
    return std::to_chars(out, out + 32, magnitude, std::chars_format::general, kDigits).ptr;
}

}  // namespace nbx
