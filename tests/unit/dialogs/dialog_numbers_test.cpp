#include "dialogs/dialog_numbers.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

namespace vynpack {
namespace {

constexpr double kLargest = std::numeric_limits<double>::max();

struct ReadRow {
    const char* text;
    double value;
};

class ReadNumber : public testing::TestWithParam<ReadRow> {};

TEST_P(ReadNumber, TakesTheNumberAtTheBeginning) {
    EXPECT_EQ(readNumber(GetParam().text), GetParam().value) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ReadNumber,
    testing::Values(
        ReadRow{"0", 0.0}, ReadRow{"12.5", 12.5}, ReadRow{"-12.5", -12.5}, ReadRow{"+3", 3.0},
        ReadRow{"  7", 7.0}, ReadRow{"\t-.5", -0.5}, ReadRow{"5.", 5.0}, ReadRow{"1e3", 1000.0},
        ReadRow{"1E-2", 0.01}, ReadRow{"1e+300", 1e300}, ReadRow{"12 Hz", 12.0},
        ReadRow{"3,7", 3.0}, ReadRow{"1e", 1.0}, ReadRow{"", 0.0}, ReadRow{" ", 0.0},
        ReadRow{"abc", 0.0}, ReadRow{"-", 0.0}, ReadRow{"+-3", 0.0}, ReadRow{"--3", 0.0},
        ReadRow{"nan", 0.0}, ReadRow{"-nan", 0.0}, ReadRow{"inf", 0.0}, ReadRow{"-infinity", 0.0},
        ReadRow{"0x10", 0.0}, ReadRow{".", 0.0}, ReadRow{"1e999", kLargest},
        ReadRow{"-1e999", -kLargest}, ReadRow{"1e-999", 0.0}, ReadRow{"0.001e999", kLargest},
        ReadRow{"1e99999999999999999999", kLargest}, ReadRow{"1e-99999999999999999999", 0.0}));

TEST(ReadNumber, TakesTenThousandDigitsAsTheLargestNumber) {
    EXPECT_EQ(readNumber(std::string(10'000, '9')), kLargest);
    std::string tiny(10'000, '0');
    tiny[1] = '.';
    tiny.back() = '1';
    EXPECT_EQ(readNumber(tiny), 0.0);
}

TEST(ShowNumber, WritesWhatPrintfWrites) {
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    std::uniform_int_distribution<int> exponent(-320, 307);
    for (int i = 0; i < 20'000; ++i) {
        const double value =
            mantissa(random) * std::pow(10.0, exponent(random) / (i % 2 + i % 40 + 1));
        char expected[64];
        std::snprintf(expected, sizeof expected, "%g", value);
        ASSERT_EQ(showNumber(value), expected);
    }
    EXPECT_EQ(showNumber(0.1), "0.1");
    EXPECT_EQ(showNumber(1234567.0), "1.23457e+06");
    EXPECT_EQ(showNumber(999999.0), "999999");
    EXPECT_EQ(showNumber(1e-6), "1e-06");
    EXPECT_EQ(showNumber(1e300), "1e+300");
}

TEST(DialogNumbers, KeepTheDecimalPointInAGermanLocale) {
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    // Where the machine has no such locale, the test says nothing new.
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    EXPECT_EQ(showNumber(2.5), "2.5");
    EXPECT_EQ(readNumber("2.5"), 2.5);
    std::setlocale(LC_NUMERIC, before.c_str());
}

TEST(ReadInteger, TakesTheIntegerAtTheBeginningAndStaysInItsRange) {
    EXPECT_EQ(readInteger("17"), 17);
    EXPECT_EQ(readInteger(" +17"), 17);
    EXPECT_EQ(readInteger("-17.9"), -17);
    EXPECT_EQ(readInteger("1e6"), 1);
    EXPECT_EQ(readInteger("x"), 0);
    EXPECT_EQ(readInteger("99999999999"), 2147483647);
    EXPECT_EQ(readInteger("-99999999999"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(readUnsigned("4294967295"), 4294967295U);
    EXPECT_EQ(readUnsigned("99999999999"), 4294967295U);
    EXPECT_EQ(readUnsigned("-1"), 0U);
}

TEST(WholePart, CutsTowardsZeroAndStaysInRange) {
    EXPECT_EQ(wholePart(2.99), 2);
    EXPECT_EQ(wholePart(-2.99), -2);
    EXPECT_EQ(wholePart(1e10), 2147483647);
    EXPECT_EQ(wholePart(-1e300), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(wholePart(std::nan("")), 0);
}

TEST(ShowStepped, StepsWithinTheRangeAndWritesItsLimitsAsWholeNumbers) {
    constexpr SpinRange range{.step = 1.0, .lowest = 1.0, .highest = 9999999.0};
    EXPECT_EQ(showStepped("5", ScrollStep::up, range), "6");
    EXPECT_EQ(showStepped("5", ScrollStep::down, range), "4");
    EXPECT_EQ(showStepped("1", ScrollStep::down, range), "1");
    EXPECT_EQ(showStepped("abc", ScrollStep::down, range), "1");
    EXPECT_EQ(showStepped("9999999", ScrollStep::up, range), "9999999");
    constexpr SpinRange fine{.step = 0.01, .lowest = 0.0, .highest = 1.0};
    EXPECT_EQ(showStepped("0.5", ScrollStep::up, fine), "0.51");
    EXPECT_EQ(showStepped("0.995", ScrollStep::up, fine), "1");
    EXPECT_EQ(showStepped("0.005", ScrollStep::down, fine), "0");
    constexpr SpinRange wide{.step = 1.0, .lowest = 1e-6, .highest = 1e300};
    EXPECT_EQ(showStepped("0.5", ScrollStep::down, wide), "1e-06");
    EXPECT_EQ(showStepped("1e301", ScrollStep::up, wide), "1e+300");
}

}  // namespace
}  // namespace vynpack
