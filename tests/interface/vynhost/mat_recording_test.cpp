// MAT-files made byte by byte ("MAT-File Format", MathWorks): what other programs write into them,
// and what is damaged.
#include <zlib.h>

#include "interface/vynhost/run_fixture.h"
#include "support/record_bytes.h"
#include "vynhost/run/recording.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

enum Type : std::uint32_t {
    kInt8 = 1,
    kUint8,
    kInt16,
    kUint16,
    kInt32,
    kUint32,
    kFloat,
    kDouble = 9,
    kMatrix = 14,
    kPacked,
    kUtf8,
    kUtf16
};
enum Kind : std::uint32_t {
    kCells = 1,
    kText = 4,
    kDoubles = 6,
    kSingles,
    kBytes = 9,
    kShorts,
    kLongs = 12,
    kOpaque = 17
};
constexpr std::uint32_t kComplex = 0x800;

std::string element(std::uint32_t type, const std::string& content) {
    std::string all = bytes(type, static_cast<std::uint32_t>(content.size())) + content;
    all.resize((all.size() + 7) / 8 * 8);
    return all;
}

// Up to four bytes in the tag itself.
std::string smallElement(std::uint32_t type, std::string content) {
    const auto size = static_cast<std::uint32_t>(content.size());
    content.resize(4);
    return bytes(type | size << 16) + content;
}

std::string head(std::uint32_t kind, const std::vector<std::int32_t>& size,
                 const std::string& name) {
    std::string sizes;
    for (const std::int32_t one : size)
        sizes += bytes(one);
    return element(kUint32, bytes(kind, std::uint32_t{0})) + element(kInt32, sizes) +
           (name.size() <= 4 ? smallElement(kInt8, name) : element(kInt8, name));
}

std::string array(std::uint32_t kind, const std::vector<std::int32_t>& size,
                  const std::string& name, const std::string& values) {
    return element(kMatrix, head(kind, size, name) + values);
}

std::string doubles(const std::string& name, const std::vector<std::int32_t>& size,
                    const std::vector<double>& values) {
    std::string stored;
    for (const double value : values)
        stored += bytes(value);
    return array(kDoubles, size, name, element(kDouble, stored));
}

std::string column(const std::string& name, const std::vector<double>& values) {
    return doubles(name, {static_cast<std::int32_t>(values.size()), 1}, values);
}

std::string packed(const std::string& content) {
    uLongf size = ::compressBound(static_cast<uLong>(content.size()));
    std::string small(size, '\0');
    EXPECT_EQ(::compress(reinterpret_cast<Bytef*>(small.data()), &size,
                         reinterpret_cast<const Bytef*>(content.data()),
                         static_cast<uLong>(content.size())),
              Z_OK);
    small.resize(size);
    return bytes(std::uint32_t{kPacked}, static_cast<std::uint32_t>(size)) + small;
}

std::string matFile(const std::string& elements) {
    return std::string(124, ' ') + std::string("\0\1IM", 4) + elements;
}

class MatRecordingTest : public DiagramTest {
protected:
    std::unique_ptr<Recording> open(const std::string& file, const ArrayChoice& choice = {},
                                    std::optional<double> rate = std::nullopt) const {
        return openMat(write("s.mat", file), rate, choice);
    }
    std::string refusalOf(const std::string& file, const ArrayChoice& choice = {},
                          std::optional<double> rate = 10.0) const {
        try {
            open(file, choice, rate);
        } catch (const RecordingError& error) {
            return error.what();
        }
        return "";
    }
    // All that is there, a few frames at a time.
    static std::vector<float> valuesOf(Recording& recording) {
        constexpr std::size_t kFrames = 3;
        std::vector<float> all;
        std::vector<float> some(kFrames * static_cast<std::size_t>(recording.channels()));
        while (const std::size_t got = recording.read(some)) {
            some.resize(got * static_cast<std::size_t>(recording.channels()));
            all.insert(all.end(), some.begin(), some.end());
        }
        return all;
    }
};

// Programs store numbers in the smallest type that holds them; whole kinds have full scale = 1.
TEST_F(MatRecordingTest, NumbersOfEveryKindAreReadHoweverTheyAreStored) {
    struct Stored {
        std::uint32_t kind;
        std::uint32_t type;
        std::string values;
        std::vector<float> expected;
    };
    const auto two = [](auto first, auto second) { return bytes(first, second); };
    const std::vector<Stored> all = {
        {kDoubles, kInt8, two(std::int8_t{-3}, std::int8_t{4}), {-3, 4}},
        {kDoubles, kUint8, two(std::uint8_t{253}, std::uint8_t{4}), {253, 4}},
        {kDoubles, kInt16, two(std::int16_t{-300}, std::int16_t{4}), {-300, 4}},
        {kDoubles, kUint16, two(std::uint16_t{65000}, std::uint16_t{4}), {65000, 4}},
        {kDoubles, kInt32, two(std::int32_t{-70000}, std::int32_t{4}), {-70000, 4}},
        {kDoubles, kUint32, two(std::uint32_t{3000000000}, std::uint32_t{4}), {3e9F, 4}},
        {kDoubles, kFloat, two(0.5F, -1e30F), {0.5F, -1e30F}},
        {kDoubles, kDouble, two(0.5, 1e-30), {0.5F, 1e-30F}},
        {kSingles, kFloat, two(0.5F, -0.25F), {0.5F, -0.25F}},
        {kLongs, kInt32, two(std::int32_t{1} << 30, std::int32_t{-1} << 30), {0.5F, -0.5F}},
        {kShorts, kInt16, two(std::int16_t{16384}, std::int16_t{-16384}), {0.5F, -0.5F}},
        {kBytes, kUint8, two(std::uint8_t{192}, std::uint8_t{64}), {0.5F, -0.5F}},
    };
    for (const Stored& one : all) {
        SCOPED_TRACE(testing::Message() << "kind " << one.kind << " as type " << one.type);
        const std::string variable =
            array(one.kind, {2, 1}, "signal", element(one.type, one.values));
        for (const std::string& file : {matFile(variable), matFile(packed(variable))}) {
            const auto recording = open(file, {}, 10.0);
            EXPECT_EQ(recording->frames(), 2);
            EXPECT_EQ(recording->rate(), 10);
            EXPECT_EQ(valuesOf(*recording), one.expected);
        }
    }
}

// Columns lie one behind the other: of channels, or, turned, of samples.
TEST_F(MatRecordingTest, ArraysAreReadEitherWay) {
    const std::vector<float> pairs = {1, 5, 2, 6, 3, 7, 4, 8};
    const std::string upright = doubles("a", {4, 2}, {1, 2, 3, 4, 5, 6, 7, 8});
    const std::string turned = doubles("a", {2, 4}, {1, 5, 2, 6, 3, 7, 4, 8});
    for (const bool isPacked : {false, true}) {
        const auto fileOf = [&](const std::string& variable) {
            return matFile(isPacked ? packed(variable) : variable);
        };
        EXPECT_EQ(valuesOf(*open(fileOf(upright), {}, 10.0)), pairs);
        EXPECT_EQ(valuesOf(*open(fileOf(turned), {.rowsAreChannels = true}, 10.0)), pairs);
        const auto part = open(fileOf(upright), {}, 10.0);
        part->skip(3);
        EXPECT_THAT(valuesOf(*part), ElementsAre(4, 8));
        const auto row = open(fileOf(doubles("a", {1, 3}, {1, 2, 3})), {}, 10.0);
        EXPECT_EQ(row->channels(), 1);
        EXPECT_THAT(valuesOf(*row), ElementsAre(1, 2, 3));
    }
}

TEST_F(MatRecordingTest, AShapeThatCanBeNoRecordingIsRefusedWithItsReason) {
    const auto of = [&](const std::vector<std::int32_t>& size, const ArrayChoice& choice) {
        return refusalOf(matFile(array(kDoubles, size, "a", element(kInt8, ""))), choice);
    };
    EXPECT_EQ(of({2, 3, 4}, {.variable = "a"}),
              "a (2 x 3 x 4 double) has 3 dimensions; rows of samples and columns of channels are "
              "read");
    EXPECT_EQ(of({0, 3}, {.variable = "a"}), "a (0 x 3 double) holds no samples");
    EXPECT_THAT(of({2, 3}, {}), HasSubstr("(2 x 3 double) has more columns than rows, and rows "));
    EXPECT_EQ(of({3, 2}, {.rowsAreChannels = true}),
              "a (3 x 2 double) has more rows than columns, and rows = \"channels\"");
    EXPECT_EQ(of({2000, 1025}, {}), "a (2000 x 1025 double) has 1025 channels; 1 to 1024 are read");
    EXPECT_EQ(of({1, 1}, {}), "has no array of samples; it holds a (1 x 1 double)");
}

TEST_F(MatRecordingTest, TheArrayIsTheOnlyOneThatCanBeMeantOrTheOneThatIsNamed) {
    const std::string rest = doubles("fs", {1, 1}, {10}) + column("t", {0, 0.1, 0.2}) +
                             array(kText, {1, 2}, "note", element(kUtf8, "hi")) +
                             array(kDoubles | kComplex, {2, 1}, "z", element(kInt8, "ab")) +
                             array(kOpaque, {}, "object", "");
    const std::string one = matFile(rest + column("signal", {1, 2, 3}));
    EXPECT_THAT(valuesOf(*open(one)), ElementsAre(1, 2, 3));
    EXPECT_THAT(valuesOf(*open(one, {.variable = "t"})), ElementsAre(0, 0.1F, 0.2F));
    EXPECT_THAT(refusalOf(one, {.variable = "Signal"}),
                HasSubstr("has no \"Signal\"; it holds fs (1 x 1 double), t (3 x 1 double)"));
    EXPECT_THAT(refusalOf(one, {.variable = "z"}),
                HasSubstr("z (2 x 1 complex double) is not read; real numbers of kind"));
    EXPECT_THAT(refusalOf(one, {.variable = "note"}), HasSubstr("note (1 x 2 text) is not read"));
    EXPECT_THAT(refusalOf(matFile(rest)), HasSubstr("has no array of samples; it holds"));
    EXPECT_EQ(refusalOf(matFile("")), "has no array of samples; it holds nothing");
    std::string many = one;
    for (int i = 0; i < 9; ++i)
        many += column("more" + std::to_string(i), {1, 2});
    EXPECT_THAT(refusalOf(many), HasSubstr("holds several arrays (variable = \"NAME\" of the "
                                           "source picks one): signal (3 x 1 double)"));
    EXPECT_THAT(refusalOf(many), HasSubstr(" and 2 more"));
    // Not a kind of the format.
    EXPECT_THAT(refusalOf(matFile(array(77, {2, 1}, "odd", "")), {.variable = "odd"}),
                HasSubstr("odd (2 x 1 ?) is not read"));
}

TEST_F(MatRecordingTest, TheRateIsTheFilesUnlessTheSourceHasOne) {
    const std::string signal = column("signal", {1, 2, 3});
    const std::string fs = doubles("fs", {1, 1}, {8});
    const std::string time = column("time", {2, 2.25, 2.5});
    EXPECT_EQ(open(matFile(signal + fs))->rate(), 8);
    EXPECT_EQ(open(matFile(signal + fs), {}, 5.0)->rate(), 5);
    EXPECT_EQ(open(matFile(signal + fs + doubles("Rate", {1, 1}, {8})))->rate(), 8);
    const auto byTime = open(matFile(signal + packed(time)));
    EXPECT_EQ(byTime->rate(), 4);
    EXPECT_EQ(byTime->start(), 2);
    const auto both = open(matFile(signal + fs + time));
    EXPECT_EQ(both->rate(), 8);  // what is said counts before what is measured
    EXPECT_EQ(both->start(), 2);
    // An x of another length belongs to something else; so does a rate of many values.
    EXPECT_THAT(refusalOf(matFile(signal + column("t", {0, 1})), {}, std::nullopt),
                HasSubstr("needs a rate: its source has none, and the file neither"));
    EXPECT_THAT(refusalOf(matFile(signal + column("fs", {8, 9})), {.variable = "signal"}, {}),
                HasSubstr("needs a rate"));
    EXPECT_EQ(refusalOf(matFile(signal + fs + doubles("rate", {1, 1}, {9})), {}, std::nullopt),
              "says two rates, fs and rate (rate of the source picks one)");
    EXPECT_THAT(refusalOf(matFile(signal + column("t", {0, 1, 5})), {}, std::nullopt),
                HasSubstr("has no evenly rising x column"));
    for (const double rate : {-8.0, 1e13, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THAT(refusalOf(matFile(signal + doubles("fs", {1, 1}, {rate})), {}, std::nullopt),
                    HasSubstr("says a rate of "));
    }
}

TEST_F(MatRecordingTest, ChannelsAreCalledAsACellOfTextsSays) {
    using Texts = std::vector<std::string>;  // elements of the cell
    const auto text = [](std::uint32_t type, const std::string& letters, std::uint32_t kind) {
        return array(kind, {1, 1}, "", element(type, letters));
    };
    const auto namesOf = [&](const Texts& texts, bool isPacked) {
        std::string cells;
        for (const std::string& one : texts)
            cells += one;
        const std::string names =
            array(kCells, {static_cast<std::int32_t>(texts.size()), 1}, "names", cells);
        const auto recording = open(
            matFile(doubles("a", {3, 2}, {1, 2, 3, 4, 5, 6}) + (isPacked ? packed(names) : names)),
            {}, 10.0);
        Texts found;
        for (const std::size_t i : {0U, 1U})
            found.push_back(recording->channel(i).name + "|" + recording->channel(i).unit);
        return found;
    };
    const auto units = [](std::initializer_list<std::uint16_t> letters) {
        std::string stored;
        for (const std::uint16_t letter : letters)
            stored += bytes(letter);
        return stored;
    };
    for (const bool isPacked : {false, true}) {
        EXPECT_THAT(
            namesOf({text(kUtf8, "left [Pa]", kText), text(kInt8, "right", kText)}, isPacked),
            ElementsAre("left|Pa", "right|"));
        // Two, three and four bytes of UTF-8; an empty cell.
        EXPECT_THAT(namesOf({text(kUtf16, units({0xB5, 0x2126, 0xD834, 0xDD1E}), kText),
                             element(kMatrix, "")},
                            isPacked),
                    ElementsAre("\u00B5\u2126\U0001D11E|", "|"));
    }
    // Halves of a pair that stand alone: at the end, before a letter, the second one first.
    EXPECT_THAT(namesOf({text(kUint16, units({'a', 0xD834}), kText),
                         text(kUint16, units({0xD834, 'b', 0xDD1E}), kText)},
                        false),
                ElementsAre("a\uFFFD|", "\uFFFDb\uFFFD|"));
    // What is no text, too long, of another type or another count names nothing.
    const std::string good = text(kUtf8, "left", kText);
    const Texts none = {"|", "|"};
    EXPECT_EQ(namesOf({good, text(kUtf8, "1", kDoubles)}, false), none);
    EXPECT_EQ(namesOf({good, text(kUtf8, std::string(5000, 'n'), kText)}, false), none);
    EXPECT_EQ(namesOf({good, text(kDouble, "12345678", kText)}, false), none);
    EXPECT_EQ(namesOf({good, good, good}, false), none);
    EXPECT_THAT(refusalOf(matFile(doubles("a", {3, 1}, {1, 2, 3}) +
                                  array(kCells, {1, 1}, "names", element(kUtf8, "left")))),
                HasSubstr("has a damaged MAT-file's head"));
}

TEST_F(MatRecordingTest, WhatIsNoVariableIsPassedOver) {
    const std::string signal = column("signal", {1, 2, 3});
    const std::string file = matFile(element(kUtf8, "something else") + element(kMatrix, "") +
                                     column("", {7, 8, 9}) + signal + bytes(std::uint32_t{1}));
    EXPECT_THAT(valuesOf(*open(file, {}, 10.0)), ElementsAre(1, 2, 3));
}

TEST_F(MatRecordingTest, DamageIsNamedAndNeverRead) {
    const char* const kDamaged = "has a damaged MAT-file's head";
    const char* const kCut = "ends before its variables do";
    const char* const kOther = "is no MAT-file that is read here: little-endian ones of version 5";
    const std::string signal = column("signal", {1, 2, 3});
    const std::string flags = element(kUint32, bytes(std::uint32_t{kDoubles}, std::uint32_t{0}));
    const std::string name = smallElement(kInt8, "a");
    std::string notUnpacking = packed(signal);
    notUnpacking[10] = static_cast<char>(0xFF);
    std::string swapped = matFile(signal);
    std::swap(swapped[126], swapped[127]);
    std::string older = matFile(signal);
    older[125] = 0;
    const std::string inner = packed(signal.substr(0, signal.size() - 8));
    struct Damage {
        const char* what;
        std::string file;
        const char* said;
    };
    const std::vector<Damage> all = {
        {"no whole head", matFile("").substr(0, 127), kOther},
        {"the other order of bytes", swapped, kOther},
        {"another version", older, kOther},
        {"a variable that goes on behind the end", matFile(signal.substr(0, signal.size() - 8)),
         kCut},
        {"a tag of more bytes than it has",
         matFile(element(kMatrix, bytes(std::uint32_t{6 | 5 << 16}, std::uint32_t{0}))), kDamaged},
        {"flags of another size", matFile(element(kMatrix, element(kUint32, "1234"))), kDamaged},
        {"no sizes", matFile(element(kMatrix, flags + element(kInt32, "") + name)), kDamaged},
        {"a half size", matFile(element(kMatrix, flags + element(kInt32, "123456") + name)),
         kDamaged},
        {"too many sizes", matFile(array(kDoubles, std::vector<std::int32_t>(33, 1), "a", "")),
         kDamaged},
        {"a size below zero", matFile(array(kDoubles, {2, -1}, "a", "")), kDamaged},
        {"more values than there can be", matFile(array(kDoubles, {1 << 30, 1 << 30}, "a", "")),
         kDamaged},
        {"a name without end", matFile(array(kDoubles, {2, 1}, std::string(5000, 'n'), "")),
         kDamaged},
        {"values of a type that there is not",
         matFile(array(kDoubles, {2, 1}, "a", element(8, "12"))), kDamaged},
        {"fewer values than the size says",
         matFile(array(kDoubles, {3, 1}, "a", element(kInt8, "12"))),
         "a does not hold as many values as its size says"},
        {"no values at all", matFile(element(kMatrix, head(kDoubles, {3, 1}, "a"))), kCut},
        {"a variable that ends in its head", matFile(element(kMatrix, flags)), kCut},
        {"packed bytes that are none", matFile(notUnpacking),
         "has a variable that does not unpack"},
        {"a packed element that is no variable", matFile(packed(element(kUtf8, "text"))), kDamaged},
        {"a packed variable that ends early", matFile(inner), kCut},
        {"packed and too long to be held",
         matFile(packed(element(kMatrix, head(kDoubles, {1 << 27, 2}, "a") +
                                             bytes(std::uint32_t{kInt8}, std::uint32_t{1} << 28)))),
         "a is packed and too long to be held unpacked; save it without compression"},
    };
    for (const Damage& one : all) {
        SCOPED_TRACE(one.what);
        EXPECT_THAT(refusalOf(one.file), HasSubstr(one.said));
    }
    const std::string longHead = head(kDoubles, {1 << 28, 1}, "t");
    EXPECT_EQ(
        refusalOf(matFile(array(kDoubles, {1 << 28, 1}, "a", "") + element(kMatrix, longHead)),
                  {.variable = "a"}, std::nullopt),
        "t is too long to tell the rate from; give rate");
    std::string many;
    for (int i = 0; i < 4097; ++i)
        many += array(kDoubles, {1, 1}, "v", "");
    EXPECT_EQ(refusalOf(matFile(many)), "holds more than 4096 variables");
    EXPECT_EQ(
        [&]() -> std::string {
            try {
                openMat(folder() / "none.mat", 10.0, {});
            } catch (const RecordingError& error) {
                return error.what();
            }
            return "";
        }(),
        "can't be opened");
}

}  // namespace
}  // namespace vynhost::test
