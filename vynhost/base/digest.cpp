#include "vynhost/base/digest.h"

#include <fstream>
#include <vector>

#include "vynhost/base/text.h"

namespace vynhost {

std::string digestText(Sha256& sum) {
    const auto bytes = sum.finish();
    return digitsOf({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

std::string sha256Of(std::string_view bytes) {
    Sha256 sum;
    sum.add(bytes.data(), bytes.size());
    return digestText(sum);
}

std::optional<std::string> sha256OfFile(const std::filesystem::path& file) {
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    Sha256 sum;
    std::vector<char> piece(kPiece);
    while (in) {
        in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        sum.add(piece.data(), static_cast<std::size_t>(in.gcount()));
    }
    if (in.bad()) return std::nullopt;
    return digestText(sum);
}

std::string base64Of(std::string_view bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const auto byteAt = [&](std::size_t at) {
            return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0U;
        };
        const unsigned group = byteAt(i) << 16 | byteAt(i + 1) << 8 | byteAt(i + 2);
        text += kDigits[group >> 18];
        text += kDigits[group >> 12 & 63];
        text += i + 1 < bytes.size() ? kDigits[group >> 6 & 63] : '=';
        text += i + 2 < bytes.size() ? kDigits[group & 63] : '=';
    }
    return text;
}

}  // namespace vynhost
