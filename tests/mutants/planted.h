#pragma once

// Switches of planted faults (tools/mutants). One fault at most is on: the one whose number
// VYN_MUTANT says when the program or library is loaded. What is asked for is remembered, for
// whoever wants to know which test reaches which fault.
extern "C" {
__attribute__((visibility("hidden"))) extern int vynPlantedNumber;
__attribute__((visibility("hidden"))) extern short* vynPlantedReached;  // 1 by number
}

__attribute__((always_inline)) inline bool vynPlanted(int number) {
    vynPlantedReached[number] = 1;
    return number == vynPlantedNumber;
}

// The same where the compiler may compute: it computes without faults.
__attribute__((always_inline)) constexpr bool vynPlantedUnlessConstant(int number) {
    return !__builtin_is_constant_evaluated() && vynPlanted(number);
}

template <class Number>
__attribute__((always_inline)) inline Number vynMore(int number, Number value) {
    return vynPlanted(number) ? static_cast<Number>(value + 1) : value;
}

template <class Number>
__attribute__((always_inline)) constexpr Number vynMoreUnlessConstant(int number, Number value) {
    return vynPlantedUnlessConstant(number) ? static_cast<Number>(value + 1) : value;
}
