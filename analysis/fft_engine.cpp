#include "fft_engine.h"

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

struct FftPlan::Engine {
    explicit Engine(std::size_t n) : plan(n) {}

    void run(double* samples, double factor, bool isForward) {
        const std::lock_guard lock(transformRuns);
        runningStore = &store;
        plan.exec(reinterpret_cast<Sample*>(samples), factor, isForward);
    }

    pocketfft::detail::pocketfft_r<double> plan;
    WorkStore store;
};

FftPlan::FftPlan(std::size_t length) : engine_(std::make_unique<Engine>(length)) {}
FftPlan::~FftPlan() = default;

std::size_t FftPlan::length() const noexcept { return engine_->plan.length(); }

void FftPlan::forward(double* samples) const { engine_->run(samples, 1.0, true); }

void FftPlan::inverse(double* packed, double factor) const { engine_->run(packed, factor, false); }

}  // namespace ovanlys
