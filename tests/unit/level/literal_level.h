// The level block's core a second time, for the tests: everything buffered for an interval and
// worked through sample by sample with a logarithm each, in rows of doubles.
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "blocks/filter/level/level_core.h"

namespace vynpack {

class LiteralLevel {
public:
    explicit LiteralLevel(const LevelSettings& s)
        : c_(s.channels), dt_(s.step), fs_(1.0 / s.step), tx_(s.clockSeconds) {
        alpha_ = 1.0 - std::exp(-dt_ / s.timeConstant);
        const double ratio = fs_ / s.outputFrequency;
        n_ = static_cast<int>(ratio) + 1;
        f_ = ratio - static_cast<int>(ratio);
        d_ = s.blankedSeconds > 1.0 ? static_cast<int>(std::ceil(s.blankedSeconds)) : 1;
        buffer_.assign(static_cast<std::size_t>(c_ + 1),
                       std::vector<double>(static_cast<std::size_t>(n_)));
        ms_.assign(static_cast<std::size_t>(c_), 0.0);
        current_ = past_ = Rows(static_cast<std::size_t>(kRows * c_));
        ring_.assign(static_cast<std::size_t>(d_), current_);
        resetAll();
    }

    // Feeds interleaved samples with one control value in pieces as long as the intervals allow;
    // every output is appended to `outputs`.
    void feed(const std::vector<float>& x, int control, LevelMode mode,
              std::vector<std::vector<float>>& outputs) {
        std::size_t read = 0;
        const std::size_t all = x.size() / static_cast<std::size_t>(c_);
        while (true) {
            if (full_) outputs.push_back(emit(mode));
            if (read == all) return;
            if ((control & 2) && !(previous_ & 2)) ms_.assign(ms_.size(), 0.0);
            for (; read < all && write_ < n_; ++read, ++write_) {
                for (int c = 0; c < c_; ++c) {
                    const double v =
                        x[read * static_cast<std::size_t>(c_) + static_cast<std::size_t>(c)];
                    double& ms = ms_[static_cast<std::size_t>(c)];
                    if (mode.rms) ms = ms + alpha_ * (v * v - ms);
                    at(c, write_) = (mode.rms ? ms : v * v) / 4e-10;
                }
                at(c_, write_) = control;
            }
            if (write_ == n_) {
                full_ = true;
                accumulated_ += f_;
                if (accumulated_ >= 1.0) {
                    carry_ = 0;
                    accumulated_ -= 1.0;
                }
                return_ = read == all;
                // An interval that ends with the block is put out with the next one.
                if (return_) return;
            }
        }
    }

    double xOrigin() const { return xOrigin_; }

private:
    static constexpr int kRows = 1012;
    using Rows = std::vector<double>;

    double& at(int row, int i) {
        return buffer_[static_cast<std::size_t>(row)][static_cast<std::size_t>(i)];
    }
    double& row(Rows& rows, int r, int c) { return rows[static_cast<std::size_t>(r * c_ + c)]; }
    static double dB(double q) { return 10.0 * std::log10(q == 0.0 ? 1.0 : q); }

    void resetAll() {
        for (Rows* rows : everyArray()) {
            rows->assign(rows->size(), 0.0);
            for (int c = 0; c < c_; ++c)
                row(*rows, 4, c) = 200.0;
        }
        running_ = display_ = 0.0;
    }
    void resetExtremes() {
        for (Rows* rows : everyArray()) {
            for (int c = 0; c < c_; ++c) {
                row(*rows, 2, c) = row(*rows, 3, c) = 0.0;
                row(*rows, 4, c) = 200.0;
            }
        }
    }
    std::vector<Rows*> everyArray() {
        std::vector<Rows*> all = {&current_, &past_};
        for (Rows& rows : ring_)
            all.push_back(&rows);
        return all;
    }

    std::vector<float> emit(LevelMode mode) {
        std::vector<double> out(static_cast<std::size_t>(18 * c_));
        xOrigin_ = static_cast<float>(running_ + dt_);
        const int samples = n_ - carry_;
        for (int i = 0; i < samples; ++i) {
            running_ += dt_;
            secondsPart_ += dt_;
            bool second = false;
            bool close = false;
            if (secondsPart_ >= 1.0) {
                secondsPart_ -= 1.0;
                second = true;
                if (++seconds_ >= tx_) {
                    close = true;
                    seconds_ = 0;
                }
            }
            int v = static_cast<int>(at(c_, i));
            if ((v & 2) && !(previous_ & 2)) {
                resetAll();
            } else if ((v & 1) && !(previous_ & 1)) {
                resetExtremes();
            }
            if (!(v & 4) && (previous_ & 4)) {
                if (close) {
                    current_ = past_;
                    index_ = 0;
                    filled_ = false;
                } else {
                    v |= 4;
                }
            }
            previous_ = v;
            for (int c = 0; c < c_; ++c)
                sample(c, i, close, mode, out);
            if (second && !(v & 4)) {
                if (filled_) past_ = ring_[static_cast<std::size_t>(index_)];
                ring_[static_cast<std::size_t>(index_)] = current_;
                ++index_;
                if (index_ == d_ - 1) filled_ = true;
                if (index_ == d_) {
                    index_ = 0;
                    if (d_ == 1) filled_ = true;
                }
            }
        }
        for (int c = 0; c < c_; ++c)
            percentiles(c, out);
        if (carry_ == 1) {
            for (int r = 0; r <= c_; ++r)
                at(r, 0) = at(r, n_ - 1);
            write_ = 1;
        } else {
            carry_ = 1;
            write_ = 0;
        }
        full_ = false;
        return {out.begin(), out.end()};
    }

    void sample(int c, int i, bool close, LevelMode mode, std::vector<double>& out) {
        const auto put = [&](int q, double value) {
            out[static_cast<std::size_t>(q * c_ + c)] = value;
        };
        row(current_, 1, c) += dt_;
        row(current_, 2, c) += dt_;
        const double time = row(current_, 1, c);
        const double q = at(c, i) == 0.0 ? 1.0 : at(c, i);
        const double level = 10.0 * std::log10(q);
        display_ -= 2.9 * dt_;
        if (!mode.impulse || level > display_) display_ = level;
        double& maximum = row(current_, 3, c);
        if (level > maximum) maximum = level;
        double& minimum = row(current_, 4, c);
        double& energy = row(current_, 5, c);
        double leq = 0.0;
        double le = 0.0;
        if (mode.rms) {
            if (level < minimum) minimum = level;
            energy += q;
            leq = 10.0 * std::log10(energy / std::ceil(time / dt_));
            le = leq + 10.0 * std::log10(time);
        } else {
            minimum = energy = 0.0;
        }
        double& clock = row(current_, 7, c);
        if (q > clock) clock = q;
        if (close) {
            row(current_, 6, c) = clock;
            if (mode.rms) {
                row(current_, 8, c) += clock;
                row(current_, 9, c) += 1;
            }
            clock = 0.0;
        }
        const double sum = row(current_, 8, c);
        const double count = row(current_, 9, c);
        double bin = std::ceil(level / 0.2);
        if (!(bin > 0)) bin = 0;
        if (bin > 1001) bin = 1001;
        row(current_, 10 + static_cast<int>(bin), c) += 1;
        put(0, display_);
        put(1, running_);
        put(2, time);
        put(3, row(current_, 2, c));
        put(4, level);
        put(5, maximum);
        put(6, minimum);
        put(7, leq);
        put(8, le);
        put(9, dB(row(current_, 6, c)));
        put(10, mode.rms && sum != 0 && count != 0 ? 10.0 * std::log10(sum / count) : 0.0);
    }

    void percentiles(int c, std::vector<double>& out) {
        int r = 10;
        double sum = 0.0;
        int q = 17;
        for (const double p : {0.01, 0.05, 0.1, 0.5, 0.9, 0.95, 0.99}) {
            const double wanted = p * row(current_, 1, c) * fs_;
            while (sum < wanted && r <= 1011)
                sum += row(current_, r++, c);
            out[static_cast<std::size_t>(q-- * c_ + c)] = 0.2 * (r - 12);
        }
    }

    int c_;
    double dt_, fs_;
    int tx_;
    double alpha_ = 0, f_ = 0;
    int n_ = 0, d_ = 1;
    std::vector<std::vector<double>> buffer_;
    std::vector<double> ms_;
    Rows current_, past_;
    std::vector<Rows> ring_;
    int write_ = 0, carry_ = 1, previous_ = 0, seconds_ = 0, index_ = 0;
    bool filled_ = false, full_ = false, return_ = false;
    double accumulated_ = 0, running_ = 0, secondsPart_ = 0, display_ = 0, xOrigin_ = 0;
};

}  // namespace vynpack
