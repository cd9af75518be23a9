#include "blocks/classify/core/klassierung_core.h"

#include "blocks/classify/core/dwell_time.h"
#include "blocks/classify/core/excursion_peaks.h"
#include "blocks/classify/core/level_crossings.h"
#include "blocks/classify/core/sample_count.h"
#include "blocks/classify/core/separate_peaks.h"
#include "blocks/classify/core/turning_points.h"

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
