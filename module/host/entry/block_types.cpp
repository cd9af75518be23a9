#include "host/entry/block_types.h"

#include <array>

#include "blocks/classify/TOKlassierung.h"
#include "blocks/filter/TODigitalFilter.h"
#include "blocks/filter/TOFreqWeight.h"
#include "blocks/filter/TOLevel.h"
#include "blocks/spectral/TODualSpektrum.h"
#include "blocks/spectral/TOInverseFFT.h"
#include "blocks/spectral/TOSpektrum.h"
#include "blocks/spectral/TOTerz_Oktave.h"
#include "blocks/stats/TOMittelwert.h"
#include "blocks/stats/TOStatistik.h"

namespace vynpack {
namespace {

template <class Block>
std::unique_ptr<TOBlock> create() {
    return std::make_unique<Block>();
}

// clang-format off
constexpr std::array<BlockType, kBlockTypes> kTypes = {{
    {kTypeKlassierung,   "Klassierung",            "Klassierung",            false, create<TOKlassierung>},
    {kTypeTerz_Oktave,   "Terz_Oktav_Analyse",     "Terz_Oktav_Analyse",     true,  create<TOTerz_Oktave>},
    {kTypeStatistik,     "Statistik",              "Statistik",              true,  create<TOStatistik>},
    {kTypeMittelwert,    "Mittelwert",             "Mittelwert",             false, create<TOMittelwert>},
    {kTypeSpektrum,      "FFT",                    "FFT",                    true,  create<TOSpektrum>},
    {kTypeInverseFFT,    "Inverse FFT",            "Inverse FFT",            true,  create<TOInverseFFT>},
    {kTypeDualSpektrum,  "FFT zweier Zeitsignale", "FFT zweier Zeitsignale", false, create<TODualSpektrum>},
    {kTypeDigitalFilter, "Digitale Filter",        "Filter",                 true,  create<TODigitalFilter>},
    {kTypeFreqWeight,    "Frequenzbewertung",      "A,B,C-Bewertung",        false, create<TOFreqWeight>},
    {kTypeLevel,         "Pegelberechnung",        "Pegel",                  false, create<TOLevel>},
}};
// clang-format on

consteval bool codesRunInOrder() {
    for (std::int32_t i = 0; i < kBlockTypes; ++i) {
        if (kTypes[static_cast<std::size_t>(i)].code != kFirstBlockType + i) return false;
    }
    return true;
}
static_assert(codesRunInOrder());

}  // namespace

const BlockType* findBlockType(std::int32_t code) noexcept {
    if (code < kFirstBlockType || code >= kFirstBlockType + kBlockTypes) return nullptr;
    return &kTypes[static_cast<std::size_t>(code - kFirstBlockType)];
}

}  // namespace vynpack
