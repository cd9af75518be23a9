// ParameterBlock and ReportingBlock: what block types have in common around their parameters.
#pragma once

#include <cstdint>

#include "host/TOBlock.h"
#include "host/parameter_record.h"
#include "host/remote_control.h"
#include "host/show_message.h"

namespace vynpack {

// Keeps the parameters of a block type, its record and its keywords. `P` has
//     kRecordSizeWord      the first word of its record
//     fields(record, self) its saved fields (parameter_record.h)
//     keywords()           its keyword table; a type without keywords has none
template <class P>
class ParameterBlock : public TOBlock {
public:
    using Parameters = P;

    Parameters& parameters() noexcept { return parameters_; }
    const Parameters& parameters() const noexcept { return parameters_; }

    int SaveParameters(FileHandle file) final {
        saveRecord(file, parameters_);
        return kDone;
    }

    int RestoreParameters(FileHandle file) override {
        restoreRecord(file, parameters_);
        return kDone;
    }

    int RemoteControl(MemoryHandle info, MemoryHandle value, std::uint16_t subCode) final {
        if constexpr (requires { P::keywords(); }) {
            return answerRemoteControl(P::keywords(), parameters_, info, value, subCode);
        } else {
            return TOBlock::RemoteControl(info, value, subCode);
        }
    }

protected:
    Parameters parameters_;
};

// A block that keeps the error that a run has found until the host asks for it.
template <class P>
class ReportingBlock : public ParameterBlock<P> {
public:
    int ErrorShow() final { return error_.show(); }
    void noteOutOfMemory() noexcept final { error_.report(kTextOutOfMemory); }

protected:
    // The answer of the operation that has found the error.
    int fail(TextId text) noexcept {
        error_.report(text);
        return kFailed;
    }
    void forgetError() noexcept { error_.clear(); }

private:
    DeferredError error_;
};

}  // namespace vynpack
