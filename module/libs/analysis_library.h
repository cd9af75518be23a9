// The analysis library: found through the shared directory, loaded when the module starts, its
// functions bound by name.
#pragma once

#include <stdexcept>
#include <type_traits>

#include "ovanlys/functions.h"
#include "platform/library.h"

namespace vynpack {

// Raised by a call of an analysis function that is not bound; the export's door answers it.
struct AnalysisFunctionMissing : std::runtime_error {
    explicit AnalysisFunctionMissing(const char* name) : std::runtime_error(name) {}
};

// One entry of the function table.
template <class Function>
class AnalysisEntry {
public:
    explicit constexpr AnalysisEntry(const char* name) noexcept : name_(name) {}

    template <class... Arguments>
    auto operator()(Arguments... arguments) const {
        return address()(arguments...);
    }

    // The bound function itself, for code that calls it many times.
    Function* address() const {
        if (function_ == nullptr) throw AnalysisFunctionMissing(name_);
        return function_;
    }

    Function* addressOrNull() const noexcept { return function_; }

    bool bound() const noexcept { return function_ != nullptr; }
    const char* name() const noexcept { return name_; }
    void bind(void* function) noexcept { function_ = reinterpret_cast<Function*>(function); }

private:
    const char* name_;
    Function* function_ = nullptr;
};

// The 13 functions, in the table's order, and those beside them, for speed alone. What each
// computes stands with its declaration in ovanlys/functions.h.
struct AnalysisFunctions {
    AnalysisEntry<decltype(ovanlys::ZABFunc147)> realTransform{"ZABFunc147"};
    AnalysisEntry<decltype(ovanlys::ZABFunc148)> inverseRealTransform{"ZABFunc148"};
    AnalysisEntry<decltype(ovanlys::ZABFunc91)> filter{"ZABFunc91"};
    AnalysisEntry<decltype(ovanlys::ZABFunc233)> createFilter{"ZABFunc233"};
    AnalysisEntry<decltype(ovanlys::ZABFunc234)> destroyFilter{"ZABFunc234"};
    AnalysisEntry<decltype(ovanlys::ZABFunc18)> designButterworth{"ZABFunc18"};
    AnalysisEntry<decltype(ovanlys::ZABFunc24)> designChebyshev{"ZABFunc24"};
    AnalysisEntry<decltype(ovanlys::ZABFunc98)> designInverseChebyshev{"ZABFunc98"};
    AnalysisEntry<decltype(ovanlys::ZABFunc61)> designElliptic{"ZABFunc61"};
    AnalysisEntry<decltype(ovanlys::ZABFunc12)> designBessel{"ZABFunc12"};
    AnalysisEntry<decltype(ovanlys::ZABFunc79)> version{"ZABFunc79"};
    AnalysisEntry<decltype(ovanlys::ZABFunc335)> designFir{"ZABFunc335"};
    AnalysisEntry<decltype(ovanlys::ZABFunc32)> convolve{"ZABFunc32"};

    // A library may lack these: whoever calls one asks `bound` first and can do without.
    AnalysisEntry<decltype(ovanlys::ovanlysFilterChannels)> filterChannels{"ovanlysFilterChannels"};
    AnalysisEntry<decltype(ovanlys::ovanlysConvolveChannels)> convolveChannels{
        "ovanlysConvolveChannels"};

    // Calls visit(entry) for each of the 13 in the table's order.
    template <class Visit>
    void forEach(Visit visit) {
        visit(realTransform);
        visit(inverseRealTransform);
        visit(filter);
        visit(createFilter);
        visit(destroyFilter);
        visit(designButterworth);
        visit(designChebyshev);
        visit(designInverseChebyshev);
        visit(designElliptic);
        visit(designBessel);
        visit(version);
        visit(designFir);
        visit(convolve);
    }
    // The same for those beside them.
    template <class Visit>
    void forEachOptional(Visit visit) {
        visit(filterChannels);
        visit(convolveChannels);
    }
};

class AnalysisLibrary {
public:
    // Finds, loads and binds the library. Whatever is missing is silent: the handle stays null, or
    // single entries do and `incomplete` says so if they are of the 13.
    void load();
    // Unloads it, if it is loaded, and clears handle and entries.
    void unload() noexcept;

    bool loaded() const noexcept { return library_ != nullptr; }
    bool incomplete() const noexcept { return incomplete_; }
    const AnalysisFunctions& functions() const noexcept { return functions_; }

private:
    AnalysisFunctions functions_;
    platform::LibraryHandle library_ = nullptr;
    bool incomplete_ = false;
};

}  // namespace vynpack
