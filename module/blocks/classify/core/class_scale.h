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

    bool operator==(const ClassScale&) const = default;

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

// The lower limits of all classes and the upper limit of the last, for kernels.
class ClassLimits {
public:
    // Infinities behind the limits. One of below stands before them.
    static constexpr int kPadding = 8;

    explicit ClassLimits(const ClassScale& scale);

    const double* data() const { return limits_.data() + 1; }
    // Whether the classes have a height.
    bool rising() const { return rising_; }

private:
    std::vector<double> limits_;
    bool rising_;
};

}  // namespace vynpack
