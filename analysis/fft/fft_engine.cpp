#include "fft/fft_engine.h"

#include <pocketfft_hdronly.h>

#include <mutex>
#include <new>
#include <vector>

namespace ovanlys {
namespace {

// PocketFFT's plans transform any number-like type and take a fresh work array of it for every
// transform. This type is a double whose work arrays come out of the plan's own store instead.
struct Sample {
    double value;

    friend Sample operator+(Sample a, Sample b) { return {a.value + b.value}; }
    friend Sample operator+(Sample a, double b) { return {a.value + b}; }
    friend Sample operator-(Sample a, Sample b) { return {a.value - b.value}; }
    friend Sample operator-(Sample a) { return {-a.value}; }
    friend Sample operator*(Sample a, double b) { return {a.value * b}; }
    friend Sample operator*(double a, Sample b) { return {a * b.value}; }
    Sample& operator+=(Sample b) { return *this = *this + b; }
    Sample& operator-=(Sample b) { return *this = *this - b; }
    Sample& operator*=(double b) { return *this = *this * b; }
};
static_assert(sizeof(Sample) == sizeof(double));

// Work arrays of one plan. Every transform of a plan asks for the same sizes in the same order, so
// the arrays form a stack that keeps its memory.
class WorkStore {
public:
    void* take(std::size_t bytes) {
        if (next_ == arrays_.size()) {
            arrays_.reserve(next_ + 1);
            arrays_.emplace_back(new (std::align_val_t{kAlignment}) std::byte[bytes]);
        }
        return arrays_[next_++].get();
    }
    void giveBack() noexcept { --next_; }

private:
    static constexpr std::size_t kAlignment = 64;
    struct Release {
        void operator()(std::byte* memory) const noexcept {
            ::operator delete[](memory, std::align_val_t{kAlignment});
        }
    };
    std::vector<std::unique_ptr<std::byte[], Release>> arrays_;
    std::size_t next_ = 0;
};

// PocketFFT gives its work arrays no way back to their plan, so one transform runs at a time and
// its store stands here.
std::mutex transformRuns;
WorkStore* runningStore = nullptr;

template <class Element>
class WorkArray {
public:
    explicit WorkArray(std::size_t count)
        : elements_(static_cast<Element*>(runningStore->take(count * sizeof(Element)))) {}
    ~WorkArray() { runningStore->giveBack(); }
    WorkArray(const WorkArray&) = delete;
    WorkArray& operator=(const WorkArray&) = delete;

    Element& operator[](std::size_t i) { return elements_[i]; }
    Element* data() { return elements_; }

private:
    Element* elements_;
};

}  // namespace
}  // namespace ovanlys

namespace pocketfft::detail {

template <>
class arr<ovanlys::Sample> : public ovanlys::WorkArray<ovanlys::Sample> {
    using WorkArray::WorkArray;
};

template <>
class arr<cmplx<ovanlys::Sample>> : public ovanlys::WorkArray<cmplx<ovanlys::Sample>> {
    using WorkArray::WorkArray;
};

}  // namespace pocketfft::detail

namespace ovanlys {

// PocketFFT orders the lines Re X_0, Re X_1, Im X_1, Re X_2, ... and, for even n, Re X_(n/2) at the
// end.
class FftPlan::AnyLength {
public:
    explicit AnyLength(std::size_t n) : plan_(n) {}

    void forward(double* re, double* im) {
        run(re, 1.0, true);
        const std::size_t n = plan_.length();
        im[0] = 0.0;
        for (std::size_t k = 1; 2 * k < n; ++k) {
            im[k] = re[2 * k];
            re[k] = re[2 * k - 1];
        }
        if (n % 2 == 0) {
            re[n / 2] = re[n - 1];
            im[n / 2] = 0.0;
        }
    }

    void inverse(double* re, const double* im) {
        const std::size_t n = plan_.length();
        if (n % 2 == 0) re[n - 1] = re[n / 2];
        // Downwards: re[k] is read before it is overwritten.
        for (std::size_t k = (n - 1) / 2; k >= 1; --k) {
            re[2 * k] = im[k];
            re[2 * k - 1] = re[k];
        }
        run(re, 1.0 / static_cast<double>(n), false);
    }

private:
    void run(double* packed, double factor, bool isForward) {
        const std::lock_guard lock(transformRuns);
        runningStore = &store_;
        plan_.exec(reinterpret_cast<Sample*>(packed), factor, isForward);
    }

    pocketfft::detail::pocketfft_r<double> plan_;
    WorkStore store_;
};

FftPlan::FftPlan(std::size_t length) : length_(length) {
    if (LaneFft::serves(length)) {
        lanes_ = std::make_unique<LaneFft>(length);
    } else {
        anyLength_ = std::make_unique<AnyLength>(length);
    }
}
FftPlan::~FftPlan() = default;

void FftPlan::forward(double* re, double* im) const {
    lanes_ ? lanes_->forward(re, im) : anyLength_->forward(re, im);
}

void FftPlan::inverse(double* re, double* im) const {
    lanes_ ? lanes_->inverse(re, im) : anyLength_->inverse(re, im);
}

}  // namespace ovanlys
