// The functions of libhdf5 that are used here. It is loaded when the first file asks for it: most
// runs know none, and its own libraries take as long to load as a short run.
#pragma once

#include <hdf5.h>

#include <string>
#include <utility>

namespace vynhost {

class Hdf5 {
public:
    // The same for all, once it is there. Raises std::runtime_error with the reason when it does
    // not load.
    static const Hdf5& library();

private:
    struct Found {
        void* address;
        template <class Function>
        operator Function() const {  // NOLINT: as what is asked for
            return reinterpret_cast<Function>(address);
        }
    };
    static Found find(const char* name);

    Hdf5();

public:
    // --- Files and groups ---
    decltype(&::H5Fopen) openFile = find("H5Fopen");
    decltype(&::H5Fcreate) createFile = find("H5Fcreate");
    decltype(&::H5Fflush) flushFile = find("H5Fflush");
    decltype(&::H5Gget_info) groupInfo = find("H5Gget_info");
    decltype(&::H5Lget_name_by_idx) linkName = find("H5Lget_name_by_idx");
    decltype(&::H5Lget_info) linkInfo = find("H5Lget_info");
    decltype(&::H5Oopen) openObject = find("H5Oopen");
    decltype(&::H5Iget_type) typeOfId = find("H5Iget_type");
    decltype(&::H5Idec_ref) close = find("H5Idec_ref");

    // --- Arrays ---
    decltype(&::H5Dget_space) spaceOf = find("H5Dget_space");
    decltype(&::H5Dget_type) typeOf = find("H5Dget_type");
    decltype(&::H5Dget_create_plist) howMade = find("H5Dget_create_plist");
    decltype(&::H5Dopen2) openArray = find("H5Dopen2");
    decltype(&::H5Dcreate2) createArray = find("H5Dcreate2");
    decltype(&::H5Dset_extent) setExtent = find("H5Dset_extent");
    decltype(&::H5Dread) read = find("H5Dread");
    decltype(&::H5Dwrite) write = find("H5Dwrite");
    decltype(&::H5Dvlen_reclaim) freeTexts = find("H5Dvlen_reclaim");
    decltype(&::H5Screate) createScalar = find("H5Screate");
    decltype(&::H5Screate_simple) createSpace = find("H5Screate_simple");
    decltype(&::H5Sget_simple_extent_ndims) dimensions = find("H5Sget_simple_extent_ndims");
    decltype(&::H5Sget_simple_extent_dims) sizes = find("H5Sget_simple_extent_dims");
    decltype(&::H5Sselect_hyperslab) select = find("H5Sselect_hyperslab");
    decltype(&::H5Pcreate) createSettings = find("H5Pcreate");
    decltype(&::H5Pset_chunk) setChunk = find("H5Pset_chunk");
    decltype(&::H5Pget_chunk) chunkOf = find("H5Pget_chunk");
    decltype(&::H5Pget_layout) layoutOf = find("H5Pget_layout");
    decltype(&::H5Pget_external_count) externalFiles = find("H5Pget_external_count");
    decltype(&::H5Pset_chunk_cache) setChunkCache = find("H5Pset_chunk_cache");
    decltype(&::H5Pset_obj_track_times) keepTimes = find("H5Pset_obj_track_times");

    // --- Types and attributes ---
    decltype(&::H5Tget_class) classOf = find("H5Tget_class");
    decltype(&::H5Tget_size) sizeOf = find("H5Tget_size");
    decltype(&::H5Tget_sign) signOf = find("H5Tget_sign");
    decltype(&::H5Tis_variable_str) isVariableText = find("H5Tis_variable_str");
    decltype(&::H5Tcopy) copyType = find("H5Tcopy");
    decltype(&::H5Tset_size) setTextSize = find("H5Tset_size");
    decltype(&::H5Tset_cset) setLetters = find("H5Tset_cset");
    decltype(&::H5Aexists) hasAttribute = find("H5Aexists");
    decltype(&::H5Aopen) openAttribute = find("H5Aopen");
    decltype(&::H5Acreate2) createAttribute = find("H5Acreate2");
    decltype(&::H5Aget_space) spaceOfAttribute = find("H5Aget_space");
    decltype(&::H5Aget_type) typeOfAttribute = find("H5Aget_type");
    decltype(&::H5Aread) readAttribute = find("H5Aread");
    decltype(&::H5Awrite) writeAttribute = find("H5Awrite");

    // Their macros would call the library.
    static constexpr unsigned kReadOnly = 0;
    static constexpr unsigned kReplace = 2;
    // What their headers call H5T_NATIVE_DOUBLE and so on.
    hid_t nativeDouble, nativeFloat, storedDouble, storedFloat, cText;
    hid_t arrayCreation, arrayAccess;
};

// One of the library's handles, closed with its scope.
class Hdf5Id {
public:
    Hdf5Id() = default;
    explicit Hdf5Id(hid_t id) : id_(id) {}
    Hdf5Id(Hdf5Id&& other) noexcept : id_(std::exchange(other.id_, -1)) {}
    Hdf5Id& operator=(Hdf5Id&& other) noexcept {
        std::swap(id_, other.id_);
        return *this;
    }
    ~Hdf5Id() {
        if (id_ >= 0) Hdf5::library().close(id_);
    }
    operator hid_t() const noexcept { return id_; }  // NOLINT: it is one
    bool isOpen() const noexcept { return id_ >= 0; }

private:
    hid_t id_ = -1;
};

}  // namespace vynhost
