#include "classify/counting_method.h"

#include "classify/dwell_time.h"
#include "classify/excursion_peaks.h"
#include "classify/level_crossings.h"
#include "classify/sample_count.h"
#include "classify/separate_peaks.h"
#include "classify/turning_points.h"

namespace vynpack {

std::unique_ptr<CountingMethod> makeCountingMethod(int method, const CountingRules& rules,
                                                   int channels) {
    switch (method) {
        case kSampleCount: return std::make_unique<SampleCount>(rules, channels);
        case kDwellTime: return std::make_unique<DwellTime>(rules, channels);
        case kLevelCrossings: return std::make_unique<LevelCrossings>(rules, channels);
        case kExcursionPeaks: return std::make_unique<ExcursionPeaks>(rules, channels);
        case kTurningPoints: return std::make_unique<TurningPoints>(rules, channels);
        case kSeparatePeaks: return std::make_unique<SeparatePeaks>(rules, channels);
        default: return nullptr;
    }
}

}  // namespace vynpack
