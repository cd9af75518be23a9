// HDF5 files, by libhdf5, which is loaded when one is asked for.
#include <array>
#include <cstring>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/results/gathered_table.h"
#include "vynhost/results/temporary_file.h"
#include "vynhost/run/platform/posix/hdf5_library.h"

namespace vynhost {
namespace {

const Hdf5& libraryFor(const Place& place) {
    try {
        return Hdf5::library();
    } catch (const std::runtime_error& error) {
        throw InputError(place, error.what());
    }
}

class Hdf5Table : public GatheredTable {
public:
    Hdf5Table(ResultFile& file, const TableSubject& subject)
        : GatheredTable(file), subject_(subject), h5_(libraryFor(subject.place)) {}

    void note(const std::string& text) override { notes_.push_back(text); }

protected:
    // The library writes to a name; it gets one that nobody knows, and the result is what lies
    // there.
    void writeWhole() override {
        TemporaryFile made(file().path().parent_path(), file().path());
        fill(made.path());
        file().writeAllOf(made.path());
    }

private:
    void require(bool good) const {
        if (!good) failWriting(file().path());
    }
    hid_t opened(hid_t id) const {
        require(id >= 0);
        return id;
    }

    void fill(const std::filesystem::path& path) {
        const Hdf5Id whole(
            opened(h5_.createFile(path.c_str(), Hdf5::kReplace, H5P_DEFAULT, H5P_DEFAULT)));
        const std::size_t columns = names().size() - doubles();
        const Hdf5Id x = arrayOf(whole, "x", h5_.storedDouble, doubles(), doubles() == 1);
        const Hdf5Id values = arrayOf(whole, "values", h5_.storedFloat, columns, false);
        std::vector<double> xs;
        std::vector<float> cells;
        std::uint64_t row = 0;
        forEachPiece([&](std::string_view piece) {
            const std::size_t count = piece.size() / rowBytes();
            xs.resize(count * doubles());
            cells.resize(count * columns);
            for (std::size_t i = 0; i < count; ++i) {
                const char* from = piece.data() + i * rowBytes();
                const std::size_t before = doubles() * sizeof(double);
                std::memcpy(xs.data() + i * doubles(), from, before);
                std::memcpy(cells.data() + i * columns, from + before, columns * sizeof(float));
            }
            put(x, h5_.nativeDouble, xs.data(), row, count, doubles(), doubles() == 1);
            put(values, h5_.nativeFloat, cells.data(), row, count, columns, false);
            row += count;
        });
        const std::span<const std::string> all(names());
        putTexts(whole, "x_names", all.first(doubles()));
        putTexts(whole, "names", all.subspan(doubles()));
        putTexts(whole, "title", std::span(&subject_.title, 1));
        if (!notes_.empty()) putTexts(whole, "notes", notes_);
        if (subject_.isSignal) {
            const double rate = 1 / subject_.step;
            const Hdf5Id space(opened(h5_.createScalar(H5S_SCALAR)));
            const Hdf5Id attribute(opened(h5_.createAttribute(values, "rate", h5_.storedDouble,
                                                              space, H5P_DEFAULT, H5P_DEFAULT)));
            require(h5_.writeAttribute(attribute, h5_.nativeDouble, &rate) >= 0);
        }
        require(h5_.flushFile(whole, H5F_SCOPE_GLOBAL) >= 0);
    }

    // Nothing of the day gets into a result.
    Hdf5Id settings() const {
        Hdf5Id made(opened(h5_.createSettings(h5_.arrayCreation)));
        require(h5_.keepTimes(made, 0) >= 0);
        return made;
    }

    Hdf5Id arrayOf(hid_t whole, const char* name, hid_t type, std::size_t columns,
                   bool isFlat) const {
        const std::array<hsize_t, 2> sizes = {rows(), columns};
        const Hdf5Id space(opened(h5_.createSpace(isFlat ? 1 : 2, sizes.data(), nullptr)));
        const Hdf5Id made = settings();
        return Hdf5Id(
            opened(h5_.createArray(whole, name, type, space, H5P_DEFAULT, made, H5P_DEFAULT)));
    }

    void put(hid_t array, hid_t type, const void* numbers, std::uint64_t row, std::size_t count,
             std::size_t columns, bool isFlat) const {
        const std::array<hsize_t, 2> start = {row, 0};
        const std::array<hsize_t, 2> size = {count, columns};
        const int dimensions = isFlat ? 1 : 2;
        const Hdf5Id memory(opened(h5_.createSpace(dimensions, size.data(), nullptr)));
        const Hdf5Id stored(opened(h5_.spaceOf(array)));
        require(h5_.select(stored, H5S_SELECT_SET, start.data(), nullptr, size.data(), nullptr) >=
                0);
        require(h5_.write(array, type, memory, stored, H5P_DEFAULT, numbers) >= 0);
    }

    void putTexts(hid_t whole, const char* name, std::span<const std::string> texts) const {
        std::vector<std::string> shown;
        shown.reserve(texts.size());
        for (const std::string& text : texts)
            shown.push_back(printable(text));
        std::vector<const char*> begins;
        begins.reserve(shown.size());
        for (const std::string& text : shown)
            begins.push_back(text.c_str());
        const hsize_t size = begins.size();
        const Hdf5Id type(opened(h5_.copyType(h5_.cText)));
        require(h5_.setTextSize(type, H5T_VARIABLE) >= 0 &&
                h5_.setLetters(type, H5T_CSET_UTF8) >= 0);
        const Hdf5Id space(opened(h5_.createSpace(1, &size, nullptr)));
        const Hdf5Id made = settings();
        const Hdf5Id array(
            opened(h5_.createArray(whole, name, type, space, H5P_DEFAULT, made, H5P_DEFAULT)));
        require(h5_.write(array, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, begins.data()) >= 0);
    }

    const TableSubject& subject_;
    const Hdf5& h5_;
    std::vector<std::string> notes_;
};

}  // namespace

std::unique_ptr<TableFile> hdf5Table(ResultFile& file, const TableSubject& subject) {
    return std::make_unique<Hdf5Table>(file, subject);
}

}  // namespace vynhost
