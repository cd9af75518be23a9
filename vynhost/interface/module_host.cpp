#include "vynhost/interface/module_host.h"

#include <xmmintrin.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <sstream>

namespace vynhost {
namespace {

Int intOf(Handle handle) { return static_cast<Int>(handle); }

Handle handleOf(Int value) { return static_cast<Handle>(value); }

// The parameters that a message has no use for are 0.
bool isWellFormed(Message message, Int first, Int second) {
    switch (message) {
        case Message::triggerThreshold:
        case Message::showHelp: return first == 0 && second == 0;
        case Message::newBlock: return first == 0;
        case Message::releaseBlock:
        case Message::inputCount:
        case Message::outputCount: return second == 0;
        case Message::copyHeader: break;
    }
    return true;
}

}  // namespace

// --- Observation ----------------------------------------------------------------------------

ModuleHost::Observation::Observation(ModuleHost& host) noexcept : host_(host), mode_(_mm_getcsr()) {
    if (host_.depth_++ == 0) platform::catchBoxes();
}

ModuleHost::Observation::~Observation() {
    if (_mm_getcsr() != mode_) {
        _mm_setcsr(mode_);
        host_.offend("the floating-point mode has changed");
    }
    if (--host_.depth_ > 0) return;
    for (Box& box : platform::caughtBoxes())
        host_.boxes_.push_back(std::move(box));
    if (!host_.options_.checkLocks) return;
    for (const std::string& name : host_.memory_.locked())
        host_.offend(name + " is left locked");
}

// --- Host -----------------------------------------------------------------------------------

ModuleHost::ModuleHost(const ModuleLibrary& module, Options options)
    : module_(module), options_(options), memory_(options.guard) {
    window_ = platform::openWindow([this](std::uint32_t message, Int first, Int second) {
        return answer(message, first, second);
    });
    setInit(kHostWindow, window_, kInterfaceVersion);
}

ModuleHost::~ModuleHost() {
    setInit(kHostWindow, 0, kInterfaceVersion);
    platform::closeWindow();
}

Int ModuleHost::setInit(Int mode, Int window, Int value) {
    return call(exports().SetInit, mode, window, value);
}

Int ModuleHost::getInfo(Int typeCode, Int query, Int blockHandle) {
    return call(exports().GetInfo, 1, typeCode, query, blockHandle);
}

std::string ModuleHost::infoText(Int typeCode, Int query, Int blockHandle) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    const auto* text = reinterpret_cast<const char*>(getInfo(typeCode, query, blockHandle));
    return platform::fromModuleText(text);
}

bool ModuleHost::creates(Int typeCode) {
    const Int handle = call(exports().GetParameters, 1, typeCode, 0, 0);
    if (handle != 0) call(exports().DestroyBlock, 1, typeCode, handle, 0);
    return handle != 0;
}

std::vector<std::string> ModuleHost::takeOffences() {
    for (const std::string& name : memory_.takeOverruns()) {
        offend(name + " was written behind its end");
    }
    return std::exchange(offences_, {});
}

void ModuleHost::misbehave(Rule rule) { rules_.push_back({std::move(rule), 0}); }

Int ModuleHost::enter(PlacedBlock& block) {
    const Int context = ++lastContext_;
    blocks_.emplace(context, &block);
    return context;
}

const PlacedBlock* ModuleHost::blockOf(Int context) const {
    const auto found = blocks_.find(context);
    return found == blocks_.end() ? nullptr : found->second;
}

// --- Messages -------------------------------------------------------------------------------

Int ModuleHost::answer(std::uint32_t message, Int first, Int second) {
    const auto known = static_cast<Message>(message);
    if (!options_.trace) return serve(known, first, second);
    const std::string named = memory_.name(handleOf(first));  // a release ends the handle's life
    const Int result = serve(known, first, second);
    note(known, named, second, result);
    return result;
}

Int ModuleHost::serve(Message message, Int first, Int second) {
    if (!isWellFormed(message, first, second)) {
        offend("message " + std::to_string(static_cast<std::uint32_t>(message)) +
               " carries a number where it has no use for one");
    }
    const Rule* rule = ruleFor(message);
    if (rule != nullptr && rule->fault == Fault::answer) return rule->value;
    if (rule != nullptr && rule->before) rule->before();
    switch (message) {
        case Message::triggerThreshold: return reinterpret_cast<Int>(&threshold_);
        case Message::newBlock: return newBlock(second, rule);
        case Message::releaseBlock: return releaseBlock(handleOf(first));
        case Message::copyHeader:
            // NOLINTNEXTLINE(performance-no-int-to-ptr)
            return copyHeader(handleOf(first), reinterpret_cast<void*>(second), rule);
        case Message::showHelp: ++helpRequests_; return 0;
        case Message::inputCount:
        case Message::outputCount: {
            const PlacedBlock* block = blockOf(first);
            if (block == nullptr) {
                offend("connectors are counted for a context that is none");
                return 0;
            }
            return message == Message::inputCount ? block->inputCount() : block->outputCount();
        }
    }
    offend("message " + std::to_string(static_cast<std::uint32_t>(message)) + " is unknown");
    return 0;
}

const Rule* ModuleHost::ruleFor(Message message) {
    const Rule* applies = nullptr;
    for (ActiveRule& active : rules_) {
        if (active.rule.message != message) continue;
        const int call = ++active.calls - active.rule.first;
        if (call >= 0 && call < active.rule.times && applies == nullptr) applies = &active.rule;
    }
    return applies;
}

Int ModuleHost::newBlock(Int values, const Rule* rule) {
    if (values < 0) {
        offend("a block of " + std::to_string(values) + " values is asked for");
        return 0;
    }
    if (rule != nullptr && rule->fault == Fault::unlockable) {
        return intOf(memory_.allocateUnlockable(HostMemory::Kind::data));
    }
    if (rule != nullptr && rule->fault == Fault::sameBlock && memory_.isData(lastNewBlock_)) {
        return intOf(lastNewBlock_);
    }
    const bool half = rule != nullptr && rule->fault == Fault::halfSize;
    const auto size = static_cast<std::size_t>(half ? values / 2 : values);
    if (size > options_.mostValues) return 0;
    lastNewBlock_ = memory_.allocateData(size);
    return intOf(lastNewBlock_);
}

Int ModuleHost::releaseBlock(Handle handle) {
    if (!memory_.isData(handle)) {
        offend("what is given back is no data block, or was given back before");
        return 0;
    }
    if (platform::lockCount(handle) != 0) {
        offend(memory_.name(handle) + " is given back while it is locked");
    }
    memory_.free(handle);
    return 1;
}

Int ModuleHost::copyHeader(Handle input, void* output, const Rule* rule) {
    const Handle target = memory_.dataAt(output);
    if (target == Handle::none || !memory_.isData(input)) {
        offend("a head is to be copied from or to something that is no data block");
        return 0;
    }
    if (rule != nullptr && rule->fault == Fault::garbage) {
        std::memset(output, 0xFF, kValuesOffset);
        return 0;
    }
    const platform::View from(input);
    if (from.address() != nullptr) std::memmove(output, from.address(), kValuesOffset);
    return 0;
}

void ModuleHost::note(Message message, const std::string& first, Int second, Int result) {
    std::string line = std::to_string(static_cast<std::uint32_t>(message));
    switch (message) {
        case Message::newBlock:
            line += " " + std::to_string(second) + " -> " + memory_.name(handleOf(result));
            break;
        case Message::releaseBlock: line += " " + first; break;
        case Message::copyHeader:
            line += " " + first + " " +
                    // NOLINTNEXTLINE(performance-no-int-to-ptr)
                    memory_.name(memory_.dataAt(reinterpret_cast<void*>(second)));
            break;
        case Message::inputCount:
        case Message::outputCount: line += " -> " + std::to_string(result); break;
        default: break;
    }
    trace_.push_back(std::move(line));
}

// --- Block ----------------------------------------------------------------------------------

template <class Work>
auto PlacedBlock::withRecord(Work work) const {
    const platform::View view(record_.handle());
    return work(*reinterpret_cast<SimulationRecord*>(view.address()));
}

PlacedBlock::PlacedBlock(ModuleHost& host, int typeCode)
    : PlacedBlock(host, typeCode, static_cast<platform::ParameterFile*>(nullptr)) {}

PlacedBlock::PlacedBlock(ModuleHost& host, int typeCode, const std::string& record)
    : PlacedBlock(host, typeCode, std::make_unique<platform::ParameterFile>(record).get()) {}

PlacedBlock::PlacedBlock(ModuleHost& host, int typeCode, platform::ParameterFile& file)
    : PlacedBlock(host, typeCode, &file) {}

PlacedBlock::PlacedBlock(ModuleHost& host, int typeCode, platform::ParameterFile* file)
    : host_(host),
      typeCode_(typeCode),
      context_(host.enter(*this)),
      record_(host.memory(), sizeof(SimulationRecord)) {
    withRecord([](SimulationRecord& record) {
        record.inputChannel.fill(-1);
        record.outputChannel.fill(-1);
    });
    const Exports& exports = host_.exports();
    handle_ = file == nullptr
                  ? host_.call(exports.GetParameters, context_, typeCode_, 0, 0)
                  : host_.call(exports.RestoreParameters, context_, typeCode_, 0, file->handle());
}

PlacedBlock::~PlacedBlock() {
    if (created()) host_.call(host_.exports().DestroyBlock, context_, typeCode_, handle_, 0);
    for (int i = 0; i < kMaxConnectors; ++i) {
        host_.memory().free(inputData(i));
        host_.memory().free(outputData(i));
    }
    host_.leave(context_);
}

std::string PlacedBlock::connectors() { return host_.infoText(typeCode_, kConnectors, handle_); }

namespace {

// A comma ends each label.
std::vector<std::string> labelsOf(const std::string& list) {
    std::vector<std::string> labels;
    std::istringstream rest(list);
    for (std::string label; std::getline(rest, label, ',');)
        labels.push_back(label);
    return labels;
}

}  // namespace

std::vector<std::string> PlacedBlock::inputLabels() {
    const std::string text = connectors();
    return labelsOf(text.substr(0, text.find(';')));
}

std::vector<std::string> PlacedBlock::outputLabels() {
    const std::string text = connectors();
    const std::size_t separator = text.find(';');
    return labelsOf(separator == std::string::npos ? "" : text.substr(separator + 1));
}

void PlacedBlock::wireAll() {
    const auto inputs = static_cast<int>(inputLabels().size());
    const auto outputs = static_cast<int>(outputLabels().size());
    for (int i = 0; i < kMaxConnectors; ++i)
        wireInput(i, i < inputs ? i : -1);
    for (int j = 0; j < kMaxConnectors; ++j)
        wireOutput(j, j < outputs ? j : -1);
    setCounts(inputs, outputs);
}

void PlacedBlock::wireInput(int connector, int channel) {
    withRecord([&](SimulationRecord& record) {
        record.inputChannel.at(static_cast<std::size_t>(connector)) = channel;
    });
}

void PlacedBlock::wireOutput(int connector, int channel) {
    withRecord([&](SimulationRecord& record) {
        record.outputChannel.at(static_cast<std::size_t>(connector)) = channel;
    });
}

void PlacedBlock::setCounts(Int inputs, Int outputs) noexcept {
    inputCount_ = inputs;
    outputCount_ = outputs;
}

Handle PlacedBlock::put(int input, const ChannelData& data) {
    const Handle handle = host_.memory().allocateData(data);
    put(input, handle);
    return handle;
}

void PlacedBlock::put(int input, Handle handle) {
    const Handle before = inputData(input);
    if (before != handle) host_.memory().free(before);
    withRecord([&](SimulationRecord& record) {
        record.inputData.at(static_cast<std::size_t>(input)) = handle;
    });
}

Handle PlacedBlock::inputData(int input) const {
    return withRecord([&](const SimulationRecord& record) {
        return record.inputData.at(static_cast<std::size_t>(input));
    });
}

Handle PlacedBlock::outputData(int output) const {
    return withRecord([&](const SimulationRecord& record) {
        return record.outputData.at(static_cast<std::size_t>(output));
    });
}

void PlacedBlock::setOutputData(int output, Handle handle) {
    withRecord([&](SimulationRecord& record) {
        record.outputData.at(static_cast<std::size_t>(output)) = handle;
    });
}

std::optional<ChannelData> PlacedBlock::take(int output) {
    const Handle handle = takeHandle(output);
    if (handle == Handle::none) return std::nullopt;
    ChannelData data = host_.memory().read(handle);
    host_.memory().free(handle);
    return data;
}

Handle PlacedBlock::takeHandle(int output) {
    const Handle handle = outputData(output);
    setOutputData(output, Handle::none);
    return handle;
}

Int PlacedBlock::initSim() {
    return host_.call(host_.exports().InitSim, context_, typeCode_, handle_, 0);
}

Int PlacedBlock::simulate() {
    return host_.call(host_.exports().Simulation, context_, typeCode_, handle_,
                      intOf(record_.handle()));
}

Int PlacedBlock::stop() {
    const Int result = host_.call(host_.exports().Stoppen, context_, typeCode_, handle_, 0);
    // A block that failed may have held on to an input and given it back only now.
    for (int i = 0; i < kMaxConnectors; ++i) {
        if (waits(i) && !host_.memory().isData(inputData(i))) put(i, Handle::none);
    }
    return result;
}

Int PlacedBlock::errorShow() {
    return host_.call(host_.exports().lErrorShow, context_, handle_, 0, 0);
}

Int PlacedBlock::showDialog() {
    return host_.call(host_.exports().GetParameters, context_, typeCode_, handle_, 0);
}

platform::DialogEnd PlacedBlock::askUser() {
    return platform::leaveToUser([this] { showDialog(); });
}

std::optional<ChannelData> PlacedBlock::process(const ChannelData& data) {
    put(0, data);
    simulate();
    return take(0);
}

// --- Parameters -----------------------------------------------------------------------------

std::vector<KeywordRow> PlacedBlock::keywords() {
    HostMemory& memory = host_.memory();
    SharedRecord info(memory, kInfoSize);
    const auto request = [&](Int subCode) {
        host_.call(host_.exports().lRemoteControl, context_, handle_, 0, subCode,
                   intOf(info.handle()));
    };
    std::int32_t count = 0;
    request(kCountKeywords);
    info.read(0, &count, sizeof count);
    if (count <= 0) return {};

    SharedRecord table(memory, kKeywordRow * static_cast<std::size_t>(count));
    const Handle tableHandle = table.handle();
    info.write(kInfoTableOffset, &tableHandle, sizeof tableHandle);
    request(kListKeywords);
    std::vector<KeywordRow> rows(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::array<char, kKeywordRow> bytes{};
        table.read(i * kKeywordRow, bytes.data(), bytes.size());
        rows[i].name.assign(bytes.data(), ::strnlen(bytes.data(), kKeywordNameSize));
        std::memcpy(&rows[i].type, &bytes[kKeywordTypeOffset], sizeof rows[i].type);
        std::memcpy(&rows[i].reserved1, &bytes[kKeywordReservedOffset], 4);
        std::memcpy(&rows[i].reserved2, &bytes[kKeywordReservedOffset + 4], 4);
    }
    return rows;
}

Int PlacedBlock::remoteControl(Int subCode, std::string_view keyword, std::string& valueBytes) {
    HostMemory& memory = host_.memory();
    SharedRecord info(memory, kInfoSize);
    SharedRecord value(memory, kValueRecordSize);
    SharedRecord buffer(memory, valueBytes.size());
    const std::string name(keyword.substr(0, kValueKeywordSize - 1));
    value.write(0, name.c_str(), name.size() + 1);
    void* const address = buffer.address();
    value.write(kValueAddressOffset, &address, sizeof address);
    buffer.write(0, valueBytes.data(), valueBytes.size());
    const Int result = host_.call(host_.exports().lRemoteControl, context_, handle_,
                                  intOf(value.handle()), subCode, intOf(info.handle()));
    buffer.read(0, valueBytes.data(), valueBytes.size());
    return result;
}

template <class Value>
Value PlacedBlock::getNumber(std::string_view keyword) {
    std::string bytes(sizeof(Value), '\0');
    remoteControl(kGetValue, keyword, bytes);
    Value value{};
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

template <class Value>
void PlacedBlock::setNumber(std::string_view keyword, Value value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    remoteControl(kSetValue, keyword, bytes);
}

std::int32_t PlacedBlock::getInteger(std::string_view keyword) {
    return getNumber<std::int32_t>(keyword);
}

double PlacedBlock::getReal(std::string_view keyword) { return getNumber<double>(keyword); }

std::string PlacedBlock::getText(std::string_view keyword) {
    std::string bytes(256, '\0');
    remoteControl(kGetValue, keyword, bytes);
    bytes.resize(::strnlen(bytes.data(), bytes.size()));
    return platform::fromModuleText(bytes.c_str());
}

void PlacedBlock::set(std::string_view keyword, std::int32_t value) { setNumber(keyword, value); }

void PlacedBlock::set(std::string_view keyword, double value) { setNumber(keyword, value); }

void PlacedBlock::set(std::string_view keyword, std::string_view text) {
    std::string bytes(text);
    bytes.push_back('\0');
    remoteControl(kSetValue, keyword, bytes);
}

KeywordValue PlacedBlock::get(const KeywordRow& row) {
    switch (row.type) {
        case ValueType::real: return getReal(row.name);
        case ValueType::text: return getText(row.name);
        default: return getInteger(row.name);
    }
}

void PlacedBlock::set(const KeywordRow& row, const KeywordValue& value) {
    std::visit([&](const auto& typed) { set(row.name, typed); }, value);
}

std::string PlacedBlock::save() {
    platform::ParameterFile file;
    host_.call(host_.exports().SaveParameters, context_, typeCode_, handle_, file.handle());
    return file.contents();
}

}  // namespace vynhost
