// The interface's numbers as the module has written them down, against the host's list.
#include "host/module_interface.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "blocks/classify/TOKlassierung.h"
#include "blocks/filter/TODigitalFilter.h"
#include "blocks/filter/TOFreqWeight.h"
#include "blocks/filter/TOLevel.h"
#include "blocks/spectral/TODualSpektrum.h"
#include "blocks/spectral/TOInverseFFT.h"
#include "blocks/spectral/TOSpektrum.h"
#include "blocks/spectral/TOTerz_Oktave.h"
#include "blocks/stats/TOMittelwert.h"
#include "blocks/stats/TOStatistik.h"
#include "host/channel_block.h"
#include "host/entry/block_types.h"
#include "host/simulation_record.h"
#include "unit/host/same_number.h"
#include "vynhost/interface/module_interface.h"

namespace {

using test::number;

#define EXPECT_SAME(ofTheModule, ofTheHost) \
    EXPECT_EQ(number(vynpack::ofTheModule), number(vynhost::ofTheHost))

TEST(ModuleInterface, NumbersTheSetUpAlike) {
    EXPECT_SAME(SetInitMode::hostWindow, kHostWindow);
    EXPECT_SAME(SetInitMode::hostMode, kHostMode);
    EXPECT_SAME(SetInitMode::shutDown, kShutDown);
    EXPECT_SAME(kInterfaceVersion, kInterfaceVersion);
    EXPECT_SAME(kOldestHost, kOldestHostVersion);
}

TEST(ModuleInterface, NumbersTheQueriesAlike) {
    EXPECT_SAME(Query::typeCount, kTypeCount);
    EXPECT_SAME(Query::longName, kLongName);
    EXPECT_SAME(Query::shortName, kShortName);
    EXPECT_SAME(Query::connectors, kConnectors);
    EXPECT_SAME(Query::interfaceVersion, kInterface);
    EXPECT_SAME(Query::isBlockType, kIsType);
    EXPECT_SAME(Query::alwaysOne, kAlwaysOne);
    EXPECT_SAME(Query::unusedWord, kAlwaysZero);
    EXPECT_SAME(kUnknownQuery, kUnknownQuery);
}

TEST(ModuleInterface, NumbersTheBlockTypesAlike) {
    EXPECT_SAME(kTypeKlassierung, kKlassierung);
    EXPECT_SAME(kTypeTerz_Oktave, kTerzOktave);
    EXPECT_SAME(kTypeStatistik, kStatistik);
    EXPECT_SAME(kTypeMittelwert, kMittelwert);
    EXPECT_SAME(kTypeSpektrum, kSpektrum);
    EXPECT_SAME(kTypeInverseFFT, kInverseFFT);
    EXPECT_SAME(kTypeDualSpektrum, kDualSpektrum);
    EXPECT_SAME(kTypeDigitalFilter, kDigitalFilter);
    EXPECT_SAME(kTypeFreqWeight, kFreqWeight);
    EXPECT_SAME(kTypeLevel, kLevel);
    EXPECT_SAME(kFirstBlockType, kFirstType);
    EXPECT_SAME(kBlockTypes, kTypes);
    EXPECT_SAME(kMaxBlocks, kMaxBlocks);
}

TEST(ModuleInterface, NumbersTheMessagesAlike) {
    EXPECT_SAME(HostMessage::triggerThreshold, Message::triggerThreshold);
    EXPECT_SAME(HostMessage::newBlock, Message::newBlock);
    EXPECT_SAME(HostMessage::releaseBlock, Message::releaseBlock);
    EXPECT_SAME(HostMessage::copyHeader, Message::copyHeader);
    EXPECT_SAME(HostMessage::showHelp, Message::showHelp);
    EXPECT_SAME(HostMessage::inputCount, Message::inputCount);
    EXPECT_SAME(HostMessage::outputCount, Message::outputCount);
}

TEST(ModuleInterface, NumbersTheResultsAlike) {
    EXPECT_SAME(kNoBlock, kMissing);
    EXPECT_SAME(kNotReady, kNothingReady);
    EXPECT_SAME(kNotWired, kNotWired);
    EXPECT_SAME(kNothingConsumed, kNothingConsumed);
    EXPECT_SAME(kFailed, kFailed);
}

TEST(ModuleInterface, NumbersAxesAndUnitsAlike) {
    EXPECT_SAME(kAxisSeconds, kSeconds);
    EXPECT_SAME(kAxisMilliseconds, kMilliseconds);
    EXPECT_SAME(kAxisHertz, kHertz);
    EXPECT_SAME(kAxisKilohertz, kKilohertz);
    EXPECT_SAME(kAxisThirdOctaveBands, kThirdOctaveBands);
    EXPECT_SAME(kAxisOctaveBands, kOctaveBands);
    EXPECT_SAME(kUnitNone, kUnitNone);
    EXPECT_SAME(kUnitDecibel, kUnitDecibel);
    EXPECT_SAME(kUnitDegrees, kUnitDegrees);
    EXPECT_SAME(kUnitPower, kUnitPower);
    EXPECT_SAME(kUnitPercent, kUnitPercent);
    EXPECT_SAME(kUnitAmplitude, kUnitAmplitude);
}

TEST(ModuleInterface, LaysOutTheRecordsOfARunAlike) {
    using Ours = vynpack::SimulationRecord;
    using Theirs = vynhost::SimulationRecord;
    EXPECT_SAME(kMaxConnectors, kMaxConnectors);
    EXPECT_EQ(offsetof(Ours, inputData), offsetof(Theirs, inputData));
    EXPECT_EQ(offsetof(Ours, inputChannel), offsetof(Theirs, inputChannel));
    EXPECT_EQ(offsetof(Ours, outputData), offsetof(Theirs, outputData));
    EXPECT_EQ(offsetof(Ours, outputChannel), offsetof(Theirs, outputChannel));
    EXPECT_EQ(sizeof(Ours), sizeof(Theirs));

    using OurHeader = vynpack::ChannelBlockHeader;
    using TheirHeader = vynhost::ChannelHeader;
    EXPECT_EQ(offsetof(OurHeader, valueCount), offsetof(TheirHeader, valueCount));
    EXPECT_EQ(offsetof(OurHeader, xAxisKind), offsetof(TheirHeader, xAxisKind));
    EXPECT_EQ(offsetof(OurHeader, yUnit), offsetof(TheirHeader, yUnit));
    EXPECT_EQ(offsetof(OurHeader, xStart), offsetof(TheirHeader, xStart));
    EXPECT_EQ(offsetof(OurHeader, xStep), offsetof(TheirHeader, xStep));
    EXPECT_EQ(offsetof(OurHeader, displayMinimum), offsetof(TheirHeader, displayMinimum));
    EXPECT_EQ(offsetof(OurHeader, displaySpan), offsetof(TheirHeader, displaySpan));
    EXPECT_EQ(offsetof(OurHeader, channelCount), offsetof(TheirHeader, channelCount));
    EXPECT_EQ(offsetof(OurHeader, axisFlags), offsetof(TheirHeader, axisFlags));
    EXPECT_SAME(kChannelValuesOffset, kValuesOffset);
}

TEST(ModuleInterface, SpeaksTheKeywordProtocolAlike) {
    EXPECT_SAME(SubCode::countKeywords, kCountKeywords);
    EXPECT_SAME(SubCode::clearWord, kClearWord);
    EXPECT_SAME(SubCode::listKeywords, kListKeywords);
    EXPECT_SAME(SubCode::getValue, kGetValue);
    EXPECT_SAME(SubCode::setValue, kSetValue);
    EXPECT_SAME(ValueType::real, ValueType::real);
    EXPECT_SAME(ValueType::integer, ValueType::integer);
    EXPECT_SAME(ValueType::text, ValueType::text);
    EXPECT_SAME(ValueType::flag, ValueType::flag);
    EXPECT_SAME(kKeywordRowSize, kKeywordRow);
    EXPECT_SAME(kKeywordNameSize, kKeywordNameSize);
    EXPECT_SAME(kKeywordTypeOffset, kKeywordTypeOffset);
    EXPECT_SAME(kInfoTableOffset, kInfoTableOffset);
    EXPECT_SAME(kInfoWordOffset, kInfoWordOffset);
    EXPECT_SAME(kInfoRecordSize, kInfoSize);
    EXPECT_SAME(kValueKeywordSize, kValueKeywordSize);
    EXPECT_SAME(kValueAddressOffset, kValueAddressOffset);
    EXPECT_SAME(kValueRecordSize, kValueRecordSize);
}

TEST(ModuleInterface, BeginsTheParameterRecordsAlike) {
    EXPECT_SAME(kFormatVersion, kRecordVersion);
    using namespace vynpack;
    const std::array<std::int32_t, kBlockTypes> sizeWords = {
        TOKlassierung::Parameters::kRecordSizeWord,  TOTerz_Oktave::Parameters::kRecordSizeWord,
        TOStatistik::Parameters::kRecordSizeWord,    TOMittelwert::Parameters::kRecordSizeWord,
        TOSpektrum::Parameters::kRecordSizeWord,     TOInverseFFT::Parameters::kRecordSizeWord,
        TODualSpektrum::Parameters::kRecordSizeWord, TODigitalFilter::Parameters::kRecordSizeWord,
        TOFreqWeight::Parameters::kRecordSizeWord,   TOLevel::Parameters::kRecordSizeWord};
    EXPECT_EQ(sizeWords, vynhost::kRecordSizeWords);
}

TEST(ModuleInterface, TheTableOfBlockTypesHoldsTheHostsTypesAndNoOther) {
    for (int code = vynhost::kFirstType; code < vynhost::kFirstType + vynhost::kTypes; ++code) {
        ASSERT_NE(vynpack::findBlockType(code), nullptr) << code;
        EXPECT_EQ(vynpack::findBlockType(code)->code, code);
    }
    EXPECT_EQ(vynpack::findBlockType(vynhost::kFirstType - 1), nullptr);
    EXPECT_EQ(vynpack::findBlockType(vynhost::kFirstType + vynhost::kTypes), nullptr);
}

#undef EXPECT_SAME

}  // namespace
