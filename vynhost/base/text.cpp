#include "vynhost/base/text.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "vynhost/base/messages.h"

namespace vynhost {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Insertions, deletions, replacements and swaps of neighbours that turn one text into the other.
std::size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> beforeLast(right.size() + 1);
    std::vector<std::size_t> last(right.size() + 1);
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= left.size(); ++i) {
        std::swap(beforeLast, last);
        std::swap(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const bool same = lower(left[i - 1]) == lower(right[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            const bool swapped = i > 1 && j > 1 && lower(left[i - 1]) == lower(right[j - 2]) &&
                                 lower(left[i - 2]) == lower(right[j - 1]);
            if (swapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row.back();
}

// Characters that say something to a terminal instead of standing there.
bool isControl(std::string_view character) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(character[i]); };
    if (character.size() == 1) return byte(0) < 0x20 || byte(0) == 0x7F;
    if (character.size() == 2) return byte(0) == 0xC2 && byte(1) < 0xA0;
    if (character.size() != 3 || byte(0) != 0xE2) return false;
    // Ends of lines and paragraphs, embeddings, overrides and isolates (U+2028 to 202E, 2066 to
    // 2069).
    return (byte(1) == 0x80 && byte(2) >= 0xA8 && byte(2) <= 0xAE) ||
           (byte(1) == 0x81 && byte(2) >= 0xA6 && byte(2) <= 0xA9);
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
    // Nobody mistypes a name this long, and comparing takes the product of both lengths.
    constexpr std::size_t kLongest = 100;
    if (text.size() > kLongest) return "";
    const std::string* nearest = nullptr;
    std::size_t least = std::max<std::size_t>(text.size() / 3, 1) + 1;
    for (const std::string& candidate : candidates) {
        if (candidate.size() > kLongest) continue;
        const std::size_t distance = editDistance(text, candidate);
        if (distance < least) {
            least = distance;
            nearest = &candidate;
        }
    }
    return nearest == nullptr ? "" : tr(", did you mean %1?", *nearest);
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

std::string tomlString(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) {
            result += "\\u00" + digitsOf({&c, 1});
            continue;
        }
        if (c == '"' || c == '\\') result += '\\';
        result += c;
    }
    return result + "\"";
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

std::size_t characterSize(std::string_view text) {
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
    const unsigned first = byte(0);
    if (first < 0x80) return text.empty() ? 0 : 1;
    if (first >= 0xC2 && first <= 0xDF) return follows(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool tooShort = first == 0xE0 && byte(1) < 0xA0;
        const bool surrogate = first == 0xED && byte(1) > 0x9F;
        return follows(1) && follows(2) && !tooShort && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool tooShort = first == 0xF0 && byte(1) < 0x90;
        const bool beyond = first == 0xF4 && byte(1) > 0x8F;
        return follows(1) && follows(2) && follows(3) && !tooShort && !beyond ? 4 : 0;
    }
    return 0;
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t size = characterSize(text);
        const std::string_view character = text.substr(0, std::max<std::size_t>(size, 1));
        if (size == 0 || isControl(character)) {
            for (const char byte : character)
                result += "\\x" + digitsOf({&byte, 1});
        } else {
            result += character;
        }
        text.remove_prefix(character.size());
    }
    return result;
}

std::string shortened(std::string_view text, std::size_t letters) {
    const auto isFirstByte = [](char c) { return (c & 0xC0) != 0x80; };
    const auto count = static_cast<std::size_t>(std::ranges::count_if(text, isFirstByte));
    if (count <= letters) return std::string(text);
    // More of the beginning, where the place stands, than of the end, where the reason does.
    const std::size_t tail = (letters - 1) / 3;
    const std::size_t head = letters - 1 - tail;
    const auto letterAt = [&](std::size_t number) {
        std::size_t byte = 0;
        for (std::size_t passed = 0; byte < text.size(); ++byte) {
            if (isFirstByte(text[byte]) && passed++ == number) break;
        }
        return byte;
    };
    return std::string(text.substr(0, letterAt(head))) + "…" +
           std::string(text.substr(letterAt(count - tail)));
}

std::string messageLine(std::string_view text) {
    constexpr std::size_t kMostLetters = 300;
    return shortened(printable(onOneLine(text)), kMostLetters);
}

}  // namespace vynhost
