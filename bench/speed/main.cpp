// Prepares, checks and measures the cells of the speed table, as table.py asks on standard input:
//
//   cell JOB CHANNELS SAMPLES [FILE]   prepares; compares every peer with the project; FILE gets
//                                      the checked data blocks and the project's results
//   time CANDIDATE SECONDS             nanoseconds of processor time per data block
//   idle                               nanoseconds of a call that finds nothing at the inputs
//   operation                          nanoseconds of an addition or multiplication at its fastest
//   memory JOB CHANNELS SAMPLES        bytes that a run holds, and what 2000 further blocks add
//
// Every answer is one line of JSON.
#include <cpuid.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <fstream>
#include <iostream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

#include "candidate.h"
#include "ceiling.h"
#include "host_run.h"

namespace vynpack::bench {
namespace {

using nlohmann::json;

// A recursive filter in single precision with poles as near to the unit circle as the A-weighting's
// keeps three to four digits (0.01 dB); the results of double precision differ by their rounding to
// single precision.
constexpr double kToleranceSingle = 1e-3;
constexpr double kToleranceDouble = 2e-6;

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// A peer that computes in long double leaves the x87 unit in use, which makes the module look after
// it at every call (16 ns); a 64-bit host does not use it.
void forgetX87() {
    constexpr unsigned kSystemSavesState = 1U << 27;
    alignas(64) static constexpr std::byte kNothingInUse[576] = {};
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & kSystemSavesState) == 0) return;
    asm volatile("xrstor %0" : : "m"(kNothingInUse), "a"(1), "d"(0));
}

const Job& findJob(const std::string& name) {
    static const std::vector<Job> jobs = [] {
        std::vector<Job> all;
        for (auto family : {spectralJobs, bandJobs, statisticJobs, averagingJobs, filterJobs,
                            levelJobs, classifyJobs})
            std::ranges::move(family(), std::back_inserter(all));
        return all;
    }();
    const auto found = std::ranges::find(jobs, name, &Job::name);
    if (found == jobs.end()) throw std::runtime_error("there is no job " + name);
    return *found;
}

// The largest difference, relative to the largest value or to each value itself.
double difference(const Case& job, const Outputs& a, const Outputs& b) {
    const std::size_t missing = std::max(a.size(), b.size()) - std::min(a.size(), b.size());
    const std::size_t common = std::min(a.size(), b.size());
    if (missing > job.lateValues || common == 0) return std::numeric_limits<double>::infinity();
    double largest = 0.0;
    for (const double value : a)
        largest = std::max(largest, std::fabs(value));
    double worst = 0.0;
    for (std::size_t i = 0; i < common; ++i) {
        const double scale = job.eachByItself ? std::fabs(a[i]) : largest;
        const double error = std::fabs(a[i] - b[i]);
        if (!(error <= scale)) return std::numeric_limits<double>::infinity();
        if (error > 0.0) worst = std::max(worst, error / scale);
    }
    return worst;
}

class Table {
public:
    json cell(const std::string& name, Shape shape, const std::string& file) {
        case_ = findJob(name).prepare(shape);
        std::ofstream dump(file, std::ios::binary);
        Outputs wanted;
        std::vector<Outputs> given(case_->peers.size());
        for (std::size_t block = 0; block < case_->ring.size(); ++block) {
            case_->select(block);
            for (const Input& input : case_->inputs) {
                dump.write(reinterpret_cast<const char*>(input.data()),
                           static_cast<std::streamsize>(input.size() * sizeof(float)));
            }
            case_->project.step(&wanted);
            for (std::size_t i = 0; i < given.size(); ++i)
                case_->peers[i].step(&given[i]);
        }
        dump.write(reinterpret_cast<const char*>(wanted.data()),
                   static_cast<std::streamsize>(wanted.size() * sizeof(double)));
        json peers = json::array();
        for (std::size_t i = 0; i < given.size(); ++i) {
            const Candidate& peer = case_->peers[i];
            const double error = difference(*case_, wanted, given[i]);
            const double tolerance = peer.single ? kToleranceSingle : kToleranceDouble;
            peers.push_back({{"name", peer.name},
                             {"single", peer.single},
                             {"error", std::isfinite(error) ? json(error) : json()},
                             {"agrees", error <= tolerance}});
        }
        return {{"blocks", case_->ring.size()},
                {"inputs", case_->inputs.size()},
                {"values", case_->inputs[0].size()},
                {"results", wanted.size()},
                {"late", case_->lateValues},
                {"each", case_->eachByItself},
                {"peers", peers}};
    }

    json time(const std::string& name, double seconds) {
        const Candidate& candidate = name == "project"
                                         ? case_->project
                                         : *std::ranges::find(case_->peers, name, &Candidate::name);
        const auto step = [&] {
            case_->next();
            candidate.step(nullptr);
        };
        step();  // warms the caches
        if (name == "project") forgetX87();
        return timed(step, seconds);
    }

    static json idle() {
        HostRun run(vynhost::kSpektrum);
        run.setInputs({{Aligned<float>(256)}}, 1, {});
        run.begin();
        const json result = timed([&] { run.idle(); }, 0.02);
        run.end();
        return result;
    }

    static json memory(const std::string& name, Shape shape) {
        const auto job = findJob(name).prepare(shape);
        if (job->run == nullptr) throw std::runtime_error("no block does this job");
        job->run->end();
        const double before = allocated();
        job->run->begin();
        for (int i = 0; i < 20; ++i)
            job->run->step(nullptr);
        const double held = allocated();
        for (int i = 0; i < 2000; ++i)
            job->run->step(nullptr);
        return {{"held", held - before}, {"grown", allocated() - held}};
    }

private:
    // By the process, but for the host's data blocks.
    static double allocated() {
        const struct mallinfo2 info = mallinfo2();
        return static_cast<double>(info.uordblks + info.hblkhd) -
               static_cast<double>(HostRun::hostBytes());
    }

    // Doubles the number of steps until they take long enough.
    template <class Step>
    static json timed(Step step, double seconds) {
        double steps = 1.0;
        while (true) {
            const double start = processorSeconds();
            for (double i = 0.0; i < steps; ++i)
                step();
            const double taken = processorSeconds() - start;
            if (taken >= 0.8 * seconds) return taken / steps * 1e9;
            steps = std::max(steps * 2.0, std::floor(steps * seconds / std::max(taken, 1e-7)));
        }
    }

    std::unique_ptr<Case> case_;
};

json answer(Table& table, std::istream& request) {
    std::string verb;
    std::string name;
    std::string file;
    Shape shape;
    double seconds = 0.0;
    request >> verb;
    if (verb == "cell" && request >> name >> shape.channels >> shape.samples) {
        request >> file;
        return table.cell(name, shape, file.empty() ? "/dev/null" : file);
    }
    if (verb == "time" && request >> name >> seconds) return table.time(name, seconds);
    if (verb == "idle") return Table::idle();
    if (verb == "operation") return nanosecondsPerOperation();
    if (verb == "memory" && request >> name >> shape.channels >> shape.samples)
        return Table::memory(name, shape);
    throw std::runtime_error("what is that: " + verb);
}

}  // namespace
}  // namespace vynpack::bench

int main() {
    vynpack::bench::Table table;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream request(line);
        try {
            std::cout << vynpack::bench::answer(table, request).dump() << std::endl;
        } catch (const std::exception& error) {
            std::cout << nlohmann::json{{"failed", error.what()}}.dump() << std::endl;
        }
    }
}
