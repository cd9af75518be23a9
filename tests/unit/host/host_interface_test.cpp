// The interface header that is given to others, against the one that vynhost works with.
#include "vynhost/interface/include/vynpack/host_interface.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

#include "unit/host/same_number.h"
#include "vynhost/interface/module_interface.h"

namespace {

using test::number;

#define EXPECT_SAME(given, used) EXPECT_EQ(number(given), number(vynhost::used))
#define EXPECT_SAME_PLACE(given, ofGiven, used, ofUsed) \
    EXPECT_EQ(offsetof(given, ofGiven), offsetof(vynhost::used, ofUsed))

TEST(HostInterface, GivesOthersTheNumbersOfSetUpAndQueries) {
    EXPECT_SAME(VYN_INTERFACE_VERSION, kInterfaceVersion);
    EXPECT_SAME(VYN_OLDEST_HOST_VERSION, kOldestHostVersion);
    EXPECT_SAME(VYN_HOST_WINDOW, kHostWindow);
    EXPECT_SAME(VYN_HOST_MODE, kHostMode);
    EXPECT_SAME(VYN_SHUT_DOWN, kShutDown);
    EXPECT_SAME(VYN_TYPE_COUNT, kTypeCount);
    EXPECT_SAME(VYN_LONG_NAME, kLongName);
    EXPECT_SAME(VYN_SHORT_NAME, kShortName);
    EXPECT_SAME(VYN_CONNECTORS, kConnectors);
    EXPECT_SAME(VYN_INTERFACE, kInterface);
    EXPECT_SAME(VYN_IS_TYPE, kIsType);
    EXPECT_SAME(VYN_ALWAYS_ONE, kAlwaysOne);
    EXPECT_SAME(VYN_ALWAYS_ZERO, kAlwaysZero);
    EXPECT_SAME(VYN_UNKNOWN_QUERY, kUnknownQuery);
    EXPECT_SAME(VYN_MAX_BLOCKS, kMaxBlocks);
}

TEST(HostInterface, GivesOthersTheTypeCodes) {
    EXPECT_SAME(VYN_KLASSIERUNG, kKlassierung);
    EXPECT_SAME(VYN_TERZ_OKTAVE, kTerzOktave);
    EXPECT_SAME(VYN_STATISTIK, kStatistik);
    EXPECT_SAME(VYN_MITTELWERT, kMittelwert);
    EXPECT_SAME(VYN_SPEKTRUM, kSpektrum);
    EXPECT_SAME(VYN_INVERSE_FFT, kInverseFFT);
    EXPECT_SAME(VYN_DUAL_SPEKTRUM, kDualSpektrum);
    EXPECT_SAME(VYN_DIGITAL_FILTER, kDigitalFilter);
    EXPECT_SAME(VYN_FREQ_WEIGHT, kFreqWeight);
    EXPECT_SAME(VYN_LEVEL, kLevel);
    EXPECT_SAME(VYN_FIRST_TYPE, kFirstType);
    EXPECT_SAME(VYN_TYPES, kTypes);
}

TEST(HostInterface, GivesOthersTheNumbersOfMessagesAndSimulation) {
    EXPECT_SAME(VYN_TRIGGER_THRESHOLD, Message::triggerThreshold);
    EXPECT_SAME(VYN_NEW_BLOCK, Message::newBlock);
    EXPECT_SAME(VYN_RELEASE_BLOCK, Message::releaseBlock);
    EXPECT_SAME(VYN_COPY_HEADER, Message::copyHeader);
    EXPECT_SAME(VYN_SHOW_HELP, Message::showHelp);
    EXPECT_SAME(VYN_INPUT_COUNT, Message::inputCount);
    EXPECT_SAME(VYN_OUTPUT_COUNT, Message::outputCount);
    EXPECT_SAME(VYN_MISSING, kMissing);
    EXPECT_SAME(VYN_NOTHING_READY, kNothingReady);
    EXPECT_SAME(VYN_NOT_WIRED, kNotWired);
    EXPECT_SAME(VYN_NOTHING_CONSUMED, kNothingConsumed);
    EXPECT_SAME(VYN_FAILED, kFailed);
    EXPECT_SAME(VYN_MAX_CONNECTORS, kMaxConnectors);
    EXPECT_SAME(VYN_UNWIRED, kUnwired);
}

TEST(HostInterface, GivesOthersTheRecordsPlaces) {
    EXPECT_SAME_PLACE(vyn_simulation_record, input_data, SimulationRecord, inputData);
    EXPECT_SAME_PLACE(vyn_simulation_record, input_channel, SimulationRecord, inputChannel);
    EXPECT_SAME_PLACE(vyn_simulation_record, output_data, SimulationRecord, outputData);
    EXPECT_SAME_PLACE(vyn_simulation_record, output_channel, SimulationRecord, outputChannel);
    EXPECT_EQ(sizeof(vyn_simulation_record), sizeof(vynhost::SimulationRecord));
    EXPECT_SAME_PLACE(vyn_channel_header, value_count, ChannelHeader, valueCount);
    EXPECT_SAME_PLACE(vyn_channel_header, x_axis_kind, ChannelHeader, xAxisKind);
    EXPECT_SAME_PLACE(vyn_channel_header, y_unit, ChannelHeader, yUnit);
    EXPECT_SAME_PLACE(vyn_channel_header, x_start, ChannelHeader, xStart);
    EXPECT_SAME_PLACE(vyn_channel_header, x_step, ChannelHeader, xStep);
    EXPECT_SAME_PLACE(vyn_channel_header, display_minimum, ChannelHeader, displayMinimum);
    EXPECT_SAME_PLACE(vyn_channel_header, display_span, ChannelHeader, displaySpan);
    EXPECT_SAME_PLACE(vyn_channel_header, channel_count, ChannelHeader, channelCount);
    EXPECT_SAME_PLACE(vyn_channel_header, axis_flags, ChannelHeader, axisFlags);
    EXPECT_EQ(sizeof(vyn_channel_header), sizeof(vynhost::ChannelHeader));
    EXPECT_SAME(VYN_VALUES_OFFSET, kValuesOffset);
    EXPECT_SAME(VYN_INFO_COUNT_OFFSET, kInfoCountOffset);
    EXPECT_SAME(VYN_INFO_TABLE_OFFSET, kInfoTableOffset);
    EXPECT_SAME(VYN_INFO_WORD_OFFSET, kInfoWordOffset);
    EXPECT_SAME(VYN_INFO_SIZE, kInfoSize);
    EXPECT_SAME(VYN_VALUE_KEYWORD_SIZE, kValueKeywordSize);
    EXPECT_SAME(VYN_VALUE_ADDRESS_OFFSET, kValueAddressOffset);
    EXPECT_SAME(VYN_VALUE_RECORD_SIZE, kValueRecordSize);
    EXPECT_SAME(VYN_RECORD_FRAME, kRecordFrame);
    EXPECT_SAME(VYN_RECORD_VERSION, kRecordVersion);
}

TEST(HostInterface, GivesOthersTheCodesOfAxesUnitsAndKeywords) {
    EXPECT_SAME(VYN_SECONDS, kSeconds);
    EXPECT_SAME(VYN_MILLISECONDS, kMilliseconds);
    EXPECT_SAME(VYN_HERTZ, kHertz);
    EXPECT_SAME(VYN_KILOHERTZ, kKilohertz);
    EXPECT_SAME(VYN_THIRD_OCTAVE_BANDS, kThirdOctaveBands);
    EXPECT_SAME(VYN_OCTAVE_BANDS, kOctaveBands);
    EXPECT_SAME(VYN_UNIT_NONE, kUnitNone);
    EXPECT_SAME(VYN_UNIT_DECIBEL, kUnitDecibel);
    EXPECT_SAME(VYN_UNIT_DEGREES, kUnitDegrees);
    EXPECT_SAME(VYN_UNIT_POWER, kUnitPower);
    EXPECT_SAME(VYN_UNIT_PERCENT, kUnitPercent);
    EXPECT_SAME(VYN_UNIT_AMPLITUDE, kUnitAmplitude);
    EXPECT_SAME(VYN_COUNT_KEYWORDS, kCountKeywords);
    EXPECT_SAME(VYN_CLEAR_WORD, kClearWord);
    EXPECT_SAME(VYN_LIST_KEYWORDS, kListKeywords);
    EXPECT_SAME(VYN_GET_VALUE, kGetValue);
    EXPECT_SAME(VYN_SET_VALUE, kSetValue);
    EXPECT_SAME(VYN_REAL, ValueType::real);
    EXPECT_SAME(VYN_INTEGER, ValueType::integer);
    EXPECT_SAME(VYN_TEXT, ValueType::text);
    EXPECT_SAME(VYN_FLAG, ValueType::flag);
    EXPECT_SAME(VYN_KEYWORD_ROW, kKeywordRow);
    EXPECT_SAME(VYN_KEYWORD_NAME_SIZE, kKeywordNameSize);
    EXPECT_SAME(VYN_KEYWORD_TYPE_OFFSET, kKeywordTypeOffset);
}

#undef EXPECT_SAME
#undef EXPECT_SAME_PLACE

}  // namespace
