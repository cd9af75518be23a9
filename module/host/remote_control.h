// The keyword protocol: the host lists, reads and sets a block's parameters by name.
//
// A block type has one table of keywords; `answerRemoteControl` serves all sub-codes from it.
// Reading and writing are separate columns because the protocol is deliberately uneven: several
// numbers read back differently from what sets them.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "host/module_interface.h"
#include "platform/memory.h"

namespace vynpack {

// A zero-terminated text of the host's.
class HostText {
public:
    explicit HostText(const char* text) noexcept : text_(text) {}
    // ASCII case does not matter; reads no further than the first difference.
    bool matches(std::string_view name) const noexcept;

private:
    const char* text_;
};

// Named values of an enumerated parameter: the stored number and its text.
struct NamedValue {
    int id;
    const char* name;
};

// The first row with this id, or the fallback's name.
constexpr const char* nameOf(std::span<const NamedValue> names, int id, const char* fallback) {
    for (const NamedValue& row : names) {
        if (row.id == id) return row.name;
    }
    return fallback;
}

// The id of the row whose name the text matches, or the fallback.
int idOf(std::span<const NamedValue> names, HostText text, int fallback) noexcept;

// The texts of an enumerated parameter in both directions.
struct NamedTexts {
    std::span<const NamedValue> names;  // as they read back
    const char* otherName;              // of a number without a name
    std::span<const NamedValue> keys;   // as they are set
    int other;                          // what any other text sets
};

template <class Subject>
struct IntegerAccess {
    std::int32_t (*get)(const Subject&);
    void (*set)(Subject&, std::int32_t);
};
template <class Subject>
struct RealAccess {
    double (*get)(const Subject&);
    void (*set)(Subject&, double);
};
template <class Subject>
struct TextAccess {
    const char* (*get)(const Subject&);
    void (*set)(Subject&, HostText);
};
// A text that cannot be read back.
template <class Subject>
struct WriteOnlyTextAccess : TextAccess<Subject> {};

template <class Subject>
struct Keyword {
    const char* name;  // shorter than kKeywordNameSize
    std::variant<IntegerAccess<Subject>, RealAccess<Subject>, TextAccess<Subject>,
                 WriteOnlyTextAccess<Subject>>
        access;
    ValueType type;

    constexpr Keyword(const char* keyword, IntegerAccess<Subject> integer,
                      ValueType as = ValueType::integer)
        : name(keyword), access(integer), type(as) {}
    constexpr Keyword(const char* keyword, RealAccess<Subject> real)
        : name(keyword), access(real), type(ValueType::real) {}
    constexpr Keyword(const char* keyword, TextAccess<Subject> text)
        : name(keyword), access(text), type(ValueType::text) {}
    constexpr Keyword(const char* keyword, WriteOnlyTextAccess<Subject> text)
        : name(keyword), access(text), type(ValueType::text) {}
};

namespace remote_control {

// The host's info record, locked for the length of a request.
class InfoRecord {
public:
    explicit InfoRecord(MemoryHandle handle) noexcept : memory_(handle) {}
    void writeCount(std::int32_t count) const noexcept;
    void clearWord() const noexcept;
    MemoryHandle keywordTable() const noexcept;

private:
    LockedMemory memory_;
};

// The keyword table that the host allocated: rows of kKeywordRowSize bytes.
class KeywordTable {
public:
    KeywordTable(MemoryHandle handle, std::size_t rows) noexcept;
    void writeRow(std::size_t row, const char* name, ValueType type) const noexcept;

private:
    LockedMemory memory_;
};

// The value record: the keyword asked for and the address of its value.
class ValueRecord {
public:
    explicit ValueRecord(MemoryHandle handle) noexcept;
    // False without a record or without a value address.
    explicit operator bool() const noexcept { return value_ != nullptr; }
    bool asksFor(const char* keyword) const noexcept;
    void* value() const noexcept { return value_; }

private:
    LockedMemory memory_;
    void* value_ = nullptr;
};

template <class Subject>
void readValue(const IntegerAccess<Subject>& access, const Subject& subject, void* value) {
    const std::int32_t number = access.get(subject);
    std::memcpy(value, &number, sizeof number);
}
template <class Subject>
void readValue(const RealAccess<Subject>& access, const Subject& subject, void* value) {
    const double number = access.get(subject);
    std::memcpy(value, &number, sizeof number);
}
template <class Subject>
void readValue(const TextAccess<Subject>& access, const Subject& subject, void* value) {
    // The host's buffer is large enough for the longest name.
    const char* text = access.get(subject);
    std::memcpy(value, text, std::strlen(text) + 1);
}
template <class Subject>
void readValue(const WriteOnlyTextAccess<Subject>& access, const Subject& subject, void* value) {
    // Kept: what is read is one byte, the lowest of the text's address, instead of the text.
    const auto address = reinterpret_cast<std::uintptr_t>(access.get(subject));
    const auto byte = static_cast<unsigned char>(address);
    std::memcpy(value, &byte, sizeof byte);
}

template <class Subject>
void writeValue(const IntegerAccess<Subject>& access, Subject& subject, const void* value) {
    std::int32_t number = 0;
    std::memcpy(&number, value, sizeof number);
    access.set(subject, number);
}
template <class Subject>
void writeValue(const RealAccess<Subject>& access, Subject& subject, const void* value) {
    double number = 0;
    std::memcpy(&number, value, sizeof number);
    access.set(subject, number);
}
template <class Subject>
void writeValue(const TextAccess<Subject>& access, Subject& subject, const void* value) {
    access.set(subject, HostText(static_cast<const char*>(value)));
}

}  // namespace remote_control

// Serves one request; the result is always 0. A keyword that the table lacks changes nothing.
template <class Subject>
int answerRemoteControl(std::span<const Keyword<Subject>> keywords,
                        std::type_identity_t<Subject>& subject, MemoryHandle infoHandle,
                        MemoryHandle valueHandle, std::uint16_t subCode) {
    using namespace remote_control;
    const InfoRecord info(infoHandle);
    const SubCode request{subCode};
    switch (request) {
        case SubCode::countKeywords:
            info.writeCount(static_cast<std::int32_t>(keywords.size()));
            break;
        case SubCode::clearWord: info.clearWord(); break;
        case SubCode::listKeywords: {
            const KeywordTable table(info.keywordTable(), keywords.size());
            for (std::size_t row = 0; row < keywords.size(); ++row) {
                table.writeRow(row, keywords[row].name, keywords[row].type);
            }
            break;
        }
        case SubCode::getValue:
        case SubCode::setValue: {
            const ValueRecord record(valueHandle);
            if (!record) break;
            for (const Keyword<Subject>& keyword : keywords) {
                if (!record.asksFor(keyword.name)) continue;
                std::visit(
                    [&](const auto& access) {
                        if (request == SubCode::getValue) {
                            readValue(access, std::as_const(subject), record.value());
                        } else {
                            writeValue(access, subject, record.value());
                        }
                    },
                    keyword.access);
            }
            break;
        }
        default: break;
    }
    return 0;
}

}  // namespace vynpack
