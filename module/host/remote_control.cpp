#include "host/remote_control.h"

#include <algorithm>
#include <array>

namespace vynpack {
namespace {

constexpr char toUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace

bool HostText::matches(std::string_view name) const noexcept {
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (text_[i] == '\0' || toUpper(text_[i]) != toUpper(name[i])) return false;
    }
    return text_[name.size()] == '\0';
}

int idOf(std::span<const NamedValue> names, HostText text, int fallback) noexcept {
    const auto row = std::find_if(names.begin(), names.end(), [&](const NamedValue& value) {
        return text.matches(value.name);
    });
    return row == names.end() ? fallback : row->id;
}

namespace remote_control {
namespace {

std::byte* bytes(const LockedMemory& memory) noexcept {
    return static_cast<std::byte*>(memory.address());
}

}  // namespace

void InfoRecord::writeCount(std::int32_t count) const noexcept {
    if (memory_ && memory_.holds(sizeof count)) std::memcpy(bytes(memory_), &count, sizeof count);
}

void InfoRecord::clearWord() const noexcept {
    constexpr std::int32_t zero = 0;
    if (memory_ && memory_.holds(kInfoRecordSize)) {
        std::memcpy(bytes(memory_) + kInfoWordOffset, &zero, sizeof zero);
    }
}

MemoryHandle InfoRecord::keywordTable() const noexcept {
    MemoryHandle table = MemoryHandle::none;
    if (memory_ && memory_.holds(kInfoTableOffset + sizeof table)) {
        std::memcpy(&table, bytes(memory_) + kInfoTableOffset, sizeof table);
    }
    return table;
}

KeywordTable::KeywordTable(MemoryHandle handle, std::size_t rows) noexcept : memory_(handle) {
    if (memory_ && !memory_.holds(rows * kKeywordRowSize)) memory_.unlock();
}

void KeywordTable::writeRow(std::size_t row, const char* name, ValueType type) const noexcept {
    if (!memory_) return;
    std::array<std::byte, kKeywordRowSize> bytesOfRow{};  // name, type, two reserved words of 0
    std::memcpy(bytesOfRow.data(), name, std::min(std::strlen(name), kKeywordNameSize - 1));
    std::memcpy(bytesOfRow.data() + kKeywordTypeOffset, &type, sizeof type);
    std::memcpy(bytes(memory_) + row * kKeywordRowSize, bytesOfRow.data(), kKeywordRowSize);
}

ValueRecord::ValueRecord(MemoryHandle handle) noexcept : memory_(handle) {
    if (memory_ && memory_.holds(kValueRecordSize)) {
        std::memcpy(&value_, bytes(memory_) + kValueAddressOffset, sizeof value_);
    }
}

bool ValueRecord::asksFor(const char* keyword) const noexcept {
    const char* asked = static_cast<const char*>(memory_.address());
    const std::size_t length = std::strlen(keyword);
    return length < kValueKeywordSize && HostText(asked).matches({keyword, length});
}

}  // namespace remote_control
}  // namespace vynpack
