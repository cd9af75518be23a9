#include "vynhost/interface/placed_block.h"

#include <array>
#include <cstring>
#include <memory>
#include <sstream>

namespace vynhost {
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

// --- Life -----------------------------------------------------------------------------------

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
        record.inputChannel.fill(kUnwired);
        record.outputChannel.fill(kUnwired);
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

// --- Connectors -----------------------------------------------------------------------------

std::string PlacedBlock::connectors() { return host_.infoText(typeCode_, kConnectors, handle_); }

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
        wireInput(i, i < inputs ? i : kUnwired);
    for (int j = 0; j < kMaxConnectors; ++j)
        wireOutput(j, j < outputs ? j : kUnwired);
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

// --- Data -----------------------------------------------------------------------------------

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

// --- A run ----------------------------------------------------------------------------------

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
    info.read(kInfoCountOffset, &count, sizeof count);
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
    value.write(kValueKeywordOffset, name.c_str(), name.size() + 1);
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
