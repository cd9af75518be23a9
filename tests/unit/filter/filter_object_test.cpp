#include "libs/filter_object.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace vynpack {
namespace {

// A library of three functions that keeps a ledger of its objects.
std::set<void*>& alive() {
    static std::set<void*> objects;
    return objects;
}
extern "C" void* createObject(int kind, int order) {
    if (kind < 0 || order < 1) return nullptr;
    return *alive().insert(new ovanlys::FilterHead{}).first;
}
extern "C" void destroyObject(void* object) {
    EXPECT_EQ(alive().erase(object), 1U);
    delete static_cast<ovanlys::FilterHead*>(object);
}
extern "C" int doubleSamples(const double* in, int n, void* object, double* out) {
    EXPECT_EQ(alive().count(object), 1U);
    for (int i = 0; i < n; ++i)
        out[i] = 2.0 * in[i];
    return 0;
}

AnalysisFunctions boundFunctions() {
    AnalysisFunctions functions;
    functions.createFilter.bind(reinterpret_cast<void*>(&createObject));
    functions.destroyFilter.bind(reinterpret_cast<void*>(&destroyObject));
    functions.filter.bind(reinterpret_cast<void*>(&doubleSamples));
    return functions;
}

TEST(FilterObject, OwnsOneObject) {
    const AnalysisFunctions functions = boundFunctions();
    {
        const FilterObject object(functions, 0, 2);
        EXPECT_TRUE(object);
        EXPECT_EQ(alive().size(), 1U);
    }
    EXPECT_TRUE(alive().empty());
}

TEST(FilterObject, IsEmptyWhenTheLibraryRefuses) {
    const AnalysisFunctions functions = boundFunctions();
    EXPECT_FALSE(FilterObject(functions, -1, 2));
    EXPECT_FALSE(FilterObject(functions, 0, 0));
    EXPECT_FALSE(FilterObject());
}

TEST(FilterObject, MovesWithoutLosingOrSharing) {
    const AnalysisFunctions functions = boundFunctions();
    {
        std::vector<FilterObject> objects;
        for (int i = 0; i < 10; ++i)
            objects.emplace_back(functions, 0, 2);
        EXPECT_EQ(alive().size(), 10U);
        objects[0] = std::move(objects[1]);
        objects.erase(objects.begin() + 3, objects.end());
        FilterObject taken = std::move(objects[0]);
        EXPECT_TRUE(taken);
        EXPECT_FALSE(objects[0]);
    }
    EXPECT_TRUE(alive().empty());
}

TEST(FilterObject, FiltersInPlace) {
    const AnalysisFunctions functions = boundFunctions();
    const FilterObject object(functions, 0, 2);
    std::vector<double> samples = {1.0, 2.0};
    object.filter(samples);
    EXPECT_EQ(samples, (std::vector<double>{2.0, 4.0}));
}

TEST(FilterObject, DestructionAfterUnloadDoesNothing) {
    AnalysisFunctions functions = boundFunctions();
    {
        const FilterObject object(functions, 0, 2);
        functions.destroyFilter.bind(nullptr);
    }
    ASSERT_EQ(alive().size(), 1U);
    destroyObject(*alive().begin());
}

TEST(FilterObject, FilteringAfterUnloadRaises) {
    AnalysisFunctions functions = boundFunctions();
    const FilterObject object(functions, 0, 2);
    functions.filter.bind(nullptr);
    std::vector<double> samples = {1.0};
    EXPECT_THROW(object.filter(samples), AnalysisFunctionMissing);
    EXPECT_THROW(FilterObject(AnalysisFunctions{}, 0, 2), AnalysisFunctionMissing);
}

}  // namespace
}  // namespace vynpack
