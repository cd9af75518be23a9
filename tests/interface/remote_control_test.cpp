// The keyword protocol.
#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <random>

#include "interface/any_block_test.h"

namespace vynhost::test {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr char kUntouched = '\x5A';
constexpr std::array<Int, 5> kSubCodes = {kCountKeywords, kClearWord, kListKeywords, kGetValue,
                                          kSetValue};

class RemoteControlTest : public HostTest {
protected:
    RemoteControlTest() : HostTest({kSpektrum, kInverseFFT}) {}

    Int request(PlacedBlock& block, Int subCode, const SharedRecord* info,
                const SharedRecord* value = nullptr) {
        const auto handleOf = [](const SharedRecord* record) {
            return record == nullptr ? Int{0} : static_cast<Int>(record->handle());
        };
        return host.call(host.exports().lRemoteControl, 1, block.handle(), handleOf(value), subCode,
                         handleOf(info));
    }
};

std::string contents(const SharedRecord& record, std::size_t size) {
    std::string bytes(size, '\0');
    record.read(0, bytes.data(), size);
    return bytes;
}

void fill(SharedRecord& record, std::size_t size) {
    const std::string bytes(size, kUntouched);
    record.write(0, bytes.data(), size);
}

TEST_F(RemoteControlTest, TheSpectrumBlockHasFiveKeywords) {
    PlacedBlock block(host, kSpektrum);
    EXPECT_THAT(block.keywords(),
                ::testing::ElementsAre(KeywordRow{"PkAmplType", ValueType::text, 0, 0},
                                       KeywordRow{"PkWndFct", ValueType::text, 0, 0},
                                       KeywordRow{"PkWndCorrectTyp", ValueType::integer, 0, 0},
                                       KeywordRow{"PkWndPara", ValueType::real, 0, 0},
                                       KeywordRow{"PkPhase", ValueType::integer, 0, 0}));
}

TEST_F(RemoteControlTest, CountingWritesTheFirstWordOnly) {
    PlacedBlock block(host, kSpektrum);
    SharedRecord info(host.memory(), kInfoSize);
    fill(info, kInfoSize);
    EXPECT_EQ(request(block, kCountKeywords, &info), 0);
    EXPECT_EQ(contents(info, kInfoSize), std::string("\5\0\0\0", 4) + std::string(12, kUntouched));
}

TEST_F(RemoteControlTest, TheSubCodeIsCutTo16Bits) {
    PlacedBlock block(host, kSpektrum);
    SharedRecord info(host.memory(), kInfoSize);
    EXPECT_EQ(request(block, 65546, &info), 0);
    EXPECT_EQ(contents(info, 4), std::string("\5\0\0\0", 4));
}

TEST_F(RemoteControlTest, SubCode20ClearsTheWordAtOffset12Only) {
    PlacedBlock block(host, kSpektrum);
    SharedRecord info(host.memory(), kInfoSize);
    fill(info, kInfoSize);
    EXPECT_EQ(request(block, kClearWord, &info), 0);
    EXPECT_EQ(contents(info, kInfoSize), std::string(12, kUntouched) + std::string(4, '\0'));
}

TEST_F(RemoteControlTest, RowsLieAtMultiplesOf27Bytes) {
    PlacedBlock block(host, kSpektrum);
    SharedRecord info(host.memory(), kInfoSize);
    SharedRecord table(host.memory(), 5 * kKeywordRow);
    fill(table, 5 * kKeywordRow);
    const Handle handle = table.handle();
    info.write(kInfoTableOffset, &handle, sizeof handle);
    request(block, kListKeywords, &info);
    const std::string bytes = contents(table, 5 * kKeywordRow);
    EXPECT_EQ(bytes.substr(54, kKeywordRow), std::string("PkWndCorrectTyp\0\0", 17) +
                                                 std::string("\x20\0", 2) + std::string(8, '\0'));
}

TEST_F(RemoteControlTest, TheInverseBlockTouchesNeitherRecord) {
    PlacedBlock block(host, kInverseFFT);
    EXPECT_THAT(block.keywords(), IsEmpty());
    SharedRecord info(host.memory(), kInfoSize);
    SharedRecord value(host.memory(), kValueRecordSize);
    fill(info, kInfoSize);
    for (const Int subCode : kSubCodes) {
        EXPECT_EQ(request(block, subCode, &info, &value), 0);
    }
    EXPECT_EQ(contents(info, kInfoSize), std::string(kInfoSize, kUntouched));
    EXPECT_EQ(contents(value, kValueRecordSize), std::string(kValueRecordSize, '\0'));
}

TEST_F(RemoteControlTest, CaseMattersNeitherInKeywordsNorInValueNames) {
    PlacedBlock block(host, kSpektrum);
    block.set("pkwndfct", "hanning");
    EXPECT_EQ(block.getText("PKWNDFCT"), "HANNING");
}

TEST_F(RemoteControlTest, AnUnknownValueNameSetsTheDefault) {
    PlacedBlock block(host, kSpektrum);
    block.set("PkWndFct", "HANNING");
    block.set("PkWndFct", "HANNIN");
    EXPECT_EQ(block.getText("PkWndFct"), "RECTANGLE");
}

TEST_F(RemoteControlTest, KeywordsMustHaveTheirWholeLength) {
    PlacedBlock block(host, kSpektrum);
    for (const char* keyword :
         {"PkWndPar", "PkWndParaX", "", "PkWndPara ", "XkWndPara", " PkWndPara"}) {
        std::string value(8, kUntouched);
        EXPECT_EQ(block.remoteControl(kGetValue, keyword, value), 0);
        EXPECT_EQ(value, std::string(8, kUntouched)) << keyword;
        block.remoteControl(kSetValue, keyword, value);
    }
    EXPECT_EQ(block.getReal("PkWndPara"), 10.0);
}

TEST_F(RemoteControlTest, AKeywordThatFillsItsFieldWithoutATerminatorMatchesNothing) {
    PlacedBlock block(host, kSpektrum);
    SharedRecord info(host.memory(), kInfoSize);
    SharedRecord value(host.memory(), kValueRecordSize);
    SharedRecord buffer(host.memory(), 64);
    const std::string keyword(kValueKeywordSize, 'P');
    value.write(0, keyword.data(), keyword.size());
    void* address = buffer.address();
    value.write(kValueAddressOffset, &address, sizeof address);
    EXPECT_EQ(request(block, kGetValue, &info, &value), 0);
    EXPECT_EQ(contents(buffer, 64), std::string(64, '\0'));
}

class RemoteControl : public AnyBlockTest {
protected:
    void useAfterwards(PlacedBlock& block) {
        run(block, 3);
        takeBoxes();
    }
};

TEST_P(RemoteControl, NamesItsKeywordsWithPkAndKnownTypes) {
    PlacedBlock block(host, type());
    for (const KeywordRow& row : block.keywords()) {
        EXPECT_EQ(row.name.substr(0, 2), "Pk");
        EXPECT_LE(row.name.size(), 16U);
        EXPECT_THAT(row.type, ::testing::AnyOf(ValueType::real, ValueType::integer, ValueType::text,
                                               ValueType::flag))
            << row.name;
        EXPECT_EQ(row.reserved1, 0U);
        EXPECT_EQ(row.reserved2, 0U);
    }
}

TEST_P(RemoteControl, OtherSubCodesDoNothing) {
    PlacedBlock block(host, type());
    const std::string before = block.save();
    SharedRecord info(host.memory(), kInfoSize);
    SharedRecord value(host.memory(), kValueRecordSize);
    fill(info, kInfoSize);
    for (Int subCode = 0; subCode < 65536; ++subCode) {
        if (std::ranges::find(kSubCodes, subCode) != kSubCodes.end()) continue;
        const Int result =
            host.exports().lRemoteControl(1, block.handle(), static_cast<Int>(value.handle()),
                                          subCode, static_cast<Int>(info.handle()));
        ASSERT_EQ(result, 0);
    }
    EXPECT_EQ(contents(info, kInfoSize), std::string(kInfoSize, kUntouched));
    EXPECT_EQ(block.save(), before);
}

TEST_P(RemoteControl, MissingRecordsAreSurvived) {
    PlacedBlock block(host, type());
    const std::string before = block.save();
    const Handle unlockable = host.memory().allocateUnlockable(HostMemory::Kind::record);
    for (const Int subCode : kSubCodes) {
        for (const Int record : {Int{0}, static_cast<Int>(unlockable)}) {
            EXPECT_EQ(host.call(host.exports().lRemoteControl, 1, block.handle(), record, subCode,
                                record),
                      0);
        }
    }
    // A keyword table that is none, or cannot be locked.
    SharedRecord info(host.memory(), kInfoSize);
    for (const Handle table : {Handle::none, unlockable}) {
        info.write(kInfoTableOffset, &table, sizeof table);
        EXPECT_EQ(host.call(host.exports().lRemoteControl, 1, block.handle(), 0, kListKeywords,
                            static_cast<Int>(info.handle())),
                  0);
    }
    host.memory().free(unlockable);
    EXPECT_EQ(block.save(), before);
}

TEST_P(RemoteControl, AValueWithoutAnAddressIsSurvived) {
    PlacedBlock block(host, type());
    const std::string before = block.save();
    for (const KeywordRow& row : block.keywords()) {
        SharedRecord info(host.memory(), kInfoSize);
        SharedRecord value(host.memory(), kValueRecordSize);
        value.write(0, row.name.c_str(), row.name.size() + 1);
        for (const Int subCode : {kGetValue, kSetValue}) {
            EXPECT_EQ(host.call(host.exports().lRemoteControl, 1, block.handle(),
                                static_cast<Int>(value.handle()), subCode,
                                static_cast<Int>(info.handle())),
                      0);
        }
    }
    EXPECT_EQ(block.save(), before);
}

TEST_P(RemoteControl, ReadingChangesNothing) {
    PlacedBlock block(host, type());
    const std::string before = block.save();
    for (const KeywordRow& row : block.keywords())
        block.get(row);
    EXPECT_EQ(block.save(), before);
}

TEST_P(RemoteControl, EveryIntegerIsSurvived) {
    constexpr std::int32_t kNumbers[] = {std::numeric_limits<std::int32_t>::min(), -1, 0, 1, 2, 3,
                                         std::numeric_limits<std::int32_t>::max()};
    for (const KeywordRow& row : PlacedBlock(host, type()).keywords()) {
        if (row.type != ValueType::integer && row.type != ValueType::flag) continue;
        for (const std::int32_t number : kNumbers) {
            SCOPED_TRACE(row.name + " = " + std::to_string(number));
            PlacedBlock block(host, type());
            block.set(row.name, number);
            block.getInteger(row.name);
            useAfterwards(block);
        }
    }
}

TEST_P(RemoteControl, EveryRealIsSurvived) {
    constexpr double kNumbers[] = {std::numeric_limits<double>::quiet_NaN(),
                                   std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   0.0,
                                   -0.0,
                                   -1.0,
                                   1e-320,
                                   1e-300,
                                   1e9,
                                   1e308,
                                   -1e308};
    for (const KeywordRow& row : PlacedBlock(host, type()).keywords()) {
        if (row.type != ValueType::real) continue;
        for (const double number : kNumbers) {
            SCOPED_TRACE(row.name + " = " + std::to_string(number));
            PlacedBlock block(host, type());
            block.set(row.name, number);
            block.getReal(row.name);
            useAfterwards(block);
        }
    }
}

TEST_P(RemoteControl, EveryTextIsSurvived) {
    const std::string texts[] = {
        "",       "no such name",           std::string(4096, 'X'), "\x80\xC4\xFF",
        "%s%s%n", std::string(4096, '\xE4')};
    for (const KeywordRow& row : PlacedBlock(host, type()).keywords()) {
        if (row.type != ValueType::text) continue;
        for (const std::string& text : texts) {
            SCOPED_TRACE(row.name + " = " + text.substr(0, 20));
            PlacedBlock block(host, type());
            block.set(row.name, text);
            const std::string readBack = block.getText(row.name);
            // There it is one byte of an address, which may be 0.
            if (type() != kDualSpektrum) {
                EXPECT_FALSE(readBack.empty());
            }
            useAfterwards(block);
        }
    }
}

TEST_P(RemoteControl, ValuesSetBetweenDataBlocksAreSurvived) {
    std::mt19937 random(8);
    constexpr std::int32_t kIntegers[] = {-5, 0, 1, 2, 3, 4, 5, 10, 25, 64, 100, 200};
    constexpr double kReals[] = {-1, 0, 1e-3, 0.1, 1, 2.5, 10, 100, 1000};
    PlacedBlock block(host, type());
    const auto rows = block.keywords();
    if (rows.empty()) return;
    block.wireAll();
    block.initSim();
    for (int step = 0; step < 2000; ++step) {
        const KeywordRow& row = rows[random() % rows.size()];
        if (row.type == ValueType::real) {
            block.set(row.name, kReals[random() % std::size(kReals)]);
        } else if (row.type != ValueType::text) {
            block.set(row.name, kIntegers[random() % std::size(kIntegers)]);
        }
        block.wireAll();  // the connectors may have changed
        feed(block);
        block.simulate();
        for (int j = 0; j < kMaxConnectors; ++j)
            block.take(j);
        if (random() % 50 == 0) {
            block.stop();
            block.initSim();
        }
    }
    block.stop();
    takeBoxes();
}

VYN_FOR_ALL_TYPES(RemoteControl);

}  // namespace
}  // namespace vynhost::test
