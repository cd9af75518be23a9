// Decisions out of the bytes of one fuzz input; behind its end all bytes are 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace vynhost::test {

class ByteSource {
public:
    explicit ByteSource(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

    bool ended() const { return rest_.empty(); }

    template <class Value>
    Value take() {
        Value value{};
        const std::size_t size = std::min(sizeof value, rest_.size());
        std::memcpy(&value, rest_.data(), size);
        rest_ = rest_.subspan(size);
        return value;
    }

    // 0 to limit - 1.
    std::size_t below(std::size_t limit) { return take<std::uint16_t>() % limit; }

    // One time in n.
    bool oneIn(std::size_t n) { return below(n) == 1; }

    template <class Range>
    auto& pick(Range& range) {
        return range[below(std::size(range))];
    }

private:
    std::span<const std::uint8_t> rest_;
};

}  // namespace vynhost::test
