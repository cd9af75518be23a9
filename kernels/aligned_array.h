// Work arrays that begin on the border of a cache line, so that no access of a full register
// straddles two.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <utility>

namespace vyn {

// Zeros until something is written. Arrays that are walked through side by side get different
// colours: their first lines then lie in different sets of the nearest cache, also where the
// arrays' lengths are powers of two.
template <class Number>
class AlignedArray {
public:
    AlignedArray() = default;
    explicit AlignedArray(unsigned colour) : colour_(colour) {}
    AlignedArray(AlignedArray&& other) noexcept
        : memory_(std::move(other.memory_)),
          size_(std::exchange(other.size_, 0)),
          colour_(other.colour_) {}
    AlignedArray& operator=(AlignedArray&& other) noexcept {
        memory_ = std::move(other.memory_);
        size_ = std::exchange(other.size_, 0);
        colour_ = other.colour_;
        return *this;
    }

    // A copy of the numbers; the colour stays.
    AlignedArray& operator=(const AlignedArray& other) {
        if (this == &other) return *this;
        if (size_ != other.size_) assign(other.size_);
        std::copy_n(other.data(), size_, data());
        return *this;
    }
    AlignedArray(const AlignedArray&) = delete;

    // Holds that many zeros instead of what it held. Errors: std::bad_alloc; it is empty then.
    void assign(std::size_t size) {
        *this = AlignedArray(colour_);
        if (size == 0) return;
        memory_.reset(new (std::align_val_t{kPeriod}) Number[shift() + size]{});
        size_ = size;
    }

    std::size_t size() const { return size_; }
    Number* data() { return memory_ ? memory_.get() + shift() : nullptr; }
    const Number* data() const { return memory_ ? memory_.get() + shift() : nullptr; }
    Number& operator[](std::size_t i) { return data()[i]; }
    const Number& operator[](std::size_t i) const { return data()[i]; }
    std::span<Number> first(std::size_t count) { return {data(), count}; }

private:
    static constexpr std::size_t kPeriod = 4096;    // of the nearest cache's sets
    static constexpr std::size_t kColour = 5 * 64;  // twelve of them before they come again
    std::size_t shift() const { return colour_ * kColour / sizeof(Number); }

    struct Release {
        void operator()(Number* memory) const noexcept {
            ::operator delete[](memory, std::align_val_t{kPeriod});
        }
    };
    std::unique_ptr<Number[], Release> memory_;
    std::size_t size_ = 0;
    unsigned colour_ = 0;
};

}  // namespace vyn
