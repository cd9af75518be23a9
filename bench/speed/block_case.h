// A job whose project side is a block of the module with one input.
#pragma once

#include <memory>
#include <utility>

#include "candidate.h"
#include "host_run.h"

namespace vynpack::bench {

// Sample i of channel c, as `signal(c, i)` gives it, the data blocks one behind the other.
template <class Signal>
std::unique_ptr<Case> blockCase(Shape shape, const std::shared_ptr<HostRun>& run,
                                HostRun::Axis axis, Signal signal, std::size_t leastBlocks = 3) {
    auto job = std::make_unique<Case>(
        shape, 1, shape.values(),
        [&](std::size_t block, std::vector<Aligned<float>>& inputs) {
            for (std::size_t i = 0; i < shape.samples; ++i) {
                for (std::size_t c = 0; c < shape.channels; ++c)
                    inputs[0][i * shape.channels + c] = signal(c, block * shape.samples + i);
            }
        },
        leastBlocks);
    attach(*job, run, axis);
    return job;
}

// A peer is an object that is made from the shape and the input, does a step when it is called, and
// holds its results in `out`.
template <class Peer, class... Arguments>
void addPeer(Case& job, const char* name, bool single, Arguments&&... arguments) {
    auto peer =
        std::make_shared<Peer>(job.shape, job.inputs[0], std::forward<Arguments>(arguments)...);
    job.peers.push_back({name, single, [peer](Outputs* outputs) {
                             (*peer)();
                             append(outputs, peer->out);
                         }});
}

// What every such peer begins with.
struct PeerBase {
    PeerBase(Shape shape_, const Input& in_, std::size_t results)
        : shape(shape_), in(in_), out(results) {}
    Shape shape;
    const Input& in;
    Aligned<float> out;
};

}  // namespace vynpack::bench
