#include "vynhost/base/text.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace vynhost {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Insertions, deletions, replacements and swaps of neighbours that turn one text into the other.
std::size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<std::vector<std::size_t>> rows(left.size() + 1,
                                               std::vector<std::size_t>(right.size() + 1));
    std::iota(rows[0].begin(), rows[0].end(), std::size_t{0});
    for (std::size_t i = 1; i <= left.size(); ++i) {
        rows[i][0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const bool same = lower(left[i - 1]) == lower(right[j - 1]);
            rows[i][j] = std::min(
                {rows[i - 1][j] + 1, rows[i][j - 1] + 1, rows[i - 1][j - 1] + (same ? 0 : 1)});
            const bool swapped = i > 1 && j > 1 && lower(left[i - 1]) == lower(right[j - 2]) &&
                                 lower(left[i - 2]) == lower(right[j - 1]);
            if (swapped) rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
        }
    }
    return rows.back().back();
}

}  // namespace

std::string toText(double number, int digits) {
    char buffer[64];
    const auto end =
        std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::general, digits)
            .ptr;
    return {buffer, end};
}

double roundedToStep(double number, double step) {
    constexpr int kMostDecimals = 15;
    if (!(step > 0)) return number;
    const int decimals = static_cast<int>(std::ceil(-std::log10(step))) + 2;
    if (decimals < 0 || decimals > kMostDecimals) return number;
    const double scale = std::pow(10.0, decimals);
    const double scaled = std::round(number * scale);
    return std::abs(scaled) < 9e15 ? scaled / scale : number;
}

std::optional<double> toNumber(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return std::nullopt;
    text = text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
    if (text.starts_with('+')) text.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

std::string didYouMean(std::string_view text, std::span<const std::string> candidates) {
    const std::string* nearest = nullptr;
    std::size_t least = std::max<std::size_t>(text.size() / 3, 1) + 1;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = editDistance(text, candidate);
        if (distance < least) {
            least = distance;
            nearest = &candidate;
        }
    }
    return nearest == nullptr ? "" : ", did you mean " + *nearest + "?";
}

std::string joined(std::span<const std::string> names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

bool isHexadecimal(char c) {
    return (c >= '0' && c <= '9') || (lower(c) >= 'a' && lower(c) <= 'f');
}

std::string bytesOf(std::string_view digits) {
    const auto value = [](char c) { return c <= '9' ? c - '0' : lower(c) - 'a' + 10; };
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(value(digits[i]) * 16 + value(digits[i + 1]));
    }
    return bytes;
}

std::string digitsOf(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string digits;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        digits += kDigits[byte >> 4];
        digits += kDigits[byte & 15];
    }
    return digits;
}

std::filesystem::path pathOf(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

std::string textOf(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::string onOneLine(std::string_view text) {
    std::string line;
    for (const char c : text) {
        const bool blank = c == '\n' || c == '\r' || c == ' ';
        if (!blank) {
            line += c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    while (line.ends_with(' '))
        line.pop_back();
    return line;
}

}  // namespace vynhost
