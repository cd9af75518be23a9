// Parameter records: the frame, the round trip, and what damaged files do.
#include <array>
#include <cstring>
#include <limits>
#include <random>

#include "interface/any_block_test.h"
#include "support/record_bytes.h"

namespace vynhost::test {
namespace {

using ::testing::SizeIs;

class ParameterRecord : public AnyBlockTest {
protected:
    // Restores the record, lets the block run, and gives what it saves afterwards.
    std::string restoreAndUse(const std::string& record) {
        PlacedBlock block(host, type(), record);
        EXPECT_TRUE(block.created());
        block.connectors();
        run(block, 3);
        takeBoxes();
        return block.save();
    }
    std::string defaultRecord() { return PlacedBlock(host, type()).save(); }
};

TEST_P(ParameterRecord, BeginsWithASizeWordAndVersion404) {
    constexpr std::array<std::int32_t, kTypes> kSizeWords = {88, 36, 76,  64,  56,
                                                             32, 88, 184, 160, 272};
    const std::string record = defaultRecord();
    ASSERT_GT(record.size(), kRecordFrame);
    EXPECT_EQ(at<std::int32_t>(record, kRecordSizeOffset),
              kSizeWords.at(static_cast<std::size_t>(type() - kFirstType)));
    EXPECT_EQ(at<std::int32_t>(record, kRecordVersionOffset), 404);
}

TEST_P(ParameterRecord, ComesBackByteForByte) {
    const std::string record = defaultRecord();
    PlacedBlock restored(host, type(), record);
    EXPECT_EQ(restored.save(), record);
}

TEST_P(ParameterRecord, IsReadAndWrittenFromWhereTheHostLeftTheFile) {
    const std::string record = defaultRecord();
    const std::string before = "what the host keeps in front";
    platform::ParameterFile file(before + record + "and behind");
    file.seek(before.size());
    const Int handle = host.call(host.exports().RestoreParameters, 1, type(), 0, file.handle());
    EXPECT_EQ(file.position(), before.size() + record.size());
    EXPECT_EQ(host.call(host.exports().SaveParameters, 1, type(), handle, file.handle()), 1);
    EXPECT_EQ(file.position(), before.size() + 2 * record.size());
    EXPECT_EQ(file.contents().substr(before.size(), 2 * record.size()), record + record);
    host.call(host.exports().DestroyBlock, 1, type(), handle, 0);
}

TEST_P(ParameterRecord, OfRandomFieldsIsStableFromTheFirstSaveOn) {
    std::mt19937 random(404);
    const std::string model = defaultRecord();
    for (int i = 0; i < 300; ++i) {
        std::string record = model;
        for (std::size_t k = kRecordFrame; k < record.size(); ++k) {
            record[k] = static_cast<char>(random());
        }
        const std::string once = PlacedBlock(host, type(), record).save();
        const std::string twice = PlacedBlock(host, type(), once).save();
        ASSERT_EQ(once.size(), model.size());
        ASSERT_EQ(once, twice);
    }
}

TEST_P(ParameterRecord, CutAtAnyByteLeavesTheRestAtItsDefaults) {
    const std::string model = defaultRecord();
    // Fields that differ from their defaults in every byte.
    std::string record = model;
    for (std::size_t k = kRecordFrame; k < record.size(); ++k) {
        record[k] = static_cast<char>(~record[k]);
    }
    for (std::size_t length = 0; length <= record.size(); ++length) {
        SCOPED_TRACE("cut to " + std::to_string(length) + " bytes");
        PlacedBlock block(host, type(), record.substr(0, length));
        ASSERT_TRUE(block.created());
        const std::string saved = block.save();
        ASSERT_EQ(saved.size(), model.size());
        if (length <= kRecordFrame) {
            EXPECT_EQ(saved, model);
        }
    }
}

TEST_P(ParameterRecord, WithAnyBitFlippedIsSurvived) {
    const std::string model = defaultRecord();
    for (std::size_t bit = 0; bit < model.size() * 8; ++bit) {
        SCOPED_TRACE("bit " + std::to_string(bit));
        std::string record = model;
        record[bit / 8] = static_cast<char>(record[bit / 8] ^ (1 << (bit % 8)));
        restoreAndUse(record);
    }
}

TEST_P(ParameterRecord, WithStrangeWordsInTheFrameIsSurvived) {
    constexpr std::int32_t kWords[] = {-1,
                                       0,
                                       36,
                                       64,
                                       399,
                                       400,
                                       402,
                                       403,
                                       405,
                                       76,
                                       88,
                                       std::numeric_limits<std::int32_t>::max(),
                                       std::numeric_limits<std::int32_t>::min()};
    const std::string model = defaultRecord();
    for (const std::int32_t size : kWords) {
        for (const std::int32_t version : kWords) {
            std::string record = model;
            put(record, kRecordSizeOffset, size);
            put(record, kRecordVersionOffset, version);
            restoreAndUse(record);
        }
    }
}

TEST_P(ParameterRecord, OfRandomBytesIsSurvived) {
    std::mt19937 random(20);
    for (int i = 0; i < 100; ++i) {
        std::string record(1000, '\0');
        for (char& byte : record)
            byte = static_cast<char>(random());
        if (i % 2 == 0) put(record, kRecordVersionOffset, kRecordVersion);
        restoreAndUse(record);
    }
}

TEST_P(ParameterRecord, OfAFileThatCannotBeReadGivesABlockWithDefaults) {
    const Int handle = host.call(host.exports().RestoreParameters, 1, type(), 0, -1);
    ASSERT_NE(handle, 0);
    platform::ParameterFile file;
    host.call(host.exports().SaveParameters, 1, type(), handle, file.handle());
    EXPECT_EQ(file.contents(), defaultRecord());
    // Nor does a file that cannot be written raise anything.
    EXPECT_EQ(host.call(host.exports().SaveParameters, 1, type(), handle, -1), 1);
    host.call(host.exports().DestroyBlock, 1, type(), handle, 0);
}

VYN_FOR_ALL_TYPES(ParameterRecord);

// --- The spectrum block's record, byte by byte ----------------------------------------------

std::string spectrumRecord(std::int32_t version) {
    const std::string record = bytes(std::int32_t{56}, version, std::uint16_t{53},
                                     std::uint16_t{70}, std::uint16_t{1103}, 10.0, std::int32_t{1});
    std::string text = "a text and what follows it";
    text.resize(32, '\x7F');
    return record + text;
}

class SpectrumRecord : public HostTest {
protected:
    SpectrumRecord() : HostTest({kSpektrum}) {}
};

TEST_F(SpectrumRecord, KeepsAllSixMembers) {
    const std::string record = spectrumRecord(404);
    ASSERT_THAT(record, SizeIs(58));
    PlacedBlock block(host, kSpektrum, record);
    EXPECT_EQ(block.getText("PkAmplType"), "POWERSPECTRUMDENSITY");
    EXPECT_EQ(block.getText("PkWndFct"), "KAISER");
    EXPECT_EQ(block.getInteger("PkWndCorrectTyp"), 2);
    EXPECT_EQ(block.getReal("PkWndPara"), 10.0);
    EXPECT_EQ(block.getInteger("PkPhase"), 1);
    EXPECT_EQ(block.save(), record);
}

TEST_F(SpectrumRecord, ComesBackWhateverItsVersionWordSays) {
    PlacedBlock block(host, kSpektrum, spectrumRecord(0));
    EXPECT_EQ(block.save(), spectrumRecord(404));
}

}  // namespace
}  // namespace vynhost::test
