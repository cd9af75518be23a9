// What a report says in the reader's language.
#pragma once

#include <string>

namespace vynhost {

enum class Language { english, german };

// As ISO 639 has it.
constexpr const char* codeOf(Language language) {
    return language == Language::german ? "de" : "en";
}

struct Bilingual {
    std::string english;
    std::string german;

    const std::string& in(Language language) const {
        return language == Language::german ? german : english;
    }
    bool empty() const noexcept { return english.empty(); }
};

}  // namespace vynhost
