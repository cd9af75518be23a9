#include "dialogs/digital_filter_draft.h"

#include <gtest/gtest.h>

namespace vynpack {
namespace {

using Filter = FilterDesign;

// A draft that nothing is wrong with.
FilterDraft valid() {
    return {.fir = true,
            .windowEntry = 4,
            .kaiser = false,
            .characteristicEntry = 0,
            .mode = Filter::kLowPass,
            .length = "25",
            .order = "2",
            .ripple = "1.2",
            .attenuation = "40",
            .cutoff = "500",
            .lower = "100",
            .upper = "1000"};
}

struct FaultRow {
    const char* name;
    void (*spoil)(FilterDraft&);
    TextId fault;
};

class FilterFault : public testing::TestWithParam<FaultRow> {};

TEST_P(FilterFault, IsFound) {
    FilterDraft draft = valid();
    GetParam().spoil(draft);
    EXPECT_EQ(check(draft), GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(
    Checks, FilterFault,
    testing::Values(
        FaultRow{"BandPassLowerZero",
                 [](FilterDraft& d) { d.mode = Filter::kBandPass, d.lower = "0"; },
                 kTextFrequencyZero},
        FaultRow{"BandStopLowerNegative",
                 [](FilterDraft& d) { d.mode = Filter::kBandStop, d.lower = "-1"; },
                 kTextFrequencyZero},
        FaultRow{"LowPassCutoffZero", [](FilterDraft& d) { d.cutoff = "0"; }, kTextFrequencyZero},
        FaultRow{"HighPassCutoffNoNumber",
                 [](FilterDraft& d) { d.mode = Filter::kHighPass, d.cutoff = "x"; },
                 kTextFrequencyZero},
        FaultRow{"BandPassEdgesEqual",
                 [](FilterDraft& d) { d.mode = Filter::kBandPass, d.lower = "1000"; },
                 kTextEdgesCrossed},
        FaultRow{"FirLengthEven", [](FilterDraft& d) { d.length = "24"; }, kTextFilterLength},
        FaultRow{"FirLengthOne", [](FilterDraft& d) { d.length = "1"; }, kTextFilterLength},
        FaultRow{"FirLengthFraction", [](FilterDraft& d) { d.length = "25.5"; }, kTextFilterLength},
        FaultRow{"IirOrderZero", [](FilterDraft& d) { d.fir = false, d.order = "0"; },
                 kTextFilterOrder},
        FaultRow{"IirOrderFraction", [](FilterDraft& d) { d.fir = false, d.order = "1.5"; },
                 kTextFilterOrder},
        FaultRow{"ChebyshevRippleZero",
                 [](FilterDraft& d) { d.characteristicEntry = 1, d.ripple = "0"; },
                 kTextRippleZeroChebyshev},
        FaultRow{"EllipticRippleZero",
                 [](FilterDraft& d) { d.characteristicEntry = 2, d.ripple = "0"; },
                 kTextRippleZeroElliptic},
        FaultRow{"EllipticRippleIsAttenuation",
                 [](FilterDraft& d) { d.characteristicEntry = 2, d.ripple = "40"; },
                 kTextRippleAboveAttenuation},
        FaultRow{"InverseChebyshevAttenuationZero",
                 [](FilterDraft& d) { d.characteristicEntry = 3, d.attenuation = "0"; },
                 kTextAttenuationZero}),
    [](const auto& row) { return row.param.name; });

TEST(FilterDraft, IsAcceptedWhenNothingIsWrong) {
    FilterDraft draft = valid();
    EXPECT_FALSE(check(draft));
    EXPECT_EQ(draft.length, "25");
    EXPECT_EQ(draft.upper, "1000");
}

TEST(FilterDraft, CorrectsWhatTheChosenFilterDoesNotUse) {
    FilterDraft draft = valid();
    draft.lower = "0";
    draft.upper = "1";
    EXPECT_FALSE(check(draft));
    EXPECT_EQ(draft.lower, "1");
    EXPECT_EQ(draft.upper, "2");

    draft = valid();
    draft.lower = "1500.75";
    EXPECT_FALSE(check(draft));
    EXPECT_EQ(draft.lower, "1500");
    EXPECT_EQ(draft.upper, "1501");

    draft = valid();
    draft.fir = false;
    draft.length = "1e300";
    EXPECT_FALSE(check(draft));
    EXPECT_EQ(draft.length, "2147483648");

    draft = valid();
    draft.order = "-3";
    draft.ripple = "-1";
    draft.attenuation = "0";
    EXPECT_FALSE(check(draft));
    EXPECT_EQ(draft.order, "1");
    EXPECT_EQ(draft.ripple, "0.1");
    EXPECT_EQ(draft.attenuation, "1.1");
}

TEST(FilterDraft, KeepsTheCorrectionsBeforeAFault) {
    FilterDraft draft = valid();
    draft.lower = "0";
    draft.length = "4";
    EXPECT_EQ(check(draft), kTextFilterLength);
    EXPECT_EQ(draft.lower, "1");
}

TEST(FilterDraft, StoresWhatItShows) {
    TODigitalFilter::Parameters before;
    before.characteristic = Filter::kElliptic;
    before.fir = 0;
    before.mode = Filter::kBandStop;
    before.cutoff = 440.9;
    TODigitalFilter::Parameters stored;
    accept(draftOf(before), stored);
    EXPECT_EQ(stored.characteristic, Filter::kElliptic);
    EXPECT_EQ(stored.fir, 0U);
    EXPECT_EQ(stored.mode, Filter::kBandStop);
    EXPECT_EQ(stored.cutoff, 440.0);
    EXPECT_EQ(stored.length, before.length);
    EXPECT_EQ(stored.ripple, before.ripple);
}

TEST(FilterDraft, CountsAListWithoutSelectionAsMinusOneAndLeavesAnUnknownMode) {
    FilterDraft draft = valid();
    draft.windowEntry = -1;
    draft.characteristicEntry = -1;
    draft.mode = 0;
    TODigitalFilter::Parameters stored;
    stored.mode = 118;
    accept(draft, stored);
    EXPECT_EQ(stored.window, 98);
    EXPECT_EQ(stored.characteristic, 107);
    EXPECT_EQ(stored.mode, 118);
}

TEST(FilterDraft, StepsInWholeNumbersWhereItCan) {
    EXPECT_EQ(steppedFilterValue("1234567", ScrollStep::up, 1.0, 1.0), "1234568");
    EXPECT_EQ(steppedFilterValue("0.3", ScrollStep::down, 0.1, 0.1), "0.2");
    EXPECT_EQ(steppedFilterValue("0.1", ScrollStep::down, 0.1, 0.1), "0.1");
    EXPECT_EQ(steppedFilterValue("3", ScrollStep::down, 2.0, 3.0), "3");
    EXPECT_EQ(steppedFilterValue("1e300", ScrollStep::up, 1.0, 1.0), "1e+300");
}

}  // namespace
}  // namespace vynpack
