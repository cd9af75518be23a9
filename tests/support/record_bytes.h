// Parameter records byte by byte: fields one after the other, and fields by their byte offset.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

namespace vynhost::test {

// The fields in a row, each at the width of its type, without gaps.
template <class... Fields>
std::string bytes(const Fields&... fields) {
    static_assert((std::is_arithmetic_v<Fields> && ...));
    std::string record;
    (record.append(reinterpret_cast<const char*>(&fields), sizeof fields), ...);
    return record;
}

template <class Field>
Field at(const std::string& record, std::size_t offset) {
    Field field{};
    std::memcpy(&field, record.data() + offset, sizeof field);
    return field;
}

template <class Field>
void put(std::string& record, std::size_t offset, Field field) {
    std::memcpy(record.data() + offset, &field, sizeof field);
}

}  // namespace vynhost::test
