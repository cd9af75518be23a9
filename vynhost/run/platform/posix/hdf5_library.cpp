#include "vynhost/run/platform/posix/hdf5_library.h"

#include <stdexcept>

#include "vynhost/base/messages.h"
#include "vynhost/interface/platform/system.h"

namespace vynhost {
namespace {

constexpr const char* kLibrary = "libhdf5_serial.so.103";

void* opened() {
    static void* const library = [] {
        std::string why;
        void* found = platform::loadLibrary(kLibrary, why);
        if (found == nullptr) {
            throw std::runtime_error(tr(
                "HDF5 needs %1 (Debian: libhdf5-103-1), which does not load: %2", kLibrary, why));
        }
        return found;
    }();
    return library;
}

}  // namespace

Hdf5::Found Hdf5::find(const char* name) {
    void* address = platform::findFunction(opened(), name);
    if (address == nullptr) {
        throw std::runtime_error(tr("%1 has no function %2", kLibrary, name));
    }
    return {address};
}

Hdf5::Hdf5() {
    const decltype(&::H5open) open = find("H5open");
    const decltype(&::H5Eset_auto2) setErrors = find("H5Eset_auto2");
    if (open() < 0) throw std::runtime_error(tr("%1 does not start", kLibrary));
    setErrors(H5E_DEFAULT, nullptr, nullptr);  // what failed is said here, in one line
    const auto value = [](const char* name) {
        const hid_t* number = find(name);
        return *number;
    };
    nativeDouble = value("H5T_NATIVE_DOUBLE_g");
    nativeFloat = value("H5T_NATIVE_FLOAT_g");
    storedDouble = value("H5T_IEEE_F64LE_g");
    storedFloat = value("H5T_IEEE_F32LE_g");
    cText = value("H5T_C_S1_g");
    arrayCreation = value("H5P_CLS_DATASET_CREATE_ID_g");
    arrayAccess = value("H5P_CLS_DATASET_ACCESS_ID_g");
}

const Hdf5& Hdf5::library() {
    static const Hdf5 library;
    return library;
}

}  // namespace vynhost
