// Fields of a parameter record, by their byte offset.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>

namespace vynhost::test {

template <class Value>
Value at(const std::string& record, std::size_t offset) {
    Value value{};
    std::memcpy(&value, record.data() + offset, sizeof value);
    return value;
}

template <class Value>
void put(std::string& record, std::size_t offset, Value value) {
    std::memcpy(record.data() + offset, &value, sizeof value);
}

}  // namespace vynhost::test
