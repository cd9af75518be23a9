#include "vynhost/base/message_catalogue.h"

namespace vynhost {

std::string_view MessageCatalogue::find(std::string_view original) const noexcept {
    std::uint32_t begin = 0;
    std::uint32_t end = size();
    while (begin < end) {  // the originals are in the order of their bytes
        const std::uint32_t middle = begin + (end - begin) / 2;
        const std::string_view text = this->original(middle);
        if (text == original) return translation(middle);
        (text < original ? begin : end) = text < original ? middle + 1 : middle;
    }
    return {};
}

std::uint32_t MessageCatalogue::numberAt(std::uint32_t place) const noexcept {
    std::uint32_t number = 0;
    for (std::uint32_t i = 0; i < sizeof number; ++i) {
        number |= std::uint32_t{static_cast<unsigned char>(bytes_[place + i])} << (8 * i);
    }
    return number;
}

std::string_view MessageCatalogue::textAt(std::uint32_t table, std::uint32_t index) const noexcept {
    const std::uint32_t entry = table + 8 * index;
    return bytes_.substr(numberAt(entry + 4), numberAt(entry));
}

}  // namespace vynhost
