// The shortest way through a block, as every block's own tests begin.
#include "interface/host_fixture.h"
#include "support/signals.h"

namespace vynhost::test {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Gt;
using ::testing::Lt;

class BlockSmoke : public HostTest {
protected:
    BlockSmoke() : HostTest({kSpektrum, kInverseFFT}) {}
};

TEST_F(BlockSmoke, ASineGoesThroughTheSpectrumBlock) {
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    EXPECT_EQ(block.initSim(), 1);
    host.takeTrace();
    const auto spectrum = block.process(timeSignal(signals::sine(64, 5), 1, 1.0 / 64));
    ASSERT_TRUE(spectrum);
    EXPECT_EQ(spectrum->samples(), 32);
    EXPECT_EQ(spectrum->header.xAxisKind, kHertz);
    EXPECT_DOUBLE_EQ(spectrum->header.xStep, 1.0);
    EXPECT_NEAR(spectrum->at(5, 0), 1.0F, 1e-6F);
    EXPECT_THAT(host.takeTrace(), ElementsAre("1188 -> 1", "1189 -> 1", "1188 -> 1", "1189 -> 1",
                                              "1134 32 -> D2", "1143 D1 D2", "1135 D1"));
    block.stop();
}

TEST_F(BlockSmoke, SpectrumPartsGoThroughTheInverseBlock) {
    PlacedBlock block(host, kInverseFFT);
    EXPECT_THAT(block.inputLabels(), ElementsAre("R", "I"));
    block.wireAll();
    block.initSim();
    std::vector<float> real(16);
    real[0] = 2;
    block.put(0, timeSignal(real, 1, 1.0));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_TRUE(block.waits(0));
    block.put(1, timeSignal(std::vector<float>(16), 1, 1.0));
    EXPECT_EQ(block.simulate(), 1);
    EXPECT_FALSE(block.waits(0));
    EXPECT_FALSE(block.waits(1));
    const auto signal = block.take(0);
    ASSERT_TRUE(signal);
    EXPECT_EQ(signal->samples(), 32);
    EXPECT_THAT(signal->values, Each(AllOf(Gt(0.999F), Lt(1.001F))));
    block.stop();
}

}  // namespace
}  // namespace vynhost::test
