#include "vynhost/run/recording.h"

#include "vynhost/base/messages.h"

namespace vynhost {

std::unique_ptr<Recording> openHdf5(const std::filesystem::path&, std::optional<double>,
                                    const ArrayChoice&) {
    throw RecordingError(
        tr("is HDF5 (as MAT-files of version 7.3 are), which is not read on Windows"));
}

}  // namespace vynhost
