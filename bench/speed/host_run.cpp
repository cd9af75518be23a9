#include "host_run.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

#include "vynhost/interface/platform/system.h"

namespace vynpack::bench {

using vynhost::Handle;
using vynhost::Int;
using vynhost::Message;

namespace {

constexpr Int kContext = 0x1001;
constexpr int kWiredOutputs = 3;

}  // namespace

const vynhost::ModuleLibrary& theModule() {
    static const vynhost::ModuleLibrary module(vynhost::ModuleLibrary::defaultPath());
    return module;
}

std::span<float> HostRun::DataBlock::values() {
    return {reinterpret_cast<float*>(static_cast<std::byte*>(memory) + vynhost::kValuesOffset),
            static_cast<std::size_t>(header().valueCount)};
}

HostRun::DataBlock& HostRun::blockOf(Handle handle) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return *reinterpret_cast<DataBlock*>(static_cast<std::uint64_t>(handle));
}

HostRun::HostRun(int typeCode) : module_(theModule().exports()), type_(typeCode) {
    module_.SetInit(vynhost::kHostWindow, reinterpret_cast<Int>(&answer),
                    vynhost::kInterfaceVersion);
    block_ = module_.GetParameters(kContext, type_, 0, 0);
    if (block_ == 0) throw std::runtime_error("type " + std::to_string(typeCode) + " is unknown");
    record_.inputChannel.fill(-1);
    record_.outputChannel.fill(-1);
    std::fill_n(record_.outputChannel.begin(), kWiredOutputs, 0);
}

HostRun::~HostRun() {
    active_ = this;
    module_.DestroyBlock(kContext, type_, block_, 0);
    active_ = nullptr;
}

void HostRun::remoteControl(std::string_view keyword, const void* value) {
    std::array<std::byte, vynhost::kInfoSize> info{};
    std::array<std::byte, vynhost::kValueRecordSize> request{};
    std::memcpy(request.data(), keyword.data(), keyword.size());
    std::memcpy(request.data() + vynhost::kValueAddressOffset, &value, sizeof value);
    void* infoAddress = info.data();
    void* requestAddress = request.data();
    module_.lRemoteControl(kContext, block_, reinterpret_cast<Int>(&requestAddress),
                           vynhost::kSetValue, reinterpret_cast<Int>(&infoAddress));
}

void HostRun::set(std::string_view keyword, std::int32_t value) { remoteControl(keyword, &value); }
void HostRun::set(std::string_view keyword, double value) { remoteControl(keyword, &value); }
void HostRun::set(std::string_view keyword, const char* text) { remoteControl(keyword, text); }

void HostRun::patchRecord(std::size_t offset, std::int16_t word) {
    vynhost::platform::ParameterFile file;
    module_.SaveParameters(kContext, type_, block_, file.handle());
    std::string bytes = file.contents();
    std::memcpy(bytes.data() + vynhost::kRecordFrame + offset, &word, sizeof word);
    vynhost::platform::ParameterFile patched(bytes);
    module_.DestroyBlock(kContext, type_, block_, 0);
    block_ = module_.RestoreParameters(kContext, type_, 0, patched.handle());
    if (block_ == 0) throw std::runtime_error("the parameter record was refused");
}

HostRun::DataBlock& HostRun::makeBlock(std::size_t values) {
    DataBlock& block = blocks_.emplace_back();
    block.capacity = values;
    // Room for the module to read and write whole registers is not part of the bargain: the memory
    // ends where the values do.
    block.bytes.resize(vynhost::kValuesOffset + values * sizeof(float));
    block.memory = block.bytes.data();
    hostBytes_ += block.bytes.size();
    return block;
}

void HostRun::setInputs(const std::vector<std::vector<Aligned<float>>>& ring, std::size_t channels,
                        Axis axis) {
    for (const std::vector<Aligned<float>>& blocks : ring) {
        connectors_ = 0;
        for (const Aligned<float>& values : blocks) {
            DataBlock& block = makeBlock(values.size());
            block.input = true;
            block.header() = {};
            block.header().valueCount = static_cast<std::int32_t>(values.size());
            block.header().xAxisKind = axis.kind;
            block.header().yUnit = axis.unit;
            block.header().xStep = axis.step;
            block.header().displaySpan = 2.0;
            block.header().channelCount = static_cast<std::int32_t>(channels);
            std::ranges::copy(values, block.values().begin());
            record_.inputChannel.at(connectors_++) = 0;
            waiting_.push_back(handleOf(block));
        }
    }
}

void HostRun::begin() {
    active_ = this;
    module_.InitSim(kContext, type_, block_, 0);
}

void HostRun::end() {
    active_ = this;
    module_.Stoppen(kContext, type_, block_, 0);
}

void HostRun::takeOutputs(Outputs* outputs) {
    for (int i = 0; i < kWiredOutputs; ++i) {
        Handle& output = record_.outputData[static_cast<std::size_t>(i)];
        if (output == Handle::none) continue;
        DataBlock& block = blockOf(output);
        append(outputs, block.values());
        free_.push_back(&block);
        output = Handle::none;
    }
}

void HostRun::step(Outputs* outputs) {
    active_ = this;
    const auto record = reinterpret_cast<Int>(&recordAddress_);
    std::copy_n(&waiting_[at_ * connectors_], connectors_, record_.inputData.data());
    do {
        if (module_.Simulation(kContext, type_, block_, record) == vynhost::kFailed) {
            throw std::runtime_error("the block fails: is the analysis library found?");
        }
        takeOutputs(outputs);
    } while (record_.inputData[0] != Handle::none);
}

void HostRun::idle() {
    active_ = this;
    module_.Simulation(kContext, type_, block_, reinterpret_cast<Int>(&recordAddress_));
}

Int HostRun::giveBlock(std::size_t values) {
    const auto fits =
        std::ranges::find_if(free_, [&](DataBlock* b) { return b->capacity >= values; });
    if (fits == free_.end()) return static_cast<Int>(handleOf(makeBlock(values)));
    DataBlock& block = **fits;
    free_.erase(fits);
    return static_cast<Int>(handleOf(block));
}

Int HostRun::answer(std::uint32_t message, Int first, Int second) {
    switch (Message{message}) {
        case Message::newBlock: return active_->giveBlock(static_cast<std::size_t>(second));
        case Message::releaseBlock: {
            DataBlock& block = blockOf(Handle{static_cast<std::uint64_t>(first)});
            if (!block.input) active_->free_.push_back(&block);
            return 1;
        }
        case Message::copyHeader: {
            DataBlock& input = blockOf(Handle{static_cast<std::uint64_t>(first)});
            // NOLINTNEXTLINE(performance-no-int-to-ptr)
            std::memcpy(reinterpret_cast<void*>(second), input.memory, vynhost::kValuesOffset);
            return 0;
        }
        case Message::inputCount: return static_cast<Int>(active_->connectors_);
        case Message::outputCount: return kWiredOutputs;
        default: return 0;
    }
}

void Case::select(std::size_t block) {
    point(block);
    if (run != nullptr) run->select(block);
}

void attach(Case& job, const std::shared_ptr<HostRun>& run, HostRun::Axis axis) {
    run->setInputs(job.ring, job.shape.channels, axis);
    run->begin();
    job.run = run;
    job.project = {"project", false, [run](Outputs* outputs) { run->step(outputs); }};
}

}  // namespace vynpack::bench
