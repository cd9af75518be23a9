#include "vynhost/run/recording.h"

namespace vynhost {

std::unique_ptr<Recording> openHdf5(const std::filesystem::path&, std::optional<double>,
                                    const ArrayChoice&) {
    throw RecordingError("is HDF5 (as MAT-files of version 7.3 are), which is not read on Windows");
}

}  // namespace vynhost
