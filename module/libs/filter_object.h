// One filter object of the analysis library.
#pragma once

#include <span>
#include <utility>

#include "libs/analysis_library.h"
#include "ovanlys/filter_head.h"

namespace vynpack {

// Owns the object. Once the library is unloaded there is nothing left to destroy.
class FilterObject {
public:
    FilterObject() = default;
    // Asks the library for an object; false afterwards when it refuses the kind or order, or when
    // memory is out. Raises when the library lacks the function, or the one that destroys it again.
    FilterObject(const AnalysisFunctions& functions, int kind, int order) : functions_(&functions) {
        functions.destroyFilter.address();
        handle_ = functions.createFilter(kind, order);
    }

    FilterObject(FilterObject&& other) noexcept
        : functions_(other.functions_), handle_(std::exchange(other.handle_, nullptr)) {}
    FilterObject& operator=(FilterObject&& other) noexcept {
        std::swap(functions_, other.functions_);
        std::swap(handle_, other.handle_);
        return *this;
    }
    FilterObject(const FilterObject&) = delete;
    FilterObject& operator=(const FilterObject&) = delete;
    ~FilterObject() {
        if (handle_ != nullptr && functions_->destroyFilter.bound()) {
            functions_->destroyFilter.address()(handle_);
        }
    }

    explicit operator bool() const noexcept { return handle_ != nullptr; }

    // For the library's design functions.
    void* handle() const noexcept { return handle_; }

    // The transfer function's roots and gain, for blocks that design filters themselves.
    ovanlys::FilterHead& head() const noexcept {
        return *static_cast<ovanlys::FilterHead*>(handle_);
    }

    // Filters samples in place; the state is carried on from call to call. Raises when the library
    // has been unloaded.
    void filter(std::span<double> samples) const {
        functions_->filter(samples.data(), static_cast<int>(samples.size()), handle_,
                           samples.data());
    }

private:
    const AnalysisFunctions* functions_ = nullptr;
    void* handle_ = nullptr;
};

}  // namespace vynpack
