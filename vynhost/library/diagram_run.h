// A diagram run for a program that takes the data blocks at its sinks itself.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>

#include "vynhost/interface/channel_data.h"
#include "vynhost/interface/module_host.h"

namespace vynhost {

// Places are numbered from 0 in the order of the sinks and of what each takes.
using PlaceListener = std::function<void(int place, const ChannelData& block)>;

// Runs the diagram of this file, `inputs` in the place of its sources' recordings, and gives what
// the sinks ask for, as JSON: sinks with their places, and notes of what was read and left out.
// Sinks write no files, and comparisons are not made. `memory` is what the run may take, in bytes.
// Raises RunError.
std::string runDiagram(ModuleHost& host, const std::filesystem::path& file,
                       const std::map<std::string, std::filesystem::path>& inputs,
                       std::uint64_t memory, const PlaceListener& take);

}  // namespace vynhost
