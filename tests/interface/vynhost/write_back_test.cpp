// What a dialog changes goes back into the diagram: as keywords, else as a parameter record, and
// nothing else of the file moves.
#include <cstring>
#include <random>

#include "interface/vynhost/diagram_fixture.h"
#include "support/record_bytes.h"
#include "vynhost/base/text.h"
#include "vynhost/command/dialog_command.h"
#include "vynhost/diagram/block_change.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/diagram/diagram_text.h"
#include "vynhost/diagram/value_names.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
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
        std::vector<std::string> notes;
        const auto block = placeBlock(host, types(), blockOf("[block.b]\n" + table), notes);
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
        std::vector<std::string> notes;
        const std::string record = placeBlock(host, types(), entry, notes)->save();
        EXPECT_THAT(notes, IsEmpty());
        return record;
    }
    static BlockEntry blockOf(const std::string& text) {
        return parseDiagram(text, "d.toml").blocks.at(0);
    }
    int codeOf(const BlockEntry& entry) {
        std::vector<std::string> notes;
        return static_cast<int>(placeBlock(host, types(), entry, notes)->typeCode());
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
    std::vector<std::string> notes;
    const auto block = placeBlock(
        host, types(),
        blockOf("[block.b]\ntype = 5004\nPkPhase = 1\nrecord = \"" + digitsOf(record) + "\"\n"),
        notes);
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
    EXPECT_EQ(error(digitsOf(record)),
              "d.toml:1: block.b: every input of this block must be "
              "wired; missing: b.E");
}

TEST_F(WriteBack, RecordsOfOlderVersionsAreRecords) {
    std::string record = recordAfter("type = 5004\n", [](PlacedBlock&) {});
    record.replace(4, 4, std::string(4, '\0'));
    std::vector<std::string> notes;
    EXPECT_TRUE(
        placeBlock(host, types(),
                   blockOf("[block.b]\ntype = 5004\nrecord = \"" + digitsOf(record) + "\"\n"),
                   notes)
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
            for (const std::string& name : valueNamesOf(row.name)) {
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
    EXPECT_EQ(errorOf("[block.b]\ntype = 5006\nPkAverageType = \"ARITHMETHIC\"\n"),
              "d.toml:3: block.b.PkAverageType: the block does not take \"ARITHMETHIC\", did you "
              "mean ARITHMETIC?");
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
            std::vector<std::string> notes;
            EXPECT_EQ(placeBlock(host, types(), entry, notes)->save(), record);
            before = entry;  // the next change starts from there
        }
    }
}

// --- The text of the file -------------------------------------------------------------------

struct Rewriting {
    const char* name;
    std::string before;
    std::string after;
};

class RewriteBlock : public ::testing::TestWithParam<Rewriting> {};

// PkPhase 1 becomes 0, PkWndPara 1.5, PkAmplType goes, PkX comes, and a record.
TEST_P(RewriteBlock, ChangesNothingElse) {
    const std::string text = GetParam().before;
    const Diagram diagram = parseDiagram(text, "d.toml");
    const BlockEntry& before =
        *std::ranges::find(diagram.blocks, std::string("b"), &BlockEntry::name);
    BlockEntry after = before;
    std::erase_if(after.settings, [](const Setting& s) { return s.keyword == "PkAmplType"; });
    for (Setting& setting : after.settings) {
        if (setting.keyword == "PkPhase") setting.value = std::int64_t{0};
        if (setting.keyword == "PkWndPara") setting.value = 2.0;
    }
    after.settings.push_back({.keyword = "PkX", .value = std::string("A\"B")});
    after.record = std::string("\x01\x02\x03\x04\x05");
    EXPECT_EQ(rewriteBlock(text, "d.toml", before, after), GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RewriteBlock,
    ::testing::Values(
        Rewriting{
            "InATable",
            "# Überschrift\n[block.b] # b\n  type = \"FFT\"\n\n  PkPhase  =  true # ö\n"
            "  PkAmplType = \"RMS\" # goes\n  # stays\n  PkWndPara = 1.5\t# last\n\n"
            "[block.c]\ntype = 1 # PkPhase = 1",
            "# Überschrift\n[block.b] # b\n  type = \"FFT\"\n\n  PkPhase  =  false # ö\n"
            "  # stays\n  PkWndPara = 2.0\t# last\n  PkX = \"A\\\"B\"\n"
            "  record = \"\"\"\n    01020304 05\n\"\"\"\n\n[block.c]\ntype = 1 # PkPhase = 1"},
        Rewriting{"WithCarriageReturns",
                  "\xEF\xBB\xBF[block.b]\r\nPkPhase=1\r\n\"PkAmplType\"='RMS'\r\ntype='Ü'\r\n",
                  "\xEF\xBB\xBF[block.b]\r\nPkPhase=0\r\ntype='Ü'\r\nPkX = \"A\\\"B\"\r\n"
                  "record = \"\"\"\r\n    01020304 05\r\n\"\"\"\r\n"},
        Rewriting{"WithoutALastLineEnd", "[block.b]\ntype=1\nPkWndPara = 1",
                  "[block.b]\ntype=1\nPkWndPara = 2\nPkX = \"A\\\"B\"\n"
                  "record = \"\"\"\n    01020304 05\n\"\"\""},
        Rewriting{"WhereTheLastEntryGoes", "[block.b]\ntype=1\nPkAmplType='RMS' # x\n[wire]\n",
                  "[block.b]\ntype=1\nPkX = \"A\\\"B\"\n"
                  "record = \"\"\"\n    01020304 05\n\"\"\"\n[wire]\n"},
        Rewriting{"WhereTheLastLineGoes", "[block.b]\ntype=1\nPkAmplType='RMS'",
                  "[block.b]\ntype=1\nPkX = \"A\\\"B\"\n"
                  "record = \"\"\"\n    01020304 05\n\"\"\"\n"},
        Rewriting{"InOneLine",
                  "[block]\na = { type = 'Ü', PkPhase = 1 }\n"
                  "b = { PkAmplType = 'RMS', type = 'Ü', PkPhase = 1, PkWndPara = 3 } # x\n",
                  "[block]\na = { type = 'Ü', PkPhase = 1 }\n"
                  "b = { type = 'Ü', PkPhase = 0, PkWndPara = 2, PkX = \"A\\\"B\", "
                  "record = \"01020304 05\" } # x\n"},
        Rewriting{"InOneLineAtItsEnd", "block.b = {type = 1, PkAmplType = \"RMS\"}\n",
                  "block.b = {type = 1, PkX = \"A\\\"B\", record = \"01020304 05\"}\n"},
        Rewriting{"WithDottedNames",
                  "[block]\n b.type = 1\n b . PkPhase = 1 # x\nc.type = 1\n b.PkWndPara=0.5\n",
                  "[block]\n b.type = 1\n b . PkPhase = 0 # x\nc.type = 1\n b.PkWndPara=2.0\n"
                  " b.PkX = \"A\\\"B\"\n b.record = \"\"\"\n    01020304 05\n\"\"\"\n"},
        Rewriting{"WithARecord",
                  "[block.b]\ntype=1\nrecord = \"\"\"\n 01\n 02\n \"\"\" # r\nPkPhase = 0x1\n",
                  "[block.b]\ntype=1\nrecord = \"\"\"\n    01020304 05\n\"\"\" # r\nPkPhase = 0\n"
                  "PkX = \"A\\\"B\"\n"}),
    [](const auto& test) { return std::string(test.param.name); });

// --- The file -------------------------------------------------------------------------------

class EditedDiagram : public DiagramTest {
protected:
    EditedDiagram() : file(write("d.toml", kText)) {}

    const char* const kText =
        "# mine\r\n[block.fft]\r\ntype = \"FFT\"  # of course\r\nPkPhase = 1\r\n"
        "[source.s]\r\nfile = \"missing.wav\"\r\n";
    std::filesystem::path file;
    std::string errorWith(const std::string& block) {
        try {
            BlockEditor(host, file, block);
        } catch (const InputError& error) {
            std::string text = error.what();
            return text.substr(text.find("d.toml"));
        }
        return "";
    }
};

TEST_F(EditedDiagram, GetsTheChangedParameters) {
    BlockEditor editor(host, file, "fft");
    editor.block().set("PkWndFct", "HAMMING");
    editor.block().set("PkPhase", 0);
    EXPECT_THAT(editor.writeBack(), ElementsAre("fft: PkPhase = 0", "fft: PkWndFct = \"HAMMING\""));
    EXPECT_EQ(read(file),
              "# mine\r\n[block.fft]\r\ntype = \"FFT\"  # of course\r\nPkPhase = 0\r\n"
              "PkWndFct = \"HAMMING\"\r\n[source.s]\r\nfile = \"missing.wav\"\r\n");
    EXPECT_FALSE(std::filesystem::exists(folder() / "d.toml.part"));
}

TEST_F(EditedDiagram, StaysAsItIsWhenNothingHasChanged) {
    const auto time = std::filesystem::last_write_time(file);
    BlockEditor editor(host, file, "fft");
    editor.block().set("PkPhase", 0);
    editor.block().set("PkPhase", 1);
    EXPECT_THAT(editor.writeBack(), IsEmpty());
    EXPECT_EQ(read(file), kText);
    EXPECT_EQ(std::filesystem::last_write_time(file), time);
}

TEST_F(EditedDiagram, IsNotWrittenOverSomebodyElsesChanges) {
    BlockEditor editor(host, file, "fft");
    editor.block().set("PkPhase", 0);
    write("d.toml", "# another text\n");
    EXPECT_THROW(editor.writeBack(), InputError);
    EXPECT_EQ(read(file), "# another text\n");
}

TEST_F(EditedDiagram, StaysAsItIsWhenItCannotBeWritten) {
    BlockEditor editor(host, file, "fft");
    editor.block().set("PkPhase", 0);
    std::filesystem::create_directories(folder() / "d.toml.part" / "in the way");
    EXPECT_THROW(editor.writeBack(), RunError);
    EXPECT_EQ(read(file), kText);
}

TEST_F(EditedDiagram, StaysALink) {
    std::error_code refused;
    std::filesystem::create_symlink("d.toml", folder() / "link.toml", refused);
    if (refused) GTEST_SKIP() << "no links here";
    BlockEditor editor(host, folder() / "link.toml", "fft");
    editor.block().set("PkPhase", 0);
    EXPECT_THAT(editor.writeBack(), ElementsAre("fft: PkPhase = 0"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder() / "link.toml"));
    EXPECT_THAT(read(file), HasSubstr("PkPhase = 0"));
}

TEST_F(EditedDiagram, MustHaveTheBlock) {
    EXPECT_EQ(errorWith("fff"), "d.toml: \"fff\" is no block, did you mean fft? (there are: fft)");
    EXPECT_EQ(errorWith("s"), "d.toml: \"s\" is a source, which has no dialog");
    write("d.toml", "[block.fft]\ntype = \"FFT\"\nPkPhasen = 1\n");
    EXPECT_THAT(errorWith("fft"), ::testing::StartsWith("d.toml:3: block.fft.PkPhasen: no such"));
    write("d.toml", "");
    EXPECT_EQ(errorWith("fft"), "d.toml: \"fft\" is no block (there are none)");
    file = folder() / "d.toml.none";
    EXPECT_EQ(errorWith("fft"), "d.toml.none: no such file");
}

}  // namespace
}  // namespace vynhost::test
