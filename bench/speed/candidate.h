// A job of the speed table: what is to be made of a data block, by the project and by its peers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace vynpack::bench {

// Arrays that begin on a 64-byte border: no peer is slowed by where its data happen to lie.
template <class Value>
struct AlignedAllocator {
    using value_type = Value;
    static constexpr std::align_val_t kBorder{64};

    AlignedAllocator() = default;
    template <class Other>
    explicit AlignedAllocator(const AlignedAllocator<Other>& /*other*/) {}
    Value* allocate(std::size_t n) {
        return static_cast<Value*>(::operator new(n * sizeof(Value), kBorder));
    }
    void deallocate(Value* p, std::size_t /*n*/) { ::operator delete(p, kBorder); }
    bool operator==(const AlignedAllocator&) const = default;
};
template <class Value>
using Aligned = std::vector<Value, AlignedAllocator<Value>>;

struct Shape {
    std::size_t channels = 1;
    std::size_t samples = 1;  // per channel; lines where the job takes spectra
    std::size_t values() const { return channels * samples; }
};

// What the steps have put out, one value after the other.
using Outputs = std::vector<double>;

template <class Values>
void append(Outputs* outputs, const Values& values) {
    if (outputs != nullptr) outputs->insert(outputs->end(), values.begin(), values.end());
}

// One way of doing the job. A step takes the data block that lies in the inputs through to its
// results, with the state of the steps before; the results are appended where `outputs` is given.
struct Candidate {
    std::string name;
    bool single = false;  // computes in single precision
    std::function<void(Outputs* outputs)> step;
};

// The values of a data block as they lie at a connector: interleaved, on a 64-byte border.
struct Input {
    const float* first = nullptr;
    std::size_t count = 0;
    const float& operator[](std::size_t i) const { return first[i]; }
    const float* data() const { return first; }
    std::size_t size() const { return count; }
    const float* begin() const { return first; }
    const float* end() const { return first + count; }
};

class HostRun;

// A job prepared for one shape. The data blocks follow each other in a ring that is so long that no
// branch predictor learns it by heart, and so short that it stays in the second-level cache as long
// as a few blocks do.
struct Case {
    // Prepares the ring; fill(block, values of each connector) lays the data in.
    template <class Fill>
    Case(Shape shape_, std::size_t connectors, std::size_t values, Fill fill,
         std::size_t leastBlocks = 3)
        : shape(shape_),
          ring(std::max(leastBlocks, kRingValues / (connectors * values))),
          inputs(connectors) {
        for (std::size_t block = 0; block < ring.size(); ++block) {
            ring[block].assign(connectors, Aligned<float>(values));
            fill(block, ring[block]);
            for (const Aligned<float>& connector : ring[block])
                waiting_.push_back({connector.data(), connector.size()});
        }
        point(0);
    }
    // Lays the block at the connectors, of the peers and of the run.
    void select(std::size_t block);
    void next() { select(at_ + 1 == ring.size() ? 0 : at_ + 1); }

    Shape shape;
    std::vector<std::vector<Aligned<float>>> ring;
    std::vector<Input> inputs;     // what waits at the connectors
    std::shared_ptr<HostRun> run;  // of the block, where the job is one's
    Candidate project;
    std::vector<Candidate> peers;
    // Results are compared with the largest of them, or each with itself where they are no signal.
    bool eachByItself = false;
    // A result may come one data block later than another's: this many values may be missing.
    std::size_t lateValues = 0;

private:
    static constexpr std::size_t kRingValues = 131072;
    void point(std::size_t block) {
        at_ = block;
        std::copy_n(&waiting_[block * inputs.size()], inputs.size(), inputs.data());
    }
    std::vector<Input> waiting_;  // block by block, its connectors
    std::size_t at_ = 0;
};

struct Job {
    std::string name;
    std::function<std::unique_ptr<Case>(Shape shape)> prepare;
};

std::vector<Job> spectralJobs();
std::vector<Job> bandJobs();
std::vector<Job> statisticJobs();
std::vector<Job> averagingJobs();
std::vector<Job> filterJobs();
std::vector<Job> levelJobs();
std::vector<Job> classifyJobs();

}  // namespace vynpack::bench
