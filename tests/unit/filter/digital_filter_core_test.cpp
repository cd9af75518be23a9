#include "blocks/filter/core/digital_filter_core.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace vynpack {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Numbers = std::vector<double>;

// Stands for the library: notes what it is asked for.
struct Library {
    struct Call {
        std::string function;
        Numbers numbers;
        void* object = nullptr;
    };
    mutable std::vector<Call> calls;

    void designFir(int kind, double rate, double lower, double upper, int length, int window,
                   double beta, double* coefficients) const {
        calls.push_back(
            {"FIR", {double(kind), rate, lower, upper, double(length), double(window), beta}});
        for (int i = 0; i < length; ++i)
            coefficients[i] = i == 0 ? 1.0 : 0.0;
    }
    void designButterworth(double rate, double lower, double upper, void* object) const {
        calls.push_back({"Butterworth", {rate, lower, upper}, object});
    }
    void designChebyshev(double rate, double lower, double upper, double ripple,
                         void* object) const {
        calls.push_back({"Chebyshev", {rate, lower, upper, ripple}, object});
    }
    void designInverseChebyshev(double rate, double lower, double upper, double attenuation,
                                void* object) const {
        calls.push_back({"inverse Chebyshev", {rate, lower, upper, attenuation}, object});
    }
    void designElliptic(double rate, double lower, double upper, double ripple, double attenuation,
                        void* object) const {
        calls.push_back({"elliptic", {rate, lower, upper, ripple, attenuation}, object});
    }
    void designBessel(double rate, double lower, double upper, void* object) const {
        calls.push_back({"Bessel", {rate, lower, upper}, object});
    }
};

FilterDesign withMode(int mode) {
    FilterDesign design;
    design.mode = static_cast<std::int16_t>(mode);
    return design;
}

TEST(FilterDesign, BeginsAsAFirLowPassWithoutACharacteristic) {
    const FilterDesign design;
    EXPECT_EQ(design.fir, 1U);
    EXPECT_EQ(design.mode, 114);
    EXPECT_EQ(design.cutoff, 500.0);
    EXPECT_EQ(design.upper, 1000.0);
    EXPECT_EQ(design.lower, 100.0);
    EXPECT_EQ(design.window, 103);
    EXPECT_EQ(design.length, 25);
    EXPECT_EQ(design.kaiser, 0U);
    EXPECT_EQ(design.characteristic, 114);
    EXPECT_EQ(design.ripple, 1.2);
    EXPECT_EQ(design.attenuation, 40.0);
    EXPECT_EQ(design.order, 2);
}

TEST(FilterDesign, NumbersTheFourKindsFromZero) {
    for (int kind = 0; kind < 4; ++kind) {
        EXPECT_EQ(withMode(114 + kind).kind(), kind);
        EXPECT_TRUE(withMode(114 + kind).kindExists());
    }
    EXPECT_FALSE(withMode(113).kindExists());
    EXPECT_FALSE(withMode(118).kindExists());  // all pass has a name and no filter
}

TEST(FilterDesign, HasTwoEdgesInBandsAloneAndOtherwiseTheCutoffTwice) {
    for (const int mode : {114, 115, 118}) {
        EXPECT_EQ(withMode(mode).lowerEdge(), 500.0) << mode;
        EXPECT_EQ(withMode(mode).upperEdge(), 500.0) << mode;
    }
    for (const int mode : {116, 117}) {
        EXPECT_EQ(withMode(mode).lowerEdge(), 100.0) << mode;
        EXPECT_EQ(withMode(mode).upperEdge(), 1000.0) << mode;
    }
}

TEST(FilterDesign, AnEdgeAtHalfTheRateIsTooHigh) {
    for (const int mode : {114, 115}) {
        EXPECT_EQ(edgeFaultOf(withMode(mode), 1000.0), EdgeFault::cutoff) << mode;
        EXPECT_EQ(edgeFaultOf(withMode(mode), 1000.1), EdgeFault::none) << mode;
    }
    for (const int mode : {116, 117}) {
        EXPECT_EQ(edgeFaultOf(withMode(mode), 2000.0), EdgeFault::upperEdge) << mode;
        EXPECT_EQ(edgeFaultOf(withMode(mode), 2000.1), EdgeFault::none) << mode;
    }
    EXPECT_EQ(edgeFaultOf(withMode(118), 1.0), EdgeFault::none) << "what is no filter has no edge";
}

TEST(FilterDesign, OfABandOnlyTheUpperEdgeIsCompared) {
    FilterDesign design = withMode(FilterDesign::kBandPass);
    design.lower = 1e6;
    EXPECT_EQ(edgeFaultOf(design, 48000.0), EdgeFault::none);
}

TEST(FirWindow, HasTheLibrarysCodeAndNoBeta) {
    const struct {
        int window, code;
        double beta;
    } rows[] = {{99, 0, 0.0},   {100, 30, 1.33}, {101, 1, 3.86}, {102, 2, 4.86},
                {103, 5, 7.04}, {98, 0, 0.0},    {104, 0, 0.0}};
    for (const auto& row : rows) {
        FilterDesign design;
        design.window = static_cast<std::int16_t>(row.window);
        EXPECT_EQ(firWindowOf(design).code, row.code) << row.window;
        EXPECT_EQ(firWindowOf(design).kaiserBeta, 0.0) << row.window;
        design.kaiser = 1;
        EXPECT_EQ(firWindowOf(design).code, 60) << row.window;
        EXPECT_EQ(firWindowOf(design).kaiserBeta, row.beta) << row.window;
    }
}

TEST(FirDesign, IsAskedForOnceForAllChannels) {
    const Library library;
    FilterDesign design = withMode(FilterDesign::kBandStop);
    design.kaiser = 1;
    design.window = FilterDesign::kHanning;
    EXPECT_TRUE(makeFirBank(design, 32, 48000.0, library));
    ASSERT_EQ(library.calls.size(), 1U);
    EXPECT_THAT(library.calls[0].numbers, ElementsAre(3, 48000, 100, 1000, 25, 60, 3.86));
}

TEST(FirDesign, WithoutALengthIsSilenceAndAsksForNothing) {
    const Library library;
    for (const int length : {0, -1, std::numeric_limits<int>::min()}) {
        FilterDesign design;
        design.length = length;
        auto bank = makeFirBank(design, 1, 48000.0, library);
        ASSERT_TRUE(bank) << length;
        const std::vector<float> in = {1.0F, 2.0F};
        std::vector<float> out = {7.0F, 7.0F};
        bank->filter(nullptr, in, out);
        EXPECT_THAT(out, ElementsAre(0.0F, 0.0F)) << length;
    }
    EXPECT_THAT(library.calls, IsEmpty());
}

TEST(FirDesign, ThatWouldTakeTooMuchMemoryIsRefusedUnasked) {
    const Library library;
    FilterDesign design;
    design.length = (1 << 20) + 1;
    EXPECT_FALSE(makeFirBank(design, 1, 48000.0, library)) << "too many taps";
    design.length = 1 << 20;
    EXPECT_TRUE(firFits(design, 1));
    EXPECT_FALSE(makeFirBank(design, 1000, 48000.0, library)) << "too many histories";
    EXPECT_FALSE(firFits(design, std::numeric_limits<int>::max()));
    EXPECT_THAT(library.calls, IsEmpty());
}

TEST(IirDesign, AsksForItsCharacteristicWithWhatThatNeeds) {
    const struct {
        FilterDesign::Characteristic characteristic;
        const char* function;
        Numbers numbers;
    } rows[] = {{FilterDesign::kButterworth, "Butterworth", {8000, 100, 1000}},
                {FilterDesign::kChebyshev, "Chebyshev", {8000, 100, 1000, 1.2}},
                {FilterDesign::kElliptic, "elliptic", {8000, 100, 1000, 1.2, 40}},
                {FilterDesign::kInverseChebyshev, "inverse Chebyshev", {8000, 100, 1000, 40}},
                {FilterDesign::kBessel, "Bessel", {8000, 100, 1000}}};
    for (const auto& row : rows) {
        const Library library;
        FilterDesign design = withMode(FilterDesign::kBandPass);
        design.characteristic = row.characteristic;
        int object = 0;
        designIir(design, 8000.0, library, &object);
        ASSERT_EQ(library.calls.size(), 1U) << row.function;
        EXPECT_EQ(library.calls[0].function, row.function);
        EXPECT_EQ(library.calls[0].numbers, row.numbers) << row.function;
        EXPECT_EQ(library.calls[0].object, &object) << row.function;
    }
}

TEST(IirDesign, WithoutACharacteristicAsksForNothing) {
    const Library library;
    for (const int characteristic : {107, 113, 114, 0, -1}) {
        FilterDesign design;
        design.characteristic = static_cast<std::int16_t>(characteristic);
        designIir(design, 8000.0, library, nullptr);
    }
    EXPECT_THAT(library.calls, IsEmpty());
}

}  // namespace
}  // namespace vynpack
