#include "vynhost/base/messages.h"

#include <algorithm>

#include "vynhost/base/message_catalogue.h"

namespace vynhost {
namespace {

Language spoken = Language::english;

// The number of the part whose place is here, or 0.
std::size_t partAt(std::string_view text, std::size_t place) {
    if (text[place] != '%' || place + 1 == text.size()) return 0;
    const char digit = text[place + 1];
    return digit >= '1' && digit <= '9' ? static_cast<std::size_t>(digit - '0') : 0;
}

}  // namespace

void speak(Language language) noexcept { spoken = language; }

Language spokenLanguage() noexcept { return spoken; }

std::string_view translated(std::string_view english, Language language) noexcept {
    if (language == Language::english || english.empty()) return english;
    const std::string_view found = MessageCatalogue(kGermanCatalogue).find(english);
    return found.empty() ? english : found;
}

std::string filledIn(std::string_view text, std::span<const std::string> parts) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (const std::size_t number = partAt(text, i); number >= 1 && number <= parts.size()) {
            result += parts[number - 1];
            ++i;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::optional<std::vector<std::string>> partsOf(std::string_view made, std::string_view text) {
    std::vector<std::string> parts;
    while (!text.empty()) {
        const std::size_t number = partAt(text, 0);
        if (number == 0) {
            if (made.empty() || made.front() != text.front()) return std::nullopt;
            made.remove_prefix(1);
            text.remove_prefix(1);
            continue;
        }
        // The part ends where what stands behind it begins.
        text.remove_prefix(2);
        std::size_t behind = 0;
        while (behind < text.size() && partAt(text, behind) == 0)
            ++behind;
        const std::string_view mark = text.substr(0, behind);
        const std::size_t end =
            behind == text.size() ? made.size() - std::min(made.size(), behind) : made.find(mark);
        if (end == std::string_view::npos || !made.substr(end).starts_with(mark))
            return std::nullopt;
        parts.resize(std::max(parts.size(), number));
        parts[number - 1] = made.substr(0, end);
        made.remove_prefix(end);
    }
    if (!made.empty()) return std::nullopt;
    return parts;
}

}  // namespace vynhost
