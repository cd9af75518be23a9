// The designs against an independent implementation's (tests/data/analysis/make_references.py).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/source_folder.h"
#include "unit/analysis/filter_fixture.h"

namespace ovanlys {
namespace {

using test::Characteristic;
using test::DesignCase;
using test::Filter;
using test::Samples;

std::ifstream references(const std::string& name) {
    std::ifstream file(std::string(vynhost::test::kSourceFolder) + "/tests/data/analysis/" + name);
    EXPECT_TRUE(file) << name;
    return file;
}

struct Reference {
    DesignCase design;
    std::vector<std::pair<double, double>> magnitudes;  // Hz, magnitude
    std::vector<std::pair<std::size_t, double>> impulse;
};

std::vector<Reference> iirReferences() {
    const std::map<std::string, Characteristic> names = {
        {"butterworth", Characteristic::butterworth},
        {"chebyshev", Characteristic::chebyshev},
        {"inverse", Characteristic::inverseChebyshev},
        {"elliptic", Characteristic::elliptic},
        {"bessel", Characteristic::bessel},
    };
    std::vector<Reference> result;
    auto file = references("iir_references.txt");
    for (std::string text; std::getline(file, text);) {
        std::istringstream line(text);
        std::string word;
        line >> word;
        if (word == "design") {
            DesignCase& c = result.emplace_back().design;
            line >> word >> c.kind >> c.order >> c.rate >> c.f1 >> c.f2 >> c.ripple >>
                c.attenuation;
            c.characteristic = names.at(word);
        } else if (word == "magnitude") {
            for (double f = 0, value = 0; line >> f >> value;)
                result.back().magnitudes.emplace_back(f, value);
        } else if (word == "impulse") {
            std::size_t sample = 0;
            for (double value = 0; line >> sample >> value;)
                result.back().impulse.emplace_back(sample, value);
        }
    }
    return result;
}

// 5 characteristics, 4 kinds, 20 orders, 3 pairs of edges.
constexpr std::size_t kIirReferences = 5 * 4 * 20 * 3;

TEST(IirReferences, MagnitudesAgreeToOneInABillionInThePassBand) {
    const auto all = iirReferences();
    ASSERT_EQ(all.size(), kIirReferences);
    std::size_t compared = 0;
    for (const Reference& reference : all) {
        SCOPED_TRACE(testing::PrintToString(reference.design));
        const Filter filter(reference.design.kind, reference.design.order);
        ASSERT_EQ(test::design(reference.design, filter.object()), 0);
        for (const auto& [frequency, expected] : reference.magnitudes) {
            if (expected < 0.5) continue;  // the inverse Chebyshev edges are stop-band edges
            const double actual = test::magnitude(filter.head(), reference.design.rate, frequency);
            EXPECT_NEAR(actual / expected, 1.0, 1e-9) << frequency << " Hz";
            ++compared;
        }
    }
    EXPECT_GT(compared, 10000u);
}

TEST(IirReferences, ImpulseResponsesAgree) {
    const auto all = iirReferences();
    ASSERT_EQ(all.size(), kIirReferences);
    for (const Reference& reference : all) {
        SCOPED_TRACE(testing::PrintToString(reference.design));
        const Filter filter(reference.design.kind, reference.design.order);
        ASSERT_EQ(test::design(reference.design, filter.object()), 0);
        Samples x(reference.impulse.back().first + 1, 0.0);
        x[0] = 1.0;
        const Samples y = filter(x);
        ASSERT_EQ(reference.impulse.size(), 12u);
        for (const auto& [sample, expected] : reference.impulse)
            EXPECT_NEAR(y[sample], expected, 1e-10) << "sample " << sample;
    }
}

TEST(FirReferences, CoefficientsAgree) {
    auto file = references("fir_references.txt");
    std::size_t designs = 0;
    for (std::string text; std::getline(file, text);) {
        if (text.starts_with('#')) continue;
        std::istringstream line(text);
        int kind = 0;
        int window = 0;
        std::size_t length = 0;
        double rate = 0, f1 = 0, f2 = 0, beta = 0;
        line >> kind >> rate >> f1 >> f2 >> length >> window >> beta;
        Samples expected;
        for (double value = 0; line >> value;)
            expected.push_back(value);
        SCOPED_TRACE(text.substr(0, 50));
        ASSERT_EQ(expected.size(), (length + 1) / 2);
        Samples coefficients(length);
        ASSERT_EQ(ZABFunc335(kind, rate, f1, f2, static_cast<int>(length), window, beta,
                             coefficients.data()),
                  0);
        // Relative to the largest: the reference's own sums are in double.
        const double largest =
            std::abs(*std::max_element(expected.begin(), expected.end(), [](double a, double b) {
                return std::abs(a) < std::abs(b);
            }));
        for (std::size_t i = 0; i < length; ++i)
            EXPECT_NEAR(coefficients[i], expected[std::min(i, length - 1 - i)], 1e-13 * largest)
                << i;
        ++designs;
    }
    EXPECT_EQ(designs, 420u);  // (2 * 46 + 2 * 24) * 3
}

}  // namespace
}  // namespace ovanlys
