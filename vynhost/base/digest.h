// SHA-256 (FIPS 180-4), by the system's own library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vynhost {

class Sha256 {
public:
    // Raises std::runtime_error where the system refuses.
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void add(const void* bytes, std::size_t size);
    // The 32 bytes; nothing can be added any more.
    std::array<std::uint8_t, 32> finish();

private:
    struct State;
    std::unique_ptr<State> state_;
};

// As 64 hexadecimal digits.
std::string digestText(Sha256& sum);
std::string sha256Of(std::string_view bytes);
// Of a whole file; nothing where it cannot be read.
std::optional<std::string> sha256OfFile(const std::filesystem::path& file);

// RFC 4648.
std::string base64Of(std::string_view bytes);

}  // namespace vynhost
