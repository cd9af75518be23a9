// Digital filter: FIR by the window method, or one of the classic IIR designs, over all channels.
#pragma once

#include <array>
#include <cstdint>
#include <variant>
#include <vector>

#include "blocks/filter/core/channel_rows.h"
#include "blocks/filter/core/fir_filter_bank.h"
#include "host/TOBlock.h"
#include "host/channel_block.h"
#include "host/show_message.h"
#include "libs/filter_object.h"

namespace vynpack {

class TODigitalFilter final : public TOBlock {
public:
    // Stored as the string ids of their names.
    enum Mode : std::int16_t { kLowPass = 114, kHighPass, kBandPass, kBandStop };
    enum Window : std::int16_t { kRectangular = 99, kTriangular, kHanning, kHamming, kBlackman };
    enum Characteristic : std::int16_t {
        kButterworth = 108,
        kChebyshev,
        kElliptic,
        kInverseChebyshev,
        kBessel,
    };

    struct Parameters {
        std::uint32_t fir = 1;  // 0: IIR
        std::int16_t mode = kLowPass;
        double cutoff = 500.0;  // Hz, low and high pass
        double upper = 1000.0;  // Hz, band pass and band stop
        double lower = 100.0;
        std::int16_t window = kBlackman;
        std::int32_t length = 25;  // taps
        std::uint32_t kaiser = 0;  // a Kaiser window stands in for the chosen one
        // Kept: no characteristic at first. An IIR filter passes samples through unchanged until
        // the dialog or a keyword chooses one.
        std::int16_t characteristic = 114;
        double ripple = 1.2;        // dB in the pass band
        double attenuation = 40.0;  // dB in the stop band
        std::int32_t order = 2;
        std::array<char, 33> text{};  // saved and restored, otherwise unused

        template <class Record, class Self>
        static void fields(Record& record, Self& self) {
            record(self.fir, self.mode, self.cutoff, self.upper, self.lower, self.window,
                   self.length, self.kaiser, self.characteristic, self.ripple, self.attenuation,
                   self.order, self.text);
        }
    };

    Parameters& parameters() noexcept { return parameters_; }

    void GetConnectors(ConnectorText& text) const override;
    int GetParameters() override;
    int SaveParameters(FileHandle file) override;
    int RestoreParameters(FileHandle file) override;
    int Simulation(SimulationRecord& record) override;
    int InitSim() override;
    int Stoppen() override;
    int RemoteControl(MemoryHandle info, MemoryHandle value, std::uint16_t subCode) override;
    int ErrorShow() override;
    void noteOutOfMemory() noexcept override;

private:
    // One library object per channel.
    struct IirFilters {
        std::vector<FilterObject> objects;
        ChannelRows rows;

        void filter(std::span<const float> in, int channels, std::span<float> out);
    };
    // No filter before a run's first data block and after a failed start.
    using Filter = std::variant<std::monostate, FirFilterBank, IirFilters>;

    // The first data block of a run fixes channel count, rate and filter. False after a report.
    bool startRun(int channels, double rate);
    bool cutsBelowNyquist(double rate);
    void designFir(int channels, double rate);
    void designIir(int channels, double rate);
    void designInto(const FilterObject& object, double rate) const;
    double lowerEdge() const noexcept;
    double upperEdge() const noexcept;
    int kind() const noexcept;

    void filterValues(std::span<const float> in, std::span<float> out);
    int fail(TextId text) noexcept;

    Parameters parameters_;

    // Run state.
    MemoryHandle held_ = MemoryHandle::none;  // input being processed, or left by a failure
    DeferredError error_;
    int channels_ = 0;
    double rate_ = 0.0;  // Hz
    Filter filter_;
};

}  // namespace vynpack
