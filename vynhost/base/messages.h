// What the program says, in the language of whoever reads it. The English text stands in the source
// and is the key; vynhost/base/messages/de.po, in gettext's format, has the German one and is
// compiled in.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "vynhost/base/bilingual.h"
#include "vynhost/base/text.h"

namespace vynhost {

// The language of all that is said from now on; English until it is set, once, at the start.
void speak(Language language) noexcept;
Language spokenLanguage() noexcept;

// A text in a language as it stands, English where the catalogue has none.
std::string_view translated(std::string_view english, Language language) noexcept;

// The text with its parts, the first of which goes where %1 is.
std::string filledIn(std::string_view text, std::span<const std::string> parts);
// The parts of a text that was made so; nothing when it was not.
std::optional<std::vector<std::string>> partsOf(std::string_view made, std::string_view text);

// Numbers in full.
template <class Part>
std::string textOfPart(const Part& part) {
    if constexpr (std::is_same_v<Part, char>) {
        return std::string(1, part);
    } else if constexpr (std::is_arithmetic_v<Part>) {
        return toText(part);
    } else {
        return std::string(part);
    }
}

// A text in the language that is spoken: tr("%1: is shorter than %2 samples", name, count).
// tools/messages finds what stands in tr(...), both(...) and words(...).
template <class... Parts>
std::string tr(std::string_view english, const Parts&... parts) {
    const std::array<std::string, sizeof...(Parts)> texts = {textOfPart(parts)...};
    return filledIn(translated(english, spokenLanguage()), texts);
}

// The text in both languages, for what is said in more than one place.
template <class... Parts>
Bilingual both(std::string_view english, const Parts&... parts) {
    const std::array<std::string, sizeof...(Parts)> texts = {textOfPart(parts)...};
    return {filledIn(english, texts), filledIn(translated(english, Language::german), texts)};
}

// Marks a text that is translated later, where it is said.
constexpr const char* words(const char* english) { return english; }

}  // namespace vynhost
