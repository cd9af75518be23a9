// A host that calls from a thread with little stack.
#include <pthread.h>

#include <functional>

#include "interface/any_block_test.h"

namespace vynhost::test {
namespace {

// Of which this program's own frames and the test host's take a part.
constexpr std::size_t kStack = std::size_t{64} << 10;

void onSmallStack(std::function<void()> work) {
    pthread_attr_t attributes;
    ASSERT_EQ(::pthread_attr_init(&attributes), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, kStack), 0);
    pthread_t thread{};
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(::pthread_create(&thread, &attributes, run, &work), 0);
    ::pthread_join(thread, nullptr);
    ::pthread_attr_destroy(&attributes);
}

class SmallStack : public AnyBlockTest {};

TEST_P(SmallStack, IsEnoughForAWholeLife) {
#if defined(VYN_SANITIZED)
    GTEST_SKIP() << "the sanitizer's frames are larger";
#endif
    std::vector<Outputs> expected;
    {
        PlacedBlock block(host, type());
        expected = run(block, 3);
    }
    std::vector<Outputs> here;
    onSmallStack([&] {
        PlacedBlock block(host, type());
        const std::string record = block.save();
        PlacedBlock restored(host, type(), record);
        here = run(restored, 3);
        restored.errorShow();
    });
    ASSERT_EQ(here.size(), expected.size());
    for (std::size_t i = 0; i < here.size(); ++i)
        EXPECT_TRUE(sameBits(here[i], expected[i]));
}

VYN_FOR_ALL_TYPES(SmallStack);

}  // namespace
}  // namespace vynhost::test
