// The classes that a signal is sorted into: n equally wide classes from `begin` to `end`.
#pragma once

#include <cstddef>
#include <vector>

namespace vynpack {

struct ClassScale {
    int number = 20;
    double begin = -10.0;  // lower limit of class 0
    double end = 10.0;     // upper limit of the last class
    double range = 20.0;   // divisor of the class index; number * width where all is consistent

    double width() const { return (end - begin) / number; }
    double lowerLimit(int k) const { return begin + k * width(); }

    // The class of x, or `number` for a value outside all classes (also for NaN). A value on an
    // inner limit belongs to the upper class, the end value to none.
    int classOf(double x) const {
        // Truncation equals rounding down, since only quotients >= 0 pass.
        const double k = (x - begin) / range * number;
        return k >= 0.0 && k < number ? static_cast<int>(k) : number;
    }
};

// The lower limits of all classes and the upper limit of the last, with a quick search.
class ClassLimits {
public:
    explicit ClassLimits(const ClassScale& scale);

    // Limits that do not rise allow no search.
    bool rising() const { return rising_; }
    int classes() const { return static_cast<int>(limits_.size()) - 1; }
    // k from 0 to classes(), the last being the upper limit of the last class.
    double operator[](int k) const { return limits_[static_cast<std::size_t>(k)]; }
    const double* data() const { return limits_.data(); }

    // The largest k with limit k <= x, or -1 below all; needs rising limits and a number.
    int atOrBelow(double x) const {
        int k = guess(x);
        while (k >= 0 && (*this)[k] > x)
            --k;
        while (k < classes() && (*this)[k + 1] <= x)
            ++k;
        return k;
    }

private:
    int guess(double x) const {
        const double k = (x - limits_.front()) * perWidth_;
        if (!(k >= 0.0)) return -1;
        return k < classes() ? static_cast<int>(k) : classes();
    }

    std::vector<double> limits_;
    double perWidth_ = 0.0;
    bool rising_ = false;
};

}  // namespace vynpack
