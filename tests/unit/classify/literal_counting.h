// The six counting methods a second time, for the tests: one pair of samples and one class after
// the other, with no search, no list and no short cut.
#pragma once

#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "blocks/classify/core/klassierung_core.h"

namespace vynpack {

class LiteralCounting {
public:
    LiteralCounting(int method, const CountingRules& rules, int channels)
        : method_(method), r_(rules), n_(rules.scale.number), c_(channels) {
        const auto nc = static_cast<std::size_t>(n_ * c_);
        count_.assign(2 * nc, 0);
        dwell_.assign(nc, 0.0);
        armed_.assign(nc, 1);
        total_.assign(static_cast<std::size_t>(c_), 0);
        total2_ = total_;
        totalTime_.assign(static_cast<std::size_t>(c_), 0.0);
        last_ = totalTime_;
        extreme_.assign(static_cast<std::size_t>(c_), rules.referenceLine);
        lastMax_.assign(static_cast<std::size_t>(c_), 1.0e7);
        lastMin_.assign(static_cast<std::size_t>(c_), -1.0e7);
        up_.assign(static_cast<std::size_t>(c_), 0);
        down_ = maxFlag_ = minFlag_ = up_;
        slope_.assign(static_cast<std::size_t>(c_), 2);
    }

    void update(std::span<const float> x, double dt, std::span<float> value) {
        const int samples = static_cast<int>(x.size()) / c_;
        for (int c = 0; c < c_; ++c) {
            const auto ch = static_cast<std::size_t>(c);
            const auto at = [&](int i) { return x[static_cast<std::size_t>(c + i * c_)]; };
            if (method_ == 93) {
                for (int i = 0; i < samples; ++i)
                    sample(c, at(i));
            } else {
                for (int i = first_ ? 1 : 0; i < samples; ++i) {
                    const double a = i == 0 ? last_[ch] : at(i - 1);
                    pair(c, a, at(i), dt);
                }
            }
            if (method_ == 94) {
                for (int k = 0; k < n_; ++k)
                    dwell_[place(k, c)] += dwellOfBlock(c, k, x, samples, dt);
            }
            if (samples > 0) last_[ch] = at(samples - 1);
            write(c, value);
        }
        first_ = false;
    }

    void reset(std::span<float> value) {
        const LiteralCounting fresh(method_, r_, c_);
        const std::vector<double> line(static_cast<std::size_t>(c_), r_.referenceLine);
        *this = fresh;
        first_ = false;
        lastMax_ = lastMin_ = line;
        for (float& v : value)
            v = 0.0F;
    }

private:
    std::size_t place(int k, int c) const { return static_cast<std::size_t>(k * c_ + c); }
    int classOf(double x) const {
        const double k = std::floor((x - r_.scale.begin) / r_.scale.range * n_);
        return k >= 0 && k < n_ ? static_cast<int>(k) : -1;
    }

    void sample(int c, double x) {
        if (!(r_.scale.begin < x && x <= r_.scale.end)) return;
        const int k = classOf(x);
        if (k < 0) return;
        ++count_[place(k, c)];
        ++total_[static_cast<std::size_t>(c)];
    }

    double dwellOfBlock(int c, int k, std::span<const float> x, int samples, double dt) const {
        const double w = (r_.scale.end - r_.scale.begin) / n_;
        const double lo = r_.scale.begin + k * w;
        const double up = r_.scale.begin + (k + 1) * w;
        double sum = 0.0;
        for (int i = first_ ? 1 : 0; i < samples; ++i) {
            const double a = i == 0 ? last_[static_cast<std::size_t>(c)]
                                    : x[static_cast<std::size_t>(c + (i - 1) * c_)];
            const double b = x[static_cast<std::size_t>(c + i * c_)];
            if (!(b >= r_.scale.begin && b <= r_.scale.end)) continue;
            double t = 0.0;
            if (a >= lo && a <= up && b >= lo && b <= up) {
                if (!(a == b && b == up)) t = dt;
            } else if (lo < b && b < up && a < lo) {
                t = dt * (b - lo) / (b - a);
            } else if (lo < b && b < up && a > up) {
                t = dt * (up - b) / (a - b);
            } else if ((b >= up && a <= lo) || (b <= lo && a >= up)) {
                t = dt * (up - lo) / (b - a);
            } else if (b > up && lo < a && a < up) {
                t = dt * (up - a) / (b - a);
            } else if (b < lo && lo < a && a < up) {
                t = dt * (a - lo) / (a - b);
            }
            sum += std::fabs(t);
        }
        return sum;
    }

    void pair(int c, double a, double b, double dt) {
        const auto ch = static_cast<std::size_t>(c);
        const double w = (r_.scale.end - r_.scale.begin) / n_;
        const double h = r_.hysteresis;
        const double ref = r_.referenceLine;
        if (method_ == 94) {
            totalTime_[ch] += dt;
        } else if (method_ == 95) {
            for (int k = 0; k < n_; ++k) {
                const double lo = r_.scale.begin + k * w;
                int& armed = armed_[place(k, c)];
                if (lo >= ref) {
                    if (b >= lo && lo > a && armed && b - a > 0) {
                        crossed(k, c);
                        armed = 0;
                    }
                    const bool backOnly = !r_.relative && k == n_ - 1;
                    if (b <= lo - h || (!backOnly && b >= lo + w)) armed = 1;
                } else {
                    if (lo >= b && a > lo && armed && b - a < 0) {
                        crossed(k, c);
                        armed = 0;
                    }
                    if (b >= lo + h || b <= lo - w) armed = 1;
                }
            }
        } else if (method_ == 96) {
            if (b >= ref && ref > a) {
                up_[ch] = 1;
            } else if (ref > b && a >= ref) {
                down_[ch] = 1;
            }
            if (a >= ref && a > extreme_[ch]) extreme_[ch] = a;
            if (a < ref && a < extreme_[ch]) extreme_[ch] = a;
            if (up_[ch] && down_[ch]) {
                if (extreme_[ch] >= ref + h || extreme_[ch] < ref - h) countIn(extreme_[ch], c, 0);
                if (extreme_[ch] >= ref) {
                    up_[ch] = 0;
                } else {
                    down_[ch] = 0;
                }
                extreme_[ch] = ref;
            }
        } else if (method_ == 97) {
            const int s = b > a ? 1 : b < a ? -1 : 0;
            int p = slope_[ch] == 2 ? s : slope_[ch];
            bool maxConfirmed = false;
            bool minConfirmed = false;
            if (p > 0 && s <= 0 && a >= ref) {
                extreme_[ch] = a;
                maxFlag_[ch] = 1;
                minFlag_[ch] = 0;
            }
            if (p < 0 && s >= 0 && a < ref) {
                extreme_[ch] = a;
                minFlag_[ch] = 1;
                maxFlag_[ch] = 0;
            }
            if (maxFlag_[ch]) {
                if (b < extreme_[ch] - h) maxConfirmed = true;
                if (b > extreme_[ch]) {
                    maxFlag_[ch] = 0;
                    maxConfirmed = false;
                }
            }
            if (minFlag_[ch]) {
                if (b > extreme_[ch] + h) minConfirmed = true;
                if (b < extreme_[ch]) {
                    minFlag_[ch] = 0;
                    minConfirmed = false;
                }
            }
            if ((maxConfirmed && extreme_[ch] >= ref) || (minConfirmed && extreme_[ch] < ref)) {
                countIn(extreme_[ch], c, 0);
                maxFlag_[ch] = minFlag_[ch] = 0;
            }
            slope_[ch] = s;
        } else if (method_ == 98) {
            const int s = b > a ? 1 : b < a ? -1 : 0;
            const int p = slope_[ch] == 2 ? s : slope_[ch];
            if (p > 0 && s <= 0) {
                if (std::fabs(a - lastMin_[ch]) <= h) {
                    maxFlag_[ch] = minFlag_[ch] = 0;
                } else {
                    maxFlag_[ch] = 1;
                    lastMax_[ch] = a;
                }
            }
            if (p <= 0 && s > 0) {
                if (std::fabs(a - lastMax_[ch]) <= h) {
                    maxFlag_[ch] = minFlag_[ch] = 0;
                } else {
                    minFlag_[ch] = 1;
                    lastMin_[ch] = a;
                }
            }
            if (maxFlag_[ch] && std::fabs(b - lastMax_[ch]) > h) {
                countIn(lastMax_[ch], c, 1);
                maxFlag_[ch] = 0;
            } else if (minFlag_[ch] && std::fabs(b - lastMin_[ch]) > h) {
                countIn(lastMin_[ch], c, 0);
                minFlag_[ch] = 0;
            }
            slope_[ch] = s;
        }
    }

    void crossed(int k, int c) {
        ++count_[place(k, c)];
        ++total_[static_cast<std::size_t>(c)];
    }

    // column 1: the maxima of the method with two columns
    void countIn(double x, int c, int column) {
        const int k = classOf(x);
        if (k < 0) return;
        const auto ch = static_cast<std::size_t>(c);
        if (method_ == 98) {
            ++count_[static_cast<std::size_t>(k * 2 * c_ + c + column)];
            ++(column == 1 ? total2_ : total_)[ch];
        } else {
            ++count_[place(k, c)];
            ++total_[ch];
        }
    }

    static float percent(std::uint32_t count, std::uint32_t total) {
        if (total == 0) return 0.0F;
        return static_cast<float>(100.0 * count) / static_cast<float>(total);
    }

    void write(int c, std::span<float> value) {
        const auto ch = static_cast<std::size_t>(c);
        if (method_ == 93 && r_.relative && total_[ch] == 0) total_[ch] = 1;
        for (int k = 0; k < n_; ++k) {
            const std::size_t p = place(k, c);
            if (method_ == 94) {
                const double t = dwell_[p];
                value[p] = static_cast<float>(!r_.relative ? t
                                              : t == 0     ? 0.0
                                                           : 100.0 * t / totalTime_[ch]);
            } else if (method_ == 95 && r_.relative) {
                value[p] = count_[p] == 0 || total_[ch] == 0
                               ? 0.0F
                               : static_cast<float>(100.0 * count_[p] / total_[ch]);
            } else if (method_ == 98) {
                for (int column = 0; column < 2; ++column) {
                    const auto q = static_cast<std::size_t>(k * 2 * c_ + c + column);
                    value[q] = !r_.relative
                                   ? static_cast<float>(count_[q])
                                   : percent(count_[q], (column == 1 ? total2_ : total_)[ch]);
                }
            } else {
                value[p] =
                    r_.relative ? percent(count_[p], total_[ch]) : static_cast<float>(count_[p]);
            }
        }
    }

    int method_;
    CountingRules r_;
    int n_;
    int c_;
    bool first_ = true;
    std::vector<std::uint32_t> count_, total_, total2_;
    std::vector<double> dwell_, totalTime_, last_, extreme_, lastMax_, lastMin_;
    std::vector<int> armed_, up_, down_, maxFlag_, minFlag_, slope_;
};

}  // namespace vynpack
