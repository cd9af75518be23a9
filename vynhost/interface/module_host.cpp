#include "vynhost/interface/module_host.h"

#include <xmmintrin.h>

#include <cstring>

#include "vynhost/interface/placed_block.h"

namespace vynhost {
namespace {

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
    listen();
}

void ModuleHost::listen() {
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
    if (handle != kNoBlock) call(exports().DestroyBlock, 1, typeCode, handle, 0);
    return handle != kNoBlock;
}

std::vector<std::string> ModuleHost::takeOffences() {
    for (const std::string& name : memory_.takeOverruns()) {
        offend(name + " was written behind its end");
    }
    return std::exchange(offences_, {});
}

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
    if (!isWellFormed(known, first, second)) {
        offend("message " + std::to_string(message) +
               " carries a number where it has no use for one");
    }
    return serve(known, first, second);
}

Int ModuleHost::serve(Message message, Int first, Int second) {
    switch (message) {
        case Message::triggerThreshold: return reinterpret_cast<Int>(&threshold_);
        case Message::newBlock: return newBlock(second);
        case Message::releaseBlock: return releaseBlock(handleOf(first));
        case Message::copyHeader:
            // NOLINTNEXTLINE(performance-no-int-to-ptr)
            return copyHeader(handleOf(first), reinterpret_cast<void*>(second));
        case Message::showHelp:
            if (help_) help_();
            return 0;
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

Int ModuleHost::newBlock(Int values) {
    if (values < 0) {
        offend("a block of " + std::to_string(values) + " values is asked for");
        return 0;
    }
    const auto size = static_cast<std::size_t>(values);
    return size > options_.mostValues ? 0 : intOf(memory_.allocateData(size));
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

Int ModuleHost::copyHeader(Handle input, void* output) {
    const Handle target = memory_.dataAt(output);
    if (target == Handle::none || !memory_.isData(input)) {
        offend("a head is to be copied from or to something that is no data block");
        return 0;
    }
    const platform::View from(input);
    if (from.address() != nullptr) std::memmove(output, from.address(), kValuesOffset);
    return 0;
}

}  // namespace vynhost
