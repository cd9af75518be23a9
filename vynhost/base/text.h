// Numbers and names as text, without the locale.
#pragma once

#include <charconv>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vynhost {

// The shortest text that reads back as the same number.
template <class Number>
std::string toText(Number number) {
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, number).ptr;
    return {buffer, end};
}
// With that many significant digits.
std::string toText(double number, int digits);

// To a hundredth of the step or better, with the fewest decimals: what is counted in such steps.
double roundedToStep(double number, double step);

// The whole text as a number; nothing when it is none.
std::optional<double> toNumber(std::string_view text);

bool equalIgnoringCase(std::string_view left, std::string_view right);

// ", did you mean NAME?" for the candidate that differs least, or nothing when none is near.
std::string didYouMean(std::string_view text, std::span<const std::string> candidates);

// "a, b, c"
std::string joined(std::span<const std::string> names);

bool isHexadecimal(char c);
// Two hexadecimal digits a byte, without anything between them.
std::string bytesOf(std::string_view digits);
std::string digitsOf(std::string_view bytes);

// Paths from and to UTF-8, whatever the system's own encoding.
std::filesystem::path pathOf(const std::string& utf8);
std::string textOf(const std::filesystem::path& path);

// A text, in UTF-8, as a value of TOML.
std::string tomlString(std::string_view text);

// Line breaks as blanks: message box texts on one line.
std::string onOneLine(std::string_view text);

// The length of the UTF-8 character at the beginning of a text; 0 where there is none.
std::size_t characterSize(std::string_view text);

// What a terminal shows as it stands: control characters, marks that turn the direction of writing
// and bytes that are no UTF-8 as escapes (\x1b).
std::string printable(std::string_view text);

// At most so many letters (not bytes), at least 3: where there are more, the first and the last of
// them, with a mark in between.
std::string shortened(std::string_view text, std::size_t letters);

// A message for a terminal, whatever has got into it: one line of at most 300 printable letters.
std::string messageLine(std::string_view text);

}  // namespace vynhost
