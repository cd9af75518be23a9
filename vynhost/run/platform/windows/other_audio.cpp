#include "vynhost/run/recording.h"

#include "vynhost/base/messages.h"

namespace vynhost {

std::unique_ptr<Recording> openOtherAudio(const std::filesystem::path&, Truncated) {
    throw RecordingError(tr("is neither WAV nor CSV; this build reads no other recordings"));
}

}  // namespace vynhost
