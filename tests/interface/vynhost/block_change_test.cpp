// What a dialog changes becomes keywords of the diagram, else a parameter record; both place the
// block as it was.
#include <cstring>
#include <random>

#include "interface/vynhost/diagram_fixture.h"
#include "support/record_bytes.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/block_change.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/diagram/diagram_text.h"
#include "vynhost/diagram/keyword_check.h"

namespace vynhost::test {
namespace {

using ::testing::IsEmpty;

class WriteBack : public DiagramTest {
protected:
    // What stands in the diagram after the block "b" of this table has got that record.
    std::string after(const std::string& table, const std::string& record) {
        const std::string text = "[block.b]\n" + table;
        const BlockEntry before = blockOf(text);
        const BlockEntry entry = entryFor(host, types(), before, codeOf(before), record);
        EXPECT_EQ(recordOf(entry), record);
        const std::string result = rewriteBlock(text, "d.toml", before, entry);
        EXPECT_EQ(recordOf(blockOf(result)), record) << result;
        return result.substr(std::strlen("[block.b]\n"));
    }
    // The record of a block of this table after `change`.
    std::string recordAfter(const std::string& table,
                            const std::function<void(PlacedBlock&)>& change) {
        const auto block = placeBlock(host, types(), blockOf("[block.b]\n" + table));
        change(*block);
        return block->save();
    }
    // The same with two bytes of the record replaced, the way only a dialog can.
    std::string recordWith(const std::string& table, std::size_t place, std::int16_t value) {
        std::string record = recordAfter(table, [](PlacedBlock&) {});
        put(record, place, value);
        return record;
    }
    std::string recordOf(const BlockEntry& entry) {
        const std::string record = placeBlock(host, types(), entry)->save();
        return record;
    }
    static BlockEntry blockOf(const std::string& text) {
        return parseDiagram(text, "d.toml").blocks.at(0);
    }
    int codeOf(const BlockEntry& entry) {
        return static_cast<int>(placeBlock(host, types(), entry)->typeCode());
    }
    const std::vector<TypeInfo>& types() {
        if (types_.empty()) types_ = moduleTypes(host);
        return types_;
    }

private:
    std::vector<TypeInfo> types_;
};

// Places in the spectrum block's record.
constexpr std::size_t kSpectrumWindow = 10;
constexpr std::size_t kDualWindow = 24;
constexpr std::int16_t kNoWindow = 64;

// --- Records in diagrams --------------------------------------------------------------------

TEST_F(WriteBack, ARecordGivesABlockItsParametersAndKeywordsApplyOnTop) {
    const std::string record = recordAfter("type = 5004\n", [](PlacedBlock& block) {
        block.set("PkAmplType", "RMS");
        block.set("PkWndPara", 12.5);
    });
    const auto block = placeBlock(
        host, types(),
        blockOf("[block.b]\ntype = 5004\nPkPhase = 1\nrecord = \"" + digitsOf(record) + "\"\n"));
    EXPECT_EQ(block->getText("PkAmplType"), "RMS");
    EXPECT_EQ(block->getReal("PkWndPara"), 12.5);
    EXPECT_EQ(block->getInteger("PkPhase"), 1);
}

TEST_F(WriteBack, ARecordMayBeWrittenInAnyGroupsOfDigits) {
    EXPECT_EQ(*blockOf("[block.b]\ntype = 1\nrecord = \"\"\"\n  00fF 7\n 9\t10\n\"\"\"\n").record,
              std::string("\x00\xFF\x79\x10", 4));
}

TEST_F(WriteBack, ADamagedRecordIsAnErrorWithItsPlace) {
    const std::string record = recordAfter("type = 5004\n", [](PlacedBlock&) {});
    const auto error = [&](const std::string& digits, const std::string& type = "5004") {
        return errorOf("[block.b]\ntype = " + type + "\nrecord = \"" + digits + "\"\n");
    };
    EXPECT_EQ(error("3800 000g"),
              "d.toml:3: block.b.record: \"g\" is no hexadecimal digit (the 8. digit)");
    EXPECT_EQ(error("380"),
              "d.toml:3: block.b.record: is damaged: 3 digits are no whole number of bytes");
    EXPECT_EQ(error(""), "d.toml:3: block.b.record: is damaged: it holds 0 bytes");
    EXPECT_EQ(error(digitsOf(record.substr(0, 57))),
              "d.toml:3: block.b.record: is damaged: it holds 57 bytes, the block reads 58 bytes");
    EXPECT_EQ(error(digitsOf(record) + "00"),
              "d.toml:3: block.b.record: is damaged: it holds 59 bytes, the block reads 58 bytes");
    EXPECT_EQ(error("38000000 95010000" + digitsOf(record.substr(8))),
              "d.toml:3: block.b.record: is damaged: version 405 is none of a parameter record");
    EXPECT_EQ(error("39000000 94010000" + digitsOf(record.substr(8))),
              "d.toml:3: block.b.record: is damaged, or of another block type: its size word is 57 "
              "instead of 56");
    EXPECT_EQ(errorOf("[block.b]\ntype = 5004\nrecord = 3\n"),
              "d.toml:3: block.b.record: must be a text");
    EXPECT_EQ(error(digitsOf(record)), "");
}

TEST_F(WriteBack, RecordsOfOlderVersionsAreRecords) {
    std::string record = recordAfter("type = 5004\n", [](PlacedBlock&) {});
    record.replace(4, 4, std::string(4, '\0'));
    EXPECT_TRUE(
        placeBlock(host, types(),
                   blockOf("[block.b]\ntype = 5004\nrecord = \"" + digitsOf(record) + "\"\n"))
            ->created());
}

// --- Parameters as entries ------------------------------------------------------------------

TEST_F(WriteBack, ChangedParametersBecomeKeywords) {
    const std::string table = "type = \"FFT\"\nPkWndPara = 10.0\n";
    EXPECT_EQ(after(table, recordAfter(table,
                                       [](PlacedBlock& block) {
                                           block.set("PkAmplType", "PSD");
                                           block.set("PkWndFct", "KAISER");
                                           block.set("PkWndCorrectTyp", 2);
                                           block.set("PkWndPara", 2.5);
                                       })),
              "type = \"FFT\"\nPkWndPara = 2.5\nPkAmplType = \"PSD\"\nPkWndFct = \"KAISER\"\n"
              "PkWndCorrectTyp = 2\n");
}

TEST_F(WriteBack, WhatIsTheDefaultNeedsNoKeyword) {
    const std::string table = "type = \"FFT\"\nPkWndFct = \"HANNING\"\nPkPhase = true\n";
    EXPECT_EQ(after(table, recordWith(table, kSpectrumWindow, kNoWindow)),
              "type = \"FFT\"\nPkPhase = true\n");
}

TEST_F(WriteBack, TextsThatDoNotReadBackBecomeKeywords) {
    const std::string table = "type = 5006\n";
    EXPECT_EQ(after(table, recordAfter(table,
                                       [](PlacedBlock& block) {
                                           block.set("PkAmplType", "PSD");
                                           block.set("PkTransFCTType", "SPECTRUM H2");
                                           block.set("PkCrossSpectr", 1);
                                           block.set("PkAverageType", "ARITHMETIC");
                                           block.set("PkWndFct", "RECTANGLE");
                                       })),
              "type = 5006\nPkAmplType = \"PSD\"\nPkTransFCTType = \"SPECTRUM H2\"\n"
              "PkCrossSpectr = 1\nPkAverageType = \"ARITHMETIC\"\nPkWndFct = \"RECTANGLE\"\n");
}

TEST_F(WriteBack, WhatNoKeywordSaysBecomesARecord) {
    constexpr std::size_t kMethod = 58;  // in the classification's record
    const std::string table = "type = 5000\nPkMethod = 2  # crossings\nPkNumber = 8\n";
    EXPECT_EQ(after(table, recordWith(table, kMethod, 97)),
              "type = 5000\nPkNumber = 8\nrecord = \"\"\"\n"
              "    58000000 94010000 0a000000 08000000 00000000 000024c0 00000000 00002440\n"
              "    00000000 00000440 00000000 00003440 f5030000 01000000 f8036100 00000000\n"
              "    00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000\n"
              "\"\"\"\n");
}

TEST_F(WriteBack, NamesStayNamesAndNumbersStayNumbers) {
    const auto changed = [&](const std::string& table) {
        return after(table,
                     recordAfter(table, [](PlacedBlock& block) { block.set("PkXweight", 3); }));
    };
    EXPECT_EQ(changed("type = 5008\nPkXweight = \"A\"  # as the meter\n"),
              "type = 5008\nPkXweight = \"C\"  # as the meter\n");
    EXPECT_EQ(changed("type = 5008\nPkXweight = 1\n"), "type = 5008\nPkXweight = 3\n");
    // One that reads back otherwise than it is written.
    const std::string fft = "type = 5004\nPkWndFct = \"HANNING\"\nPkWndCorrectTyp = \"energy\"\n";
    EXPECT_EQ(
        after(fft, recordAfter(fft, [](PlacedBlock& block) { block.set("PkWndCorrectTyp", 2); })),
        "type = 5004\nPkWndFct = \"HANNING\"\nPkWndCorrectTyp = \"amplitude\"\n");
    // What is not changed stays as it is written, in whatever letters.
    const std::string level = "type = 5009\nPkTimeTc = \"fast\"\nPkFreqOut = 10\n";
    EXPECT_EQ(
        after(level, recordAfter(level, [](PlacedBlock& block) { block.set("PkFreqOut", 20.0); })),
        "type = 5009\nPkTimeTc = \"fast\"\nPkFreqOut = 20\n");
}

TEST_F(WriteBack, ARecordThatIsNoLongerNeededGoes) {
    constexpr std::size_t kMethod = 58;
    const std::string record = digitsOf(recordWith("type = 5000\n", kMethod, 97));
    const std::string table = "type = 5000\nrecord = \"" + record + "\"  # peaks\nPkNumber = 8\n";
    EXPECT_EQ(
        after(table, recordAfter(table, [](PlacedBlock& block) { block.set("PkMethod", 2); })),
        "type = 5000\nPkNumber = 8\nPkMethod = 2\n");
}

TEST_F(WriteBack, ValuesThatFollowFromOthersAreNotRepeated) {
    const std::string table = "type = 5000\nPkWidth = 0.5\n";
    EXPECT_EQ(after("type = 5000\n", recordAfter("type = 5000\n",
                                                 [](PlacedBlock& block) {
                                                     block.set("PkNumber", 40);
                                                     block.set("PkBegin", 0.0);
                                                     block.set("PkEnd", 1.0);
                                                 })),
              "type = 5000\nPkNumber = 40\nPkBegin = 0.0\nPkEnd = 1.0\n");
    EXPECT_EQ(after(table, recordAfter(table, [](PlacedBlock& block) { block.set("PkEnd", 0.0); })),
              "type = 5000\nPkWidth = 0.25\nPkEnd = 0.0\nPkNumber = 40\n");
}

TEST_F(WriteBack, EveryNameOfAValueIsTakenAndMeansSomethingElse) {
    for (const int code : {kSpektrum, kDualSpektrum}) {
        PlacedBlock block(host, code);
        for (const KeywordRow& row : block.keywords()) {
            if (row.type != ValueType::text) continue;
            std::vector<std::string> records;
            for (const NamedChoice& choice : meaningOf(code).keyword(row.name)->choices) {
                const std::string name(choice.name);
                block.set(row, name);
                EXPECT_THAT(records, ::testing::Not(::testing::Contains(block.save()))) << name;
                records.push_back(block.save());
                EXPECT_EQ(errorOf("[block.b]\ntype = " + std::to_string(code) + "\n" + row.name +
                                  " = \"" + name + "\"\n")
                              .find("does not take"),
                          std::string::npos);
            }
            EXPECT_GE(records.size(), 3U) << row.name;
        }
    }
}

TEST_F(WriteBack, AMistypedNameIsNoticedEvenWhereNothingReadsBack) {
    EXPECT_EQ(
        errorOf("[block.b]\ntype = 5006\nPkAverageType = \"ARITHMETHIC\"\n"),
        "d.toml:3: block.b.PkAverageType: \"ARITHMETHIC\" is none of its values, did you mean "
        "ARITHMETIC? (allowed is NO, ARITHMETIC, EXPONENTIAL, PEAKMIN, PEAKMAX, MINMAXAVERAGE "
        "or PEAKMINMAX)");
}

// Whatever a record holds, the entries bring back byte for byte.
TEST_F(WriteBack, EveryRecordComesBackAsItWas) {
    std::mt19937 random(20261121);  // NOLINT(bugprone-random-generator-seed): the same every time
    const auto upTo = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
    for (const int code : allTypes()) {
        SCOPED_TRACE(code);
        const std::string plain = PlacedBlock(host, code).save();
        BlockEntry before = blockOf("[block.b]\ntype = " + std::to_string(code) + "\n");
        for (int i = 0; i < 8; ++i) {
            std::string record = plain;
            for (std::size_t change = upTo(4); change > 0; --change) {
                record[8 + upTo(record.size() - 8)] =
                    static_cast<char>(upTo(3) == 0 ? random() : 1);
            }
            // As the block itself writes it: gaps and the like are zeros.
            record = PlacedBlock(host, code, record).save();
            const BlockEntry entry = entryFor(host, types(), before, code, record);
            EXPECT_EQ(placeBlock(host, types(), entry)->save(), record);
            before = entry;  // the next change starts from there
        }
    }
}

}  // namespace
}  // namespace vynhost::test
