#include "vynhost/run/recording.h"

namespace vynhost {

std::unique_ptr<Recording> openOtherAudio(const std::filesystem::path&, Truncated) {
    throw RecordingError("is neither WAV nor CSV; this build reads no other recordings");
}

}  // namespace vynhost
