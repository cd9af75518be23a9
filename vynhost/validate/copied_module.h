// A copy of the module and its analysis library in a folder of its own, for as long as it lives.
#pragma once

#include <filesystem>

#include "vynhost/interface/installation.h"

namespace vynhost {

class CopiedModule {
public:
    explicit CopiedModule(const Installation& original);
    ~CopiedModule();
    CopiedModule(const CopiedModule&) = delete;
    CopiedModule& operator=(const CopiedModule&) = delete;

    const Installation& installation() const noexcept { return copy_; }

private:
    std::filesystem::path folder_;
    Installation copy_;
};

}  // namespace vynhost
