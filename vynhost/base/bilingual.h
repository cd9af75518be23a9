// What a report says in the reader's language.
#pragma once

#include <string>

namespace vynhost {

enum class Language { english, german };

struct Bilingual {
    std::string english;
    std::string german;

    const std::string& in(Language language) const {
        return language == Language::german ? german : english;
    }
    bool empty() const noexcept { return english.empty(); }
};

}  // namespace vynhost
