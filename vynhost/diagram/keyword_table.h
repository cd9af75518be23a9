// What every keyword of every block type means: the host's one table. What a diagram may write,
// what `vynhost list` and `vynhost skeleton` show and what the blocks' pages say comes from here.
//
// The protocol itself is uneven: some numbers read back otherwise than they are written, some names
// do not read back at all, and some values that a block can have no keyword can write. The table
// says so, row by row.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "vynhost/interface/module_interface.h"

namespace vynhost {

// A value that has a name.
struct NamedChoice {
    std::string_view name;        // as a diagram writes it; of a text keyword the word that is sent
    std::int32_t number = 0;      // what is sent, of an integer keyword
    std::string_view says = {};   // what it stands for, where the name does not say it
    std::int32_t reads = number;  // what reads back afterwards, of an integer keyword
    std::string_view readsText = name;  // the same of a text keyword
    bool writable = true;               // false: only a parameter record brings it about
};

// The numbers that a keyword without names takes; NaN and infinities are never among them.
struct NumberRange {
    double least = -std::numeric_limits<double>::max();
    double most = std::numeric_limits<double>::max();
    bool above = false;  // the least itself is not taken
    bool odd = false;    // only odd ones

    bool holds(double number) const;
    // "above 0", "0 to 100", "odd, 3 to 1048575"; with the unit where there is one.
    std::string text(std::string_view unit = {}) const;
};

// A value as a diagram writes it: a number, or the name of a choice. None: not written.
using WrittenValue = std::variant<std::monostate, std::int32_t, double, std::string_view>;

struct KeywordMeaning {
    std::string_view name;
    ValueType type;
    std::string_view says;
    std::string_view unit = {};
    NumberRange range = {};
    std::span<const NamedChoice> choices = {};  // when there are some, no other value is taken
    WrittenValue initial = {};  // what a new block has; none: no keyword can write it
    WrittenValue example =
        {};  // what a first diagram should write, where the initial value won't do
    std::string_view note = {};  // what is uneven
    bool readsBack = true;       // false: what is read says nothing

    // By name, in any case of letters; null when there is none.
    const NamedChoice* choice(std::string_view wanted) const;
    // "Slow (0), Fast (1) or Impulse (2)", "above 0 Hz".
    std::string allowed() const;
};

// The values that a block's keywords have, as a diagram writes them.
class KeywordValues {
public:
    struct Entry {
        const KeywordMeaning* keyword;
        WrittenValue value;
    };
    void set(const KeywordMeaning& keyword, WrittenValue value);
    // The number; NaN when there is none.
    double number(std::string_view keyword) const;
    bool is(std::string_view keyword, std::string_view name) const;
    bool isAnyOf(std::string_view keyword, std::initializer_list<std::string_view> names) const;

    // Null for a keyword that the block does not have.
    const WrittenValue* find(std::string_view keyword) const;

private:
    std::vector<Entry> entries_;
};

// What must hold between a block's keywords, and between them and the sample rate of its input.
struct KeywordRule {
    std::array<std::string_view, 4> keywords;  // the one that the message names comes first
    std::string_view says;                     // what is allowed
    bool needsRate;
    bool (*holds)(const KeywordValues& values, double rate);  // Hz; NaN where none is needed
};

enum class InputNeed {
    always,       // without it nothing is computed
    conditional,  // where the block is set so; else it is not read
    optional,
};

// An input, by the letter that names it in the connector string.
struct InputMeaning {
    std::string_view letter;
    std::string_view says;  // what comes there
    InputNeed need = InputNeed::always;
    // Of a conditional one: the keyword that asks for it, when it is read, in words and as such.
    std::string_view keyword = {};
    std::string_view when = {};
    bool (*isRead)(const KeywordValues& values) = nullptr;
};

struct BlockMeaning {
    std::int32_t code;
    std::span<const KeywordMeaning> keywords;  // in the order of the block's own table
    std::span<const InputMeaning> inputs;
    std::span<const KeywordRule> rules = {};

    // By name, in any case of letters; null when there is none.
    const KeywordMeaning* keyword(std::string_view wanted) const;
    // The values of a new block.
    KeywordValues initialValues() const;
};

// Of one type, which must exist; of all types in the order of their codes.
const BlockMeaning& meaningOf(std::int32_t typeCode);
std::span<const BlockMeaning> blockMeanings();

}  // namespace vynhost
