// Filters of any order, kind, rate and edge: of the analysis library's functions, called in any
// order on objects whose roots somebody edits, and of the filter block, set up by its keywords. The
// input's bytes decide. Status, refusal and the two ways to one result are what the library's
// header promises; anything else ends the process, as a sanitizer's report does.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "fuzz/byte_source.h"
#include "ovanlys/filter_head.h"
#include "ovanlys/functions.h"
#include "support/platform/test_system.h"
#include "support/test_host.h"
#include "vynhost/diagram/keyword_table.h"
#include "vynhost/validate/working_block.h"

namespace vynhost::test {
namespace {

using ovanlys::FilterHead;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

// Numbers as programs pass them, those that are none, and any 64 bits.
double number(ByteSource& bytes) {
    constexpr double kNumbers[] = {
        0,    -0.0, 0.1,    0.25,   0.3,   0.4999999, 0.5,   0.5000001, 1,         2,
        3,    40,   60,     100,    1000,  8000,      24000, 44100,     48000,     1e6,
        1e-3, 1e-9, 1e-300, 5e-324, 1e300, -1,        -1000, kNan,      kInfinity, -kInfinity};
    const std::size_t choice = bytes.below(40);
    if (choice < std::size(kNumbers)) return kNumbers[choice];
    if (choice < 36) return bytes.take<std::uint16_t>() / 65536.0;
    return bytes.take<double>();
}

std::vector<double> samples(ByteSource& bytes, std::size_t count) {
    const bool any = bytes.oneIn(4);
    std::vector<double> values(count);
    for (double& value : values)
        value = any ? number(bytes) : bytes.take<std::int8_t>() / 16.0;
    return values;
}

// --- The analysis library -------------------------------------------------------------------

// The bits, so that NaN equals itself.
template <class Number>
bool same(const std::vector<Number>& left, const std::vector<Number>& right) {
    return left.size() == right.size() &&
           std::memcmp(left.data(), right.data(), left.size() * sizeof(Number)) == 0;
}

std::vector<float> single(const std::vector<double>& values) {
    std::vector<float> result;
    for (const double value : values)  // as the library rounds, what is too large to infinity
        result.push_back(std::abs(value) > std::numeric_limits<float>::max()
                             ? std::copysign(std::numeric_limits<float>::infinity(),
                                             static_cast<float>(std::copysign(1.0, value)))
                             : static_cast<float>(value));
    return result;
}

class Objects {
public:
    Objects() = default;
    ~Objects() {
        for (void* object : all_)
            ovanlys::ZABFunc234(object);
    }
    Objects(const Objects&) = delete;
    Objects& operator=(const Objects&) = delete;

    void create(ByteSource& bytes) {
        void*& place = bytes.pick(all_);
        ovanlys::ZABFunc234(place);
        const int kind = static_cast<int>(bytes.below(6)) - 1;
        const int order = static_cast<int>(bytes.below(68)) - 1;
        place = ovanlys::ZABFunc233(kind, order);
        const bool makesSense = kind >= 0 && kind <= 3 && order >= 1 && order <= 64;
        if ((place != nullptr) != makesSense) fail("a filter object of a wrong kind or order");
    }

    void design(ByteSource& bytes) {
        void* object = bytes.pick(all_);
        const double rate = number(bytes);
        const double f1 = number(bytes);
        const double f2 = number(bytes);
        const double ripple = number(bytes);
        const double attenuation = number(bytes);
        const FilterHead before = headOf(object);
        const int status = [&] {
            switch (bytes.below(5)) {
                case 0: return ovanlys::ZABFunc18(rate, f1, f2, object);
                case 1: return ovanlys::ZABFunc24(rate, f1, f2, ripple, object);
                case 2: return ovanlys::ZABFunc98(rate, f1, f2, attenuation, object);
                case 3: return ovanlys::ZABFunc61(rate, f1, f2, ripple, attenuation, object);
                default: return ovanlys::ZABFunc12(rate, f1, f2, object);
            }
        }();
        if (object == nullptr) {
            if (status != -1) fail("a design into no object");
            return;
        }
        const FilterHead after = headOf(object);
        if (status != 0) {
            if (status != -2) fail("a design's status that there is not");
            if (std::memcmp(&before, &after, sizeof before) != 0) fail("a refused design stays");
            return;
        }
        requireFinite(after.gain);
        for (const auto& [count, roots] :
             {std::pair(after.zeroCount, after.zeros), std::pair(after.poleCount, after.poles)}) {
            if (count < 0 || count > FilterHead::kMaxRoots) fail("a design of too many roots");
            for (int i = 0; i < 2 * count; ++i)
                requireFinite(roots[i]);
        }
    }

    // As a host edits it.
    void edit(ByteSource& bytes) {
        void* object = bytes.pick(all_);
        if (object == nullptr) return;
        auto& head = *static_cast<FilterHead*>(object);
        head.changed = static_cast<std::int32_t>(bytes.below(3));
        head.gain = number(bytes);
        head.zeroCount = count(bytes);
        head.poleCount = count(bytes);
        for (int i = 0; i < 8; ++i) {
            head.zeros[i] = number(bytes);
            head.poles[i] = number(bytes);
        }
    }

    void filter(ByteSource& bytes) {
        void* object = bytes.pick(all_);
        const std::vector<double> in = samples(bytes, bytes.below(300));
        std::vector<double> out(in.size() + 1, 7);
        const auto n = static_cast<int>(in.size());
        const int status = ovanlys::ZABFunc91(in.data(), n, object, out.data());
        if (out.back() != 7) fail("more samples than there is room for");
        if (status != 0 && std::ranges::any_of(out, [](double y) { return y != 7; })) {
            fail("a refusal that writes");
        }
    }

    // Channels side by side give what each gives by itself.
    void channels(ByteSource& bytes) {
        const std::size_t count = 1 + bytes.below(all_.size());
        const std::size_t n = bytes.below(100);
        const std::vector<float> in = single(samples(bytes, n * count));
        std::vector<float> out(in.size());
        std::vector<double> one(n);
        std::vector<float> expected(in.size());
        if (std::any_of(all_.begin(), all_.begin() + static_cast<std::ptrdiff_t>(count),
                        [](void* object) { return object == nullptr; })) {
            if (ovanlys::ovanlysFilterChannels(in.data(), static_cast<int>(n), all_.data(),
                                               static_cast<int>(count), out.data()) != -1) {
                fail("channels without an object");
            }
            return;
        }
        std::vector<Copy> copies;
        for (std::size_t c = 0; c < count; ++c)
            copies.emplace_back(all_[c]);
        const int status = ovanlys::ovanlysFilterChannels(
            in.data(), static_cast<int>(n), all_.data(), static_cast<int>(count), out.data());
        if (status != 0) return;
        for (std::size_t c = 0; c < count; ++c) {
            for (std::size_t i = 0; i < n; ++i)
                one[i] = in[i * count + c];
            if (copies[c].isFresh() && ovanlys::ZABFunc91(one.data(), static_cast<int>(n),
                                                          copies[c].object(), one.data()) == 0) {
                const std::vector<float> rounded = single(one);
                for (std::size_t i = 0; i < n; ++i)
                    expected[i * count + c] = rounded[i];
            } else {
                for (std::size_t i = 0; i < n; ++i)
                    expected[i * count + c] = out[i * count + c];
            }
        }
        requireSameNumbers(out, expected);
    }

    static void requireSameNumbers(const std::vector<float>& left,
                                   const std::vector<float>& right) {
        for (std::size_t i = 0; i < left.size(); ++i) {
            if (std::isnan(left[i]) && std::isnan(right[i])) continue;
            if (left[i] != right[i]) fail("channels side by side give other numbers");
        }
    }

private:
    // An object with the head of another one. What it has filtered before is its own, so a copy
    // gives the same only where its head says that its state begins anew.
    class Copy {
    public:
        explicit Copy(void* original) : object_(ovanlys::ZABFunc233(0, 1)) {
            const FilterHead head = headOf(original);
            std::memcpy(object_, &head, sizeof head);
        }
        Copy(Copy&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
        ~Copy() { ovanlys::ZABFunc234(object_); }
        Copy(const Copy&) = delete;
        Copy& operator=(const Copy&) = delete;
        Copy& operator=(Copy&&) = delete;
        bool isFresh() const { return headOf(object_).changed == 1; }
        void* object() const { return object_; }

    private:
        void* object_;
    };

    static FilterHead headOf(void* object) {
        FilterHead head{};
        if (object != nullptr) std::memcpy(&head, object, sizeof head);
        return head;
    }
    static std::int32_t count(ByteSource& bytes) {
        constexpr std::int32_t kCounts[] = {0,
                                            1,
                                            2,
                                            3,
                                            4,
                                            7,
                                            128,
                                            129,
                                            -1,
                                            std::numeric_limits<std::int32_t>::max(),
                                            std::numeric_limits<std::int32_t>::min()};
        return bytes.pick(kCounts);
    }
    static void requireFinite(double value) {
        if (!std::isfinite(value)) fail("a design of what is no number");
    }

    std::array<void*, 4> all_{};
};

void designFir(ByteSource& bytes) {
    constexpr int kWindows[] = {0, 30, 1, 2, 5, 60, 7, -1};
    const int length = static_cast<int>(bytes.below(300));
    std::vector<double> taps(static_cast<std::size_t>(length) + 1, 7);
    const int kind = static_cast<int>(bytes.below(6)) - 1;
    const double rate = number(bytes);
    const double f1 = number(bytes);
    const double f2 = number(bytes);
    const int window = bytes.pick(kWindows);
    const int status =
        ovanlys::ZABFunc335(kind, rate, f1, f2, length, window, number(bytes), taps.data());
    if (taps.back() != 7) fail("more coefficients than there is room for");
    taps.pop_back();
    if (status == -2 && std::ranges::any_of(taps, [](double tap) { return tap != 0; })) {
        fail("a refused design's coefficients");
    }
    if (status != -2 && status != (length < 1 ? -1 : 0)) fail("an FIR design's status");
}

// Two ways to the convolution of a channel.
void convolve(ByteSource& bytes) {
    const std::vector<double> taps = samples(bytes, 1 + bytes.below(200));
    const std::size_t n = 1 + bytes.below(200);
    const std::size_t before = taps.size() - 1;
    const std::vector<float> in = single(samples(bytes, before + n));
    const std::vector<double> wide(in.begin(), in.end());
    std::vector<double> full(taps.size() + wide.size());
    const auto length = static_cast<std::int64_t>(taps.size());
    if (ovanlys::ZABFunc32(taps.data(), length, wide.data(), static_cast<int>(wide.size()),
                           full.data()) != 0 ||
        full.back() != 0) {
        fail("a convolution's status, or its last value");
    }
    std::vector<float> out(n);
    if (ovanlys::ovanlysConvolveChannels(taps.data(), length, in.data(), in.data() + before,
                                         static_cast<int>(n), 1, out.data()) != 0) {
        fail("a convolution's status");
    }
    const std::vector<float> expected =
        single({full.begin() + static_cast<std::ptrdiff_t>(before),
                full.begin() + static_cast<std::ptrdiff_t>(before + n)});
    Objects::requireSameNumbers(out, expected);
}

void transform(ByteSource& bytes) {
    const std::size_t n = 1 + bytes.below(2100);
    std::vector<double> re = samples(bytes, std::min<std::size_t>(n, 64));
    re.resize(n, 0.5);
    const std::vector<double> before = re;
    std::vector<double> im(n);
    if (ovanlys::ZABFunc147(re.data(), im.data(), static_cast<int>(n)) != 0 ||
        ovanlys::ZABFunc148(re.data(), im.data(), static_cast<int>(n)) != 0) {
        fail("a transform's status");
    }
    double largest = 0;
    for (const double value : before) {
        if (!(std::abs(value) < 1e100)) return;  // there it would overflow, or is no number
        largest = std::max(largest, std::abs(value));
    }
    // Rounding, some bits per octave of the length; the smallest numbers have few bits to keep.
    const double slack = std::max(1e-13 * largest, 1e-300);
    for (std::size_t i = 0; i < n; ++i) {
        if (!(std::abs(re[i] - before[i]) <= slack)) fail("a transform there and back");
    }
}

void tryLibrary(ByteSource& bytes) {
    constexpr int kMostCalls = 64;
    Objects objects;
    for (int i = 0; i < kMostCalls && !bytes.ended(); ++i) {
        switch (bytes.below(10)) {
            case 0: objects.create(bytes); break;
            case 1:
            case 2:
            case 3: objects.design(bytes); break;
            case 4: objects.edit(bytes); break;
            case 5: objects.filter(bytes); break;
            case 6: objects.channels(bytes); break;
            case 7: designFir(bytes); break;
            case 8: convolve(bytes); break;
            default: transform(bytes);
        }
    }
}

// --- The block ------------------------------------------------------------------------------

const ModuleLibrary& theModule() {
    static const ModuleLibrary module = [] {
        platform::setSharedDirectory(platform::programFolder().string());
        return ModuleLibrary(ModuleLibrary::defaultPath());
    }();
    return module;
}

// Set up by names, small numbers and any numbers; every setting is followed by data or not.
void tryBlock(ByteSource& bytes) {
    constexpr int kMostSettings = 40;
    TestHost host(theModule(),
                  {.guard = platform::Guard::pageAfter, .mostValues = std::size_t{1} << 18});
    host.setTraced(false);
    {
        WorkingBlock block(host, kDigitalFilter);
        const std::span<const KeywordMeaning> keywords = meaningOf(kDigitalFilter).keywords;
        const double rate = number(bytes);
        for (int i = 0; i < kMostSettings && !bytes.ended(); ++i) {
            const KeywordMeaning& keyword = keywords[bytes.below(keywords.size())];
            const std::string name(keyword.name);
            if (!keyword.choices.empty()) {
                const auto& choice = keyword.choices[bytes.below(keyword.choices.size())];
                if (keyword.type == ValueType::text) {
                    block.set(name, std::string(choice.name));
                } else {
                    block.set(name, choice.number);
                }
            } else if (keyword.type == ValueType::real) {
                block.set(name, number(bytes));
            } else if (keyword.type == ValueType::integer) {
                block.set(name, static_cast<std::int32_t>(bytes.below(600)) - 2);
            }
            if (!bytes.oneIn(3)) continue;
            block.wireAll();
            block.initSim();
            for (int times = 0; times < 2; ++times) {
                ChannelData data = suitableData(kDigitalFilter, 0);
                data.header.xStep = 1 / rate;
                block.put(0, data);
                block.simulate();
                collect(block);
            }
            block.stop();
            block.put(0, Handle::none);
        }
    }
    for (const std::string& offence : host.takeOffences())
        fail(offence.c_str());
    if (host.memory().aliveData() != 0) fail("data blocks that neither side holds any more");
}

}  // namespace
}  // namespace vynhost::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vynhost::test::ByteSource bytes({data, size});
    if (bytes.oneIn(3)) {
        vynhost::test::tryBlock(bytes);
    } else {
        vynhost::test::tryLibrary(bytes);
    }
    return 0;
}
