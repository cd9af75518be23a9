#include "vynhost/results/table_row.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <span>

namespace vynhost {
namespace {

// What std::to_chars writes of a number from 1e-4 to below 10^digits without an exponent, for at
// most 12 digits and in half of its time. The product with an exact power of ten is below 2^40 and
// off by 2^-14 at most; null where that leaves the last digit open.
char* writeRounded(char* begin, double number, int digits) {
    static constexpr int kLowest = -4;
    static constexpr std::array<double, 20> kPowers = {1e-4, 1e-3, 1e-2, 1e-1, 1e0,  1e1, 1e2,
                                                       1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
                                                       1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    constexpr int kMostDigits = 12;
    constexpr double kDoubt = 0x1p-13;
    const auto powerOfTen = [](int power) {
        return kPowers[static_cast<std::size_t>(power - kLowest)];
    };
    if (digits < 1 || digits > kMostDigits) return nullptr;
    if (!(number >= powerOfTen(kLowest) && number < powerOfTen(digits))) return nullptr;
    int first = (std::ilogb(number) * 1233) >> 12;  // log10(2), rounded down: right or one too low
    if (number >= powerOfTen(first + 1)) ++first;
    int exponent = first - digits + 1;
    const double scaled = number * powerOfTen(-exponent);
    auto rounded = static_cast<std::uint64_t>(scaled);
    const double rest = scaled - static_cast<double>(rounded);
    if (std::abs(rest - 0.5) <= kDoubt) return nullptr;
    if (rest > 0.5) ++rounded;
    if (static_cast<double>(rounded) == powerOfTen(digits)) return nullptr;  // a digit more
    for (; rounded % 10 == 0; rounded /= 10)
        ++exponent;

    std::array<char, 20> text;
    char* const end = std::to_chars(text.data(), text.data() + text.size(), rounded).ptr;
    const auto count = end - text.data();
    const auto beforePoint = count + exponent;
    if (beforePoint <= 0) {
        *begin++ = '0';
        *begin++ = '.';
        begin = std::fill_n(begin, -beforePoint, '0');
        return std::copy(text.data(), end, begin);
    }
    begin = std::copy_n(text.data(), std::min(count, beforePoint), begin);
    if (beforePoint >= count) return std::fill_n(begin, exponent, '0');
    *begin++ = '.';
    return std::copy(text.data() + beforePoint, end, begin);
}

char* write(std::span<char> room, float number) {
    return std::to_chars(room.data(), room.data() + room.size(), number).ptr;
}

char* write(std::span<char> room, double number, int digits) {
    char* begin = room.data();
    char* const end = begin + room.size();
    if (char* const last = writeRounded(begin, number, digits)) return last;
    return std::to_chars(begin, end, number, std::chars_format::general, digits).ptr;
}

}  // namespace

void TableRow::addText(std::string text) {
    if (!text.empty() &&
        std::string_view("=+-@\t\r").find(text.front()) != std::string_view::npos) {
        text.insert(text.begin(), '\'');
    }
    if (text.find_first_of(",;\t\"\r\n") == std::string::npos) return addCell(text);
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"') quoted += c;
        quoted += c;
    }
    addCell(quoted += '"');
}

void TableRow::addNumber(float number) {
    if (std::isnan(number)) return addEmpty();
    addNumberAs(number);
}

void TableRow::addNumber(double number, int digits) {
    if (std::isnan(number)) return addEmpty();
    addNumberAs(number, digits);
}

void TableRow::addEmpty(std::size_t cells) {
    for (std::size_t i = 0; i < cells; ++i)
        beginCell();
}

const std::string& TableRow::end() {
    line_ += '\n';
    begun_ = false;
    return line_;
}

void TableRow::beginCell() {
    if (begun_) {
        line_ += style_.separator;
    } else {
        line_.clear();
    }
    begun_ = true;
}

void TableRow::addCell(std::string_view text) {
    beginCell();
    line_ += text;
}

template <class... Number>
void TableRow::addNumberAs(Number... number) {
    beginCell();
    std::array<char, 64> text;
    char* const end = write(text, number...);
    if (style_.decimal != '.') std::replace(text.data(), end, '.', style_.decimal);
    line_.append(text.data(), end);
}

}  // namespace vynhost
