// Lines of a table.
#include "vynhost/results/table_row.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>

namespace vynhost {
namespace {

std::string cell(double number, int digits) {
    TableRow row(kPointTables);
    row.addNumber(number, digits);
    return row.end();
}

std::string expected(double number, int digits) {
    char buffer[64];
    const auto end =
        std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::general, digits)
            .ptr;
    return std::string(buffer, end) + "\n";
}

TEST(TableRowTest, PlacesAreRoundedAsTheStandardLibraryRoundsThem) {
    for (const double rate : {48000.0, 44100.0, 51200.0, 7.0}) {
        for (int i = 0; i < 30000; ++i) {
            const double x = i * 37 * (1 / rate);
            ASSERT_EQ(cell(x, 12), expected(x, 12));
        }
    }
}

TEST(TableRowTest, TiesAndEndsOfDecadesAreRoundedRightly) {
    for (int power = -6; power <= 13; ++power) {
        double below = std::pow(10.0, power);
        double above = below;
        for (int i = 0; i < 300; ++i) {
            const double half = (i + 0.5) * std::pow(10.0, power - 3);
            for (const double x : {below, above, half, -half, half * (1 - 1e-15)}) {
                for (const int digits : {1, 3, 6, 12, 15})
                    ASSERT_EQ(cell(x, digits), expected(x, digits));
            }
            below = std::nextafter(below, 0.0);
            above = std::nextafter(above, 1e300);
        }
        ASSERT_EQ(cell(std::pow(10.0, power) * (1 - 1e-13), 12),
                  expected(std::pow(10.0, power) * (1 - 1e-13), 12));
    }
}

}  // namespace
}  // namespace vynhost
