#include "vynhost/library/include/vynpack/vynhost.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "vynhost/base/memory_limit.h"
#include "vynhost/base/text.h"
#include "vynhost/interface/installation.h"
#include "vynhost/library/diagram_run.h"
#include "vynhost/library/running_block.h"

using namespace vynhost;

// What the caller holds; its texts and memory live in the block behind it.
struct vynhost_block {
    std::unique_ptr<RunningBlock> running;
};

namespace {

// The module at work, one per process.
struct OpenModule {
    explicit OpenModule(const Installation& installation)
        : library(loadModule(installation)), host(library), types(moduleTypes(host)) {}

    ModuleLibrary library;
    ModuleHost host;
    std::vector<TypeInfo> types;
    std::thread::id thread = std::this_thread::get_id();
};

// Never destroyed at the end of a process: blocks of other languages may outlive it.
std::unique_ptr<OpenModule>& openModule() {
    static auto* module = new std::unique_ptr<OpenModule>;
    return *module;
}

std::mutex& calls() {
    static auto* mutex = new std::mutex;
    return *mutex;
}

std::string& errorText() {
    thread_local std::string text;
    return text;
}

// A text that the caller reads, valid until this thread's next one.
const char* lent(std::string text) {
    thread_local std::string kept;
    kept = std::move(text);
    return kept.c_str();
}

// Where message boxes are lines on standard error, lines of other threads are among them: a call
// that went well has none of its own.
void passOnForeignLines() {
    if (!openModule() || openModule()->host.boxes().empty()) return;
    for (const Box& box : openModule()->host.takeBoxes()) {
        const std::string line = (box.caption.empty() ? "" : box.caption + ": ") + box.text + "\n";
        std::fputs(line.c_str(), stderr);
    }
}

// One call at a time; no exception leaves the library.
template <class Work>
std::int32_t guarded(Work work) noexcept {
    try {
        const std::lock_guard<std::mutex> alone(calls());
        try {
            work();
            passOnForeignLines();
            return VYNHOST_DONE;
        } catch (const RunError& error) {
            errorText() = error.what();
            return error.code();
        } catch (const ModuleError& error) {
            errorText() = error.what();
            return VYNHOST_NO_MODULE;
        } catch (const std::exception& error) {
            errorText() = error.what();
            return VYNHOST_WRONG_INPUT;
        }
    } catch (...) {  // not even the text could be kept
        return VYNHOST_WRONG_INPUT;
    }
}

OpenModule& theModule() {
    OpenModule* module = openModule().get();
    if (module == nullptr) throw ModuleError("no module has been opened");
    if (platform::kWindowBelongsToThread && module->thread != std::this_thread::get_id()) {
        throw ModuleError("the module answers on this system only the thread that has opened it");
    }
    return *module;
}

template <class Pointer>
Pointer& required(Pointer* pointer, const char* what) {
    if (pointer == nullptr) throw InputError(std::string(what) + " is missing");
    return *pointer;
}

RunningBlock& runningOf(vynhost_block* block) {
    theModule();
    return *required(block, "the block").running;
}

Setting settingOf(const vynhost_setting& given, const std::string& name) {
    Setting setting;
    setting.keyword = &required(given.keyword, "a setting's keyword");
    setting.place.key = given.place != nullptr ? given.place : name + "." + setting.keyword;
    switch (given.kind) {
        case VYNHOST_INTEGER: setting.value = given.integer; break;
        case VYNHOST_REAL: setting.value = given.real; break;
        case VYNHOST_TEXT: setting.value = std::string(&required(given.text, "a text")); break;
        default: throw InputError(setting.place, "has no value");
    }
    return setting;
}

std::vector<Setting> settingsOf(const vynhost_setting* settings, std::int32_t count,
                                const std::string& name) {
    std::vector<Setting> result;
    result.reserve(static_cast<std::size_t>(std::max(count, 0)));
    for (std::int32_t i = 0; i < count; ++i)
        result.push_back(settingOf(required(settings + i, "the settings"), name));
    return result;
}

void putOut(RunningBlock& running, vynhost_data* outputs, std::int32_t count) {
    const auto there = static_cast<std::int32_t>(running.outputs().size());
    for (std::int32_t j = 0; j < count; ++j) {
        const auto data = j < there ? running.take(j) : std::nullopt;
        outputs[j] = data.value_or(vynhost_data{});
    }
}

}  // namespace

// --- The module -----------------------------------------------------------------------------

const char* vynhost_error(void) { return errorText().c_str(); }

std::int32_t vynhost_open(const char* module_file) {
    return guarded([&] {
        if (openModule()) throw ModuleError("a module is open already");
        const Installation installation =
            module_file == nullptr ? findInstallation() : installationOf(pathOf(module_file));
        requireLibrary(installation);
        openModule() = std::make_unique<OpenModule>(installation);
    });
}

std::int32_t vynhost_close(void) {
    return guarded([] {
        if (openModule()) theModule();
        openModule().reset();
    });
}

std::int32_t vynhost_keyword_at(const char* type, std::int32_t index, vynhost_keyword* keyword) {
    return guarded([&] {
        vynhost_keyword& result = required(keyword, "the place of the keyword");
        result = {};
        const auto& known = typeNamed(&required(type, "the type"), theModule().types, {});
        const auto rows = meaningOf(known.code).keywords;
        if (index < 0 || static_cast<std::size_t>(index) >= rows.size()) return;
        const KeywordMeaning& row = rows[static_cast<std::size_t>(index)];
        thread_local std::string texts;
        texts.clear();
        std::array<std::size_t, 4> begins{};
        std::size_t i = 0;
        for (const std::string& text :
             {std::string(row.name), std::string(row.says), std::string(row.unit), row.allowed()}) {
            begins.at(i++) = texts.size();
            texts.append(text).push_back('\0');
        }
        result = {&texts[begins[0]], &texts[begins[1]], &texts[begins[2]], &texts[begins[3]]};
    });
}

// --- Blocks ---------------------------------------------------------------------------------

std::int32_t vynhost_block_new(const char* type, const char* name, const void* record,
                               std::int64_t record_bytes, const vynhost_setting* settings,
                               std::int32_t count, vynhost_block** block) {
    return guarded([&] {
        OpenModule& module = theModule();
        vynhost_block*& result = required(block, "the place of the block");
        BlockEntry entry;
        entry.type = &required(type, "the type");
        entry.name = name == nullptr ? entry.type : name;
        entry.place.key = entry.name;
        entry.typePlace = entry.place;
        entry.recordPlace.key = entry.name + ".record";
        if (record != nullptr) {
            if (record_bytes < 0) throw InputError(entry.recordPlace, "has a size below 0");
            entry.record.emplace(static_cast<const char*>(record),
                                 static_cast<std::size_t>(record_bytes));
        }
        entry.settings = settingsOf(settings, count, entry.name);
        auto made = std::make_unique<vynhost_block>();
        made->running = std::make_unique<RunningBlock>(module.host, module.types, std::move(entry));
        result = made.release();
    });
}

void vynhost_block_delete(vynhost_block* block) {
    if (block == nullptr) return;
    // Without its module, or from a thread that the module does not answer, it cannot be destroyed.
    guarded([&] {
        theModule();
        delete block;
    });
}

std::int32_t vynhost_block_get(vynhost_block* block, const char* keyword, vynhost_setting* value) {
    return guarded([&] {
        RunningBlock& running = runningOf(block);
        vynhost_setting& result = required(value, "the place of the value");
        const WrittenValue written = running.get(&required(keyword, "the keyword"));
        result = {};
        result.keyword = keyword;
        if (const auto* text = std::get_if<std::string_view>(&written)) {
            result.kind = VYNHOST_TEXT;
            result.text = lent(std::string(*text));
        } else if (const auto* real = std::get_if<double>(&written)) {
            result.kind = VYNHOST_REAL;
            result.real = *real;
        } else if (const auto* integer = std::get_if<std::int32_t>(&written)) {
            result.kind = VYNHOST_INTEGER;
            result.integer = *integer;
        }
    });
}

std::int32_t vynhost_block_set(vynhost_block* block, const vynhost_setting* settings,
                               std::int32_t count) {
    return guarded([&] {
        RunningBlock& running = runningOf(block);
        running.set(settingsOf(settings, count, running.name()));
    });
}

std::int32_t vynhost_block_record(vynhost_block* block, void* record, std::int64_t room,
                                  std::int64_t* bytes) {
    return guarded([&] {
        const std::string own = runningOf(block).record();
        required(bytes, "the place of the size") = static_cast<std::int64_t>(own.size());
        if (record == nullptr || room <= 0) return;
        std::memcpy(record, own.data(), std::min(own.size(), static_cast<std::size_t>(room)));
    });
}

std::int32_t vynhost_block_inputs(vynhost_block* block, const char** names) {
    return guarded([&] {
        std::string text;
        for (const std::string& name : runningOf(block).inputs())
            text += (text.empty() ? "" : ",") + name;
        required(names, "the place of the names") = lent(text);
    });
}

std::int32_t vynhost_block_outputs(vynhost_block* block, const char** names) {
    return guarded([&] {
        std::string text;
        for (const std::string& name : runningOf(block).outputs())
            text += (text.empty() ? "" : ",") + name;
        required(names, "the place of the names") = lent(text);
    });
}

std::int32_t vynhost_block_quantities(vynhost_block* block, std::int32_t output,
                                      const char** names) {
    return guarded([&] {
        std::string text;
        for (const std::string& name : runningOf(block).quantities(output))
            text += name + "\n";
        required(names, "the place of the names") = lent(text);
    });
}

// --- Runs -----------------------------------------------------------------------------------

std::int32_t vynhost_block_start(vynhost_block* block, std::uint32_t wired) {
    return guarded([&] { runningOf(block).start(wired); });
}

std::int32_t vynhost_block_feed(vynhost_block* block, const vynhost_data* inputs,
                                std::int32_t input_count, vynhost_data* outputs,
                                std::int32_t output_count, std::int32_t* moved) {
    return guarded([&] {
        RunningBlock& running = runningOf(block);
        if (input_count > 0) required(inputs, "the inputs");
        if (output_count > 0) required(outputs, "the place of the outputs");
        for (std::int32_t i = 0; i < input_count; ++i) {
            if (inputs[i].channels != 0) running.requireTakable(i, inputs[i]);
        }
        for (std::int32_t i = 0; i < input_count; ++i) {
            if (inputs[i].channels != 0) running.put(i, inputs[i]);
        }
        const bool any = running.step();
        if (moved != nullptr) *moved = any ? 1 : 0;
        putOut(running, outputs, output_count);
    });
}

std::int32_t vynhost_block_waiting(vynhost_block* block, const char** names) {
    return guarded([&] {
        std::string text;
        for (const std::string& name : runningOf(block).waiting())
            text += (text.empty() ? "" : ",") + name;
        required(names, "the place of the names") = lent(text);
    });
}

std::int32_t vynhost_block_flow(vynhost_block* block, const vynhost_data* signal,
                                std::int64_t samples, float* result, std::int64_t room,
                                std::int64_t* written, vynhost_data* head) {
    return guarded([&] {
        RunningBlock& running = runningOf(block);
        const vynhost_data& whole = required(signal, "the signal");
        std::int64_t& count = required(written, "the place of the count");
        if (samples < 1) throw InputError("data blocks have 1 sample or more");
        if (whole.channels < 1) throw InputError("the signal has no channels");
        if (whole.count < 0) throw InputError("the signal has " + toText(whole.count) + " values");
        if (head != nullptr) *head = {};
        count = 0;
        const std::int64_t most = whole.count / whole.channels + 1;  // and a rest
        const std::int64_t piece = std::min(samples, most) * whole.channels;
        for (std::int64_t at = 0; at < whole.count;) {
            vynhost_data block_data = whole;
            block_data.values = whole.values + at;
            block_data.count = std::min(piece, whole.count - at);
            block_data.x_start =
                whole.x_start + static_cast<double>(at / whole.channels) * whole.x_step;
            running.put(0, block_data);
            at += block_data.count;
            while (running.step()) {
                const auto out = running.take(0);
                if (!out) continue;
                if (count == 0 && head != nullptr) *head = *out;
                if (out->count > room - count) {
                    throw InputError("the result has room for " + toText(room) +
                                     " values, more come");
                }
                std::copy_n(out->values, out->count, result + count);
                count += out->count;
            }
            passOnForeignLines();
            if (!running.waiting().empty()) {
                throw InputError("the block does not take the data at " +
                                 joined(running.waiting()));
            }
        }
        if (head != nullptr) head->values = nullptr;
    });
}

std::int32_t vynhost_block_finish(vynhost_block* block, std::int32_t* more) {
    return guarded(
        [&] { required(more, "the place of the answer") = runningOf(block).finish() ? 1 : 0; });
}

std::int32_t vynhost_block_stop(vynhost_block* block) {
    return guarded([&] { runningOf(block).stop(); });
}

// --- Diagrams -------------------------------------------------------------------------------

std::int32_t vynhost_diagram_run(const char* file, const char* const* sources,
                                 const char* const* recordings, std::int32_t count,
                                 std::int64_t memory, vynhost_listener take, void* user,
                                 const char** description) {
    return guarded([&] {
        OpenModule& module = theModule();
        const char*& result = required(description, "the place of the description");
        if (take == nullptr) throw InputError("the listener is missing");
        if (memory < 0) throw InputError("memory is " + toText(memory) + ", allowed is 0 or more");
        const std::uint64_t bytes =
            memory == 0 ? MemoryLimit::kUsual : static_cast<std::uint64_t>(memory);
        std::map<std::string, std::filesystem::path> inputs;
        for (std::int32_t i = 0; i < count; ++i) {
            const char* name = required(sources + i, "the sources");
            const char* recording = required(recordings + i, "the recordings");
            inputs.emplace(&required(name, "a source"),
                           pathOf(&required(recording, "a recording")));
        }
        result = lent(runDiagram(module.host, pathOf(&required(file, "the file")), inputs, bytes,
                                 [&](int place, const ChannelData& block) {
                                     const vynhost_data data = dataOf(
                                         block.header, block.values.data(), block.values.size());
                                     take(user, place, &data);
                                 }));
    });
}
