// Arrays of HDF5 files as recordings, read a data block at a time.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/run/number_arrays.h"
#include "vynhost/run/platform/posix/hdf5_library.h"
#include "vynhost/run/recording.h"

namespace vynhost {
namespace {

constexpr const char* kNames = "names";

class Hdf5Recording : public Recording {
public:
    Hdf5Recording(const std::filesystem::path& file, std::optional<double> rate,
                  const ArrayChoice& choice)
        : file_(h5_.openFile(file.c_str(), Hdf5::kReadOnly, H5P_DEFAULT)) {
        if (!file_.isOpen()) throw RecordingError(tr("is no HDF5 file, or a damaged one"));
        readDirectory();
        ArrayChoice wanted = choice;
        while (wanted.variable.starts_with('/'))
            wanted.variable.erase(0, 1);
        const NumberArray& chosen = arrays_[chosenArray(arrays_, wanted)];
        const ArrayLayout layout = layoutOf(chosen, wanted);
        frames_ = layout.frames;
        channels_ = layout.channels;
        kind_ = *numberKindNamed(chosen.kind);
        path_ = chosen.name;
        openSamples(chosen);
        isTransposed_ = layout.isTransposed != isColumnMajor_;
        findRate(rate);
        findNames();
    }

    std::size_t read(std::span<float> interleaved) override {
        const auto channels = static_cast<std::size_t>(channels_);
        const auto frames = static_cast<std::size_t>(std::min(
            static_cast<std::int64_t>(interleaved.size() / channels), frames_ - position_));
        const bool isFlat = dimensions_ == 1;
        const auto first = static_cast<hsize_t>(position_);
        const auto count = static_cast<hsize_t>(frames);
        const std::array<hsize_t, 2> start = {isTransposed_ ? 0 : first, isTransposed_ ? first : 0};
        const std::array<hsize_t, 2> size = {isTransposed_ ? channels : count,
                                             isTransposed_ ? count : channels};
        numbers_.resize(frames * channels);
        readInto(samples_, numbers_, isFlat ? &first : start.data(), isFlat ? &count : size.data(),
                 isFlat ? 1 : 2);
        for (std::size_t i = 0; i < frames; ++i) {
            for (std::size_t c = 0; c < channels; ++c) {
                const double value = numbers_[isTransposed_ ? c * frames + i : i * channels + c];
                interleaved[i * channels + c] =
                    static_cast<float>((value + kind_.offset) * kind_.scale);
            }
        }
        position_ += static_cast<std::int64_t>(frames);
        return frames;
    }

    void skip(std::int64_t frames) override { position_ += frames; }

private:
    // --- What there is ---

    // Hard links alone: nothing leads into another file, and rings end at the depth.
    void readDirectory() {
        constexpr std::size_t kMostArrays = 4096;
        constexpr int kDeepest = 8;
        struct Group {
            std::string path;
            int depth;
        };
        std::vector<Group> groups = {{"", 0}};
        for (std::size_t next = 0; next < groups.size(); ++next) {
            const Group group = groups[next];
            for (const std::string& path : membersOf(group.path)) {
                const Hdf5Id object(h5_.openObject(file_, path.c_str(), H5P_DEFAULT));
                if (!object.isOpen()) continue;
                const H5I_type_t type = h5_.typeOfId(object);
                if (type == H5I_GROUP && group.depth + 1 < kDeepest) {
                    groups.push_back({path, group.depth + 1});
                }
                if (type == H5I_DATASET) arrays_.push_back(described(object, path));
                if (arrays_.size() + groups.size() > kMostArrays) {
                    throw RecordingError(tr("holds more than 4096 arrays and groups"));
                }
            }
        }
    }

    std::vector<std::string> membersOf(const std::string& group) {
        constexpr hsize_t kMostMembers = 4096;
        constexpr std::size_t kLongestName = 1 << 12;
        const Hdf5Id id(h5_.openObject(file_, group.empty() ? "/" : group.c_str(), H5P_DEFAULT));
        H5G_info_t info{};
        if (!id.isOpen() || h5_.groupInfo(id, &info) < 0) {
            throw RecordingError(tr("has a group that can't be read: /%1", printable(group)));
        }
        std::vector<std::string> members;
        for (hsize_t i = 0; i < std::min(info.nlinks, kMostMembers + 1); ++i) {
            std::string name(kLongestName, '\0');
            const auto size = h5_.linkName(id, ".", H5_INDEX_NAME, H5_ITER_INC, i, name.data(),
                                           name.size(), H5P_DEFAULT);
            if (size <= 0 || static_cast<std::size_t>(size) >= name.size()) continue;
            name.resize(static_cast<std::size_t>(size));
            H5L_info_t link{};
            const bool isHard = h5_.linkInfo(id, name.c_str(), &link, H5P_DEFAULT) >= 0 &&
                                link.type == H5L_TYPE_HARD;
            // Programs that write such files keep what nobody should see behind a #.
            if (!isHard || name.starts_with('#')) continue;
            if (!group.empty()) name.insert(0, group + "/");
            members.push_back(std::move(name));
        }
        return members;
    }

    NumberArray described(hid_t array, const std::string& path) const {
        NumberArray result;
        result.name = path;
        result.shape = shapeOf(Hdf5Id(h5_.spaceOf(array)));
        const std::string foreign = textAttribute(array, "MATLAB_class");
        if (!foreign.empty()) std::ranges::reverse(result.shape);
        result.kind = kindOf(Hdf5Id(h5_.typeOf(array)));
        const bool isText = foreign == "char" || foreign == "cell";
        if (isText) result.kind = foreign == "char" ? "text" : foreign;
        result.isReadable = numberKindNamed(result.kind) != nullptr;
        return result;
    }

    std::vector<std::int64_t> shapeOf(hid_t space) const {
        const int dimensions = h5_.dimensions(space);
        std::array<hsize_t, H5S_MAX_RANK> sizes{};
        if (dimensions < 0 || dimensions > H5S_MAX_RANK ||
            h5_.sizes(space, sizes.data(), nullptr) < 0) {
            return {0, 0, 0};
        }
        static constexpr hsize_t kMost = hsize_t{1} << 48;
        std::vector<std::int64_t> shape(static_cast<std::size_t>(dimensions));
        std::transform(sizes.begin(), sizes.begin() + dimensions, shape.begin(), [](hsize_t size) {
            return static_cast<std::int64_t>(std::min(size, kMost));
        });
        return shape;
    }

    std::string kindOf(hid_t type) const {
        const H5T_class_t family = h5_.classOf(type);
        const std::size_t bytes = h5_.sizeOf(type);
        if (family == H5T_FLOAT) {
            return bytes == 8   ? "double"
                   : bytes == 4 ? "single"
                                : "float" + std::to_string(8 * bytes);
        }
        if (family == H5T_INTEGER) {
            return (h5_.signOf(type) == H5T_SGN_NONE ? "uint" : "int") + std::to_string(8 * bytes);
        }
        return family == H5T_STRING ? "text" : family == H5T_COMPOUND ? "record" : "other";
    }

    // --- The samples ---

    // The file itself must hold them, in pieces that memory can.
    void openSamples(const NumberArray& chosen) {
        constexpr std::size_t kLargestPiece = std::size_t{1} << 28;
        const auto fail = [&](const std::string& what) {
            throw RecordingError(printable(chosen.name) + " " + what);
        };
        const Hdf5Id access(h5_.createSettings(h5_.arrayAccess));
        {
            const Hdf5Id array(h5_.openArray(file_, path_.c_str(), H5P_DEFAULT));
            const Hdf5Id made(h5_.howMade(array));
            const H5D_layout_t layout = h5_.layoutOf(made);
            if (layout == H5D_VIRTUAL || h5_.externalFiles(made) != 0) {
                fail(tr("lies in other files, which are not read"));
            }
            if (layout == H5D_CHUNKED) {
                std::array<hsize_t, H5S_MAX_RANK> piece{};
                const int dimensions = h5_.chunkOf(made, H5S_MAX_RANK, piece.data());
                std::size_t bytes = h5_.sizeOf(Hdf5Id(h5_.typeOf(array)));
                for (int i = 0; i < std::min<int>(dimensions, H5S_MAX_RANK); ++i) {
                    const hsize_t size = piece[static_cast<std::size_t>(i)];
                    if (size > kLargestPiece || bytes * size > kLargestPiece) {
                        fail(tr("is stored in pieces of more than 256 MiB"));
                    }
                    bytes *= size;
                }
                // A piece is unpacked once, not for every data block that it spans; rows of
                // channels have one piece per channel.
                constexpr std::size_t kSlots = 1009;
                const std::size_t room =
                    std::min(kLargestPiece, bytes * static_cast<std::size_t>(channels_));
                h5_.setChunkCache(access, kSlots, std::max(room, std::size_t{1} << 20), 1.0);
            }
            isColumnMajor_ =
                !textAttribute(array, "MATLAB_class").empty() && chosen.shape.size() > 1;
        }
        dimensions_ = static_cast<int>(chosen.shape.size());
        samples_ = Hdf5Id(h5_.openArray(file_, path_.c_str(), access));
        if (!samples_.isOpen()) fail(tr("can't be opened"));
    }

    void readInto(hid_t array, std::span<double> numbers, const hsize_t* start,
                  const hsize_t* count, int dimensions) const {
        const Hdf5Id stored(h5_.spaceOf(array));
        const Hdf5Id wanted(h5_.createSpace(dimensions, count, nullptr));
        if (h5_.select(stored, H5S_SELECT_SET, start, nullptr, count, nullptr) < 0 ||
            h5_.read(array, h5_.nativeDouble, wanted, stored, H5P_DEFAULT, numbers.data()) < 0) {
            throw RecordingError(
                tr("can't be read to its end: %1 is damaged, or packed in a way that is not known "
                   "here",
                   printable(path_)));
        }
    }

    // --- What is said of them ---

    std::string folder() const {
        const std::size_t slash = path_.rfind('/');
        return slash == std::string::npos ? "" : path_.substr(0, slash + 1);
    }

    // An attribute of the array, of a group around it or of the file; else a single number beside
    // it.
    void findRate(std::optional<double> rate) {
        if (rate) {
            rate_ = *rate;
            return;
        }
        constexpr std::array<const char*, 8> kNamesOfRate = {
            "rate",          "fs",        "Fs", "samplerate", "sample_rate", "samplingrate",
            "sampling_rate", "SampleRate"};
        std::string from = path_;
        while (rate_ == 0) {
            const Hdf5Id object(
                h5_.openObject(file_, from.empty() ? "/" : from.c_str(), H5P_DEFAULT));
            for (const char* name : kNamesOfRate) {
                if (rate_ == 0) rate_ = numberAttribute(object, name);
            }
            if (from.empty()) break;
            const std::size_t slash = from.rfind('/');
            from = slash == std::string::npos ? "" : from.substr(0, slash);
        }
        const NumberArray* x = nullptr;
        for (const NumberArray& array : arrays_) {
            if (!array.name.starts_with(folder()) || array.name == path_ || !array.isReadable)
                continue;
            const std::string name = array.name.substr(folder().size());
            std::int64_t values = 1;
            for (const std::int64_t size : array.shape)
                values = std::min(values * size, std::int64_t{1} << 48);
            if (rate_ == 0 && isRateName(name) && values == 1) rate_ = firstOf(array);
            if (isXName(name) && values == frames_) x = &array;
        }
        if (x != nullptr && rate_ != 0) start_ = firstOf(*x);
        if (x != nullptr && rate_ == 0) {
            constexpr std::int64_t kMost = std::int64_t{1} << 27;
            if (frames_ > kMost) {
                throw RecordingError(
                    tr("%1 is too long to tell the rate from; give rate", printable(x->name)));
            }
            const std::vector<double> all = valuesOf(*x);
            rate_ = rateOfEvenX(all);
            start_ = all.front();
        }
        requireRate(rate_);
    }

    double firstOf(const NumberArray& array) const {
        const Hdf5Id id(h5_.openArray(file_, array.name.c_str(), H5P_DEFAULT));
        const std::vector<hsize_t> start(array.shape.size(), 0);
        const std::vector<hsize_t> count(array.shape.size(), 1);
        double value = 0;
        if (!array.shape.empty()) {
            readInto(id, {&value, 1}, start.data(), count.data(), static_cast<int>(start.size()));
        } else if (h5_.read(id, h5_.nativeDouble, H5S_ALL, H5S_ALL, H5P_DEFAULT, &value) < 0) {
            throw RecordingError(tr("%1 can't be read", printable(array.name)));
        }
        return value;
    }

    // Of an array that has as many values as there are frames.
    std::vector<double> valuesOf(const NumberArray& array) const {
        std::vector<double> values(static_cast<std::size_t>(frames_));
        const Hdf5Id id(h5_.openArray(file_, array.name.c_str(), H5P_DEFAULT));
        if (h5_.read(id, h5_.nativeDouble, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()) < 0) {
            throw RecordingError(tr("%1 can't be read", printable(array.name)));
        }
        return values;
    }

    double numberAttribute(hid_t object, const char* name) const {
        const Hdf5Id attribute = attributeOf(object, name);
        if (!attribute.isOpen()) return 0;
        const std::string kind = kindOf(Hdf5Id(h5_.typeOfAttribute(attribute)));
        const bool isNumber = kind.starts_with("int") || kind.starts_with("uint") ||
                              kind == "double" || kind == "single";
        const std::vector<std::int64_t> shape = shapeOf(Hdf5Id(h5_.spaceOfAttribute(attribute)));
        const bool isSingle =
            std::ranges::all_of(shape, [](std::int64_t size) { return size == 1; });
        double value = 0;
        if (!isNumber || !isSingle || h5_.readAttribute(attribute, h5_.nativeDouble, &value) < 0) {
            return 0;
        }
        return value;
    }

    Hdf5Id attributeOf(hid_t object, const char* name) const {
        if (object < 0 || h5_.hasAttribute(object, name) <= 0) return {};
        return Hdf5Id(h5_.openAttribute(object, name, H5P_DEFAULT));
    }

    // Of fixed length.
    std::string textAttribute(hid_t object, const char* name) const {
        constexpr std::size_t kLongest = 1 << 10;
        const Hdf5Id attribute = attributeOf(object, name);
        if (!attribute.isOpen()) return "";
        const Hdf5Id type(h5_.typeOfAttribute(attribute));
        const std::vector<std::int64_t> shape = shapeOf(Hdf5Id(h5_.spaceOfAttribute(attribute)));
        const bool isSingle =
            std::ranges::all_of(shape, [](std::int64_t size) { return size == 1; });
        const std::size_t size = h5_.sizeOf(type);
        if (h5_.classOf(type) != H5T_STRING || h5_.isVariableText(type) > 0 || !isSingle ||
            size > kLongest) {
            return "";
        }
        std::string text(size, '\0');
        if (h5_.readAttribute(attribute, type, text.data()) < 0) return "";
        text.resize(std::min(text.find('\0'), text.size()));
        return text;
    }

    // Texts called names beside the array, as many as there are channels.
    void findNames() {
        const std::string path = folder() + kNames;
        const auto found = std::ranges::find(arrays_, path, &NumberArray::name);
        if (found == arrays_.end() || found->kind != "text" || found->shape.size() != 1 ||
            found->shape.front() != channels_) {
            return;
        }
        const Hdf5Id array(h5_.openArray(file_, path.c_str(), H5P_DEFAULT));
        const Hdf5Id stored(h5_.typeOf(array));
        if (h5_.isVariableText(stored) <= 0) return;
        const Hdf5Id space(h5_.spaceOf(array));
        const Hdf5Id type(h5_.copyType(h5_.cText));
        h5_.setTextSize(type, H5T_VARIABLE);
        h5_.setLetters(type, H5T_CSET_UTF8);
        std::vector<char*> texts(static_cast<std::size_t>(channels_));
        if (h5_.read(array, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, texts.data()) < 0) return;
        for (const char* text : texts)
            described_.push_back(channelNamed(text == nullptr ? "" : text));
        h5_.freeTexts(type, space, H5P_DEFAULT, texts.data());
    }

    const Hdf5& h5_ = Hdf5::library();
    Hdf5Id file_;
    std::vector<NumberArray> arrays_;
    std::string path_;
    Hdf5Id samples_;
    NumberKind kind_{};
    int dimensions_ = 1;
    bool isColumnMajor_ = false;
    bool isTransposed_ = false;
    std::int64_t position_ = 0;
    std::vector<double> numbers_;
};

}  // namespace

std::unique_ptr<Recording> openHdf5(const std::filesystem::path& file, std::optional<double> rate,
                                    const ArrayChoice& choice) {
    try {
        return std::make_unique<Hdf5Recording>(file, rate, choice);
    } catch (const RecordingError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw RecordingError(error.what());
    }
}

}  // namespace vynhost
