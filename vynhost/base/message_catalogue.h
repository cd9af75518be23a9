// A catalogue of messages as gettext's msgfmt makes it (GNU gettext manual, "The Format of GNU MO
// Files").
#pragma once

#include <cstdint>
#include <string_view>

namespace vynhost {

class MessageCatalogue {
public:
    // The bytes of a file with the lowest byte first; they are referred to.
    explicit constexpr MessageCatalogue(std::string_view bytes) noexcept : bytes_(bytes) {}

    std::uint32_t size() const noexcept { return numberAt(kCount); }
    // The translation, or nothing.
    std::string_view find(std::string_view original) const noexcept;
    std::string_view original(std::uint32_t index) const noexcept {
        return textAt(numberAt(kOriginals), index);
    }
    std::string_view translation(std::uint32_t index) const noexcept {
        return textAt(numberAt(kTranslations), index);
    }

private:
    // Where the head has the number of texts and the places of the two tables of lengths and
    // places.
    static constexpr std::uint32_t kCount = 8;
    static constexpr std::uint32_t kOriginals = 12;
    static constexpr std::uint32_t kTranslations = 16;

    std::uint32_t numberAt(std::uint32_t place) const noexcept;
    std::string_view textAt(std::uint32_t table, std::uint32_t index) const noexcept;

    std::string_view bytes_;
};

// vynhost/base/messages/de.po, compiled in.
extern const std::string_view kGermanCatalogue;

}  // namespace vynhost
