// A host in one page: loads the module, makes a spectrum block, answers its messages and reads the
// spectrum of one sine.
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "platform/system.h"

namespace {

constexpr vyn_int kContext = 1;  // the host's own name for its one block
constexpr int kSamples = 1024;
constexpr double kRate = 1024.0;  // Hz
constexpr double kPi = 3.14159265358979323846;

// What the module asks while a block works.
vyn_int answer(std::uint32_t message, vyn_int first, vyn_int second) {
    switch (message) {
        case VYN_INPUT_COUNT:
        case VYN_OUTPUT_COUNT: return 1;  // the phase, a second output, is off
        case VYN_NEW_BLOCK:
            return static_cast<vyn_int>(newDataBlock(static_cast<std::size_t>(second)));
        case VYN_COPY_HEADER:
            // NOLINTNEXTLINE(performance-no-int-to-ptr)
            *reinterpret_cast<vyn_channel_header*>(second) =
                *header(static_cast<vyn_handle>(first));
            return 1;
        case VYN_RELEASE_BLOCK: freeMemory(static_cast<vyn_handle>(first)); return 1;
        default: return 0;
    }
}

}  // namespace

int main(int argc, char** argv) {
    const Module module(argc > 1 ? argv[1] : MODULE_FILE, SHARED_DIRECTORY);
    if (!module.loaded()) return std::fprintf(stderr, "the module does not load\n"), 1;
    const auto setInit = reinterpret_cast<vyn_SetInit>(module.find("SetInit"));
    const auto getParameters = reinterpret_cast<vyn_GetParameters>(module.find("GetParameters"));
    const auto initSim = reinterpret_cast<vyn_InitSim>(module.find("InitSim"));
    const auto simulation = reinterpret_cast<vyn_Simulation>(module.find("Simulation"));
    const auto stoppen = reinterpret_cast<vyn_Stoppen>(module.find("Stoppen"));
    const auto destroyBlock = reinterpret_cast<vyn_DestroyBlock>(module.find("DestroyBlock"));

    setInit(VYN_HOST_WINDOW, openWindow(answer), VYN_INTERFACE_VERSION);
    const vyn_int block = getParameters(kContext, VYN_SPEKTRUM, 0, 0);

    const vyn_handle sine = newDataBlock(kSamples);
    *header(sine) = {kSamples, VYN_SECONDS, VYN_UNIT_NONE, 0, 0.0, 1.0 / kRate, -1.0, 2.0, 1, 0};
    for (int i = 0; i < kSamples; ++i)  // 50 Hz, amplitude 3
        values(sine)[i] = static_cast<float>(3.0 * std::sin(2.0 * kPi * 50.0 * i / kRate));
    const vyn_handle handle = newMemory(sizeof(vyn_simulation_record));
    auto& record = *static_cast<vyn_simulation_record*>(address(handle));
    record.input_data[0] = sine;

    initSim(kContext, VYN_SPEKTRUM, block, 0);
    const vyn_int result = simulation(kContext, VYN_SPEKTRUM, block, static_cast<vyn_int>(handle));
    const vyn_handle spectrum = record.output_data[0];
    if (spectrum != 0) {
        std::printf("line 50: %.4f at %.1f Hz\n", static_cast<double>(values(spectrum)[50]),
                    header(spectrum)->x_start + 50 * header(spectrum)->x_step);
        freeMemory(spectrum);
    }
    stoppen(kContext, VYN_SPEKTRUM, block, 0);
    destroyBlock(kContext, VYN_SPEKTRUM, block, 0);
    setInit(VYN_SHUT_DOWN, 0, 0);
    freeMemory(handle);
    return spectrum != 0 && result != VYN_FAILED ? 0 : 1;
}
