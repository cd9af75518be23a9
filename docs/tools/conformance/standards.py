"""What the standards say, with the second witness of each number.

A number stands here only when something else than a memory of the page confirms it: a formula that the
standard derives it from, or another edition that gives it in another form. `witnesses` computes the
agreement; the pages print it.
"""

import math

import mpmath as mp

# IEC 61672-1:2013, table 3: nominal frequency in Hz, A and C in dB, upper and lower limit of class 1 and
# of class 2 in dB (None: no lower limit). B: IEC 60651:1979 (withdrawn).
TABLE_3 = [
    (10, -70.4, -14.3, 3.0, None, 5.0, None), (12.5, -63.4, -11.2, 2.5, None, 5.0, None),
    (16, -56.7, -8.5, 2.0, 4.0, 5.0, None), (20, -50.5, -6.2, 2.0, 2.0, 3.0, 3.0),
    (25, -44.7, -4.4, 2.0, 1.5, 3.0, 3.0), (31.5, -39.4, -3.0, 1.5, 1.5, 3.0, 3.0),
    (40, -34.6, -2.0, 1.0, 1.0, 2.0, 2.0), (50, -30.2, -1.3, 1.0, 1.0, 2.0, 2.0),
    (63, -26.2, -0.8, 1.0, 1.0, 2.0, 2.0), (80, -22.5, -0.5, 1.0, 1.0, 2.0, 2.0),
    (100, -19.1, -0.3, 1.0, 1.0, 1.5, 1.5), (125, -16.1, -0.2, 1.0, 1.0, 1.5, 1.5),
    (160, -13.4, -0.1, 1.0, 1.0, 1.5, 1.5), (200, -10.9, 0.0, 1.0, 1.0, 1.5, 1.5),
    (250, -8.6, 0.0, 1.0, 1.0, 1.5, 1.5), (315, -6.6, 0.0, 1.0, 1.0, 1.5, 1.5),
    (400, -4.8, 0.0, 1.0, 1.0, 1.5, 1.5), (500, -3.2, 0.0, 1.0, 1.0, 1.5, 1.5),
    (630, -1.9, 0.0, 1.0, 1.0, 1.5, 1.5), (800, -0.8, 0.0, 1.0, 1.0, 1.5, 1.5),
    (1000, 0.0, 0.0, 0.7, 0.7, 1.0, 1.0), (1250, 0.6, 0.0, 1.0, 1.0, 1.5, 1.5),
    (1600, 1.0, -0.1, 1.0, 1.0, 2.0, 2.0), (2000, 1.2, -0.2, 1.0, 1.0, 2.0, 2.0),
    (2500, 1.3, -0.3, 1.0, 1.0, 2.5, 2.5), (3150, 1.2, -0.5, 1.0, 1.0, 2.5, 2.5),
    (4000, 1.0, -0.8, 1.0, 1.0, 3.0, 3.0), (5000, 0.5, -1.3, 1.5, 1.5, 3.5, 3.5),
    (6300, -0.1, -2.0, 1.5, 2.0, 4.5, 4.5), (8000, -1.1, -3.0, 1.5, 2.5, 5.0, 5.0),
    (10000, -2.5, -4.4, 2.0, 3.0, 5.0, None), (12500, -4.3, -6.2, 2.0, 5.0, 5.0, None),
    (16000, -6.6, -8.5, 2.5, 16.0, 5.0, None), (20000, -9.3, -11.2, 3.0, None, 5.0, None),
]
B_NOMINAL = [-38.2, -33.2, -28.5, -24.2, -20.4, -17.1, -14.2, -11.6, -9.3, -7.4, -5.6, -4.2, -3.0, -2.0, -1.3,
             -0.8, -0.5, -0.3, -0.1, 0.0, 0.0, 0.0, 0.0, -0.1, -0.2, -0.4, -0.7, -1.2, -1.9, -2.9, -4.3, -6.1,
             -8.4, -11.1]

# IEC 61672-1:2002, table 2, as reprinted in the freely available IS 15575 (Part 1):2005: the tolerances of
# class 1 and class 2 as that edition wrote them, with the measurement's largest permitted uncertainty inside.
# In the order of TABLE_3: upper, lower of class 1, upper, lower of class 2.
TOLERANCES_2002 = [
    (3.5, None, 5.5, None), (3.0, None, 5.5, None), (2.5, 4.5, 5.5, None), (2.5, 2.5, 3.5, 3.5),
    (2.5, 2.0, 3.5, 3.5), (2.0, 2.0, 3.5, 3.5), *[(1.5, 1.5, 2.5, 2.5)] * 4, *[(1.5, 1.5, 2.0, 2.0)] * 4,
    *[(1.4, 1.4, 1.9, 1.9)] * 6, (1.1, 1.1, 1.4, 1.4), (1.4, 1.4, 1.9, 1.9), (1.6, 1.6, 2.6, 2.6),
    (1.6, 1.6, 2.6, 2.6), (1.6, 1.6, 3.1, 3.1), (1.6, 1.6, 3.1, 3.1), (1.6, 1.6, 3.6, 3.6),
    (2.1, 2.1, 4.1, 4.1), (2.1, 2.6, 5.1, 5.1), (2.1, 3.1, 5.6, 5.6), (2.6, 3.6, 5.6, None),
    (3.0, 6.0, 6.0, None), (3.5, 17.0, 6.0, None), (4.0, None, 6.0, None),
]


def permitted_uncertainty(nominal):
    """IEC 61672-1:2002, table A.1: largest expanded uncertainty of measuring a weighting, in dB."""
    return 0.5 if nominal <= 200 else 0.4 if nominal <= 1250 else 0.6 if nominal <= 10000 else 1.0


def exact(nominal):
    """The exact frequency behind a nominal one: 10^(n/10) Hz."""
    return 10.0 ** (round(10 * math.log10(nominal)) / 10)


def limits(row, grade):
    """(upper, lower) of the deviation in dB; the lower one is None or negative."""
    upper, lower = (row[3], row[4]) if grade == 1 else (row[5], row[6])
    return upper, None if lower is None else -lower


def weighting_corners():
    """Pole frequencies in Hz by the formulas of IEC 61672-1:2013, annex E: f1 to f4."""
    with mp.workdps(30):
        reference, low, high, third = mp.mpf(1000), mp.mpf(10)**1.5, mp.mpf(10)**3.9, mp.mpf(10)**2.45
        d = mp.sqrt(mp.mpf(1) / 2)
        c = low**2 * high**2
        b = (reference**2 + c / reference**2 - d * (low**2 + high**2)) / (1 - d)
        root = mp.sqrt(b**2 - 4 * c)
        f1, f4 = mp.sqrt((-b - root) / 2), mp.sqrt((-b + root) / 2)
        five = mp.sqrt(mp.mpf(5))
        return f1, (3 - five) / 2 * third, (3 + five) / 2 * third, f4


F1, F2, F3, F4 = (float(f) for f in weighting_corners())
F_B = 10**2.2  # IEC 60651: the B curve's own corner


def weighting(curve, f):
    """The design goal in dB by the poles of annex E, 0 dB at 1 kHz."""
    def magnitude(f):
        s = f * f
        value = F4**2 * s / ((s + F1**2) * (s + F4**2))
        if curve == "A":
            value *= s / math.sqrt((s + F2**2) * (s + F3**2))
        elif curve == "B":
            value *= f / math.sqrt(s + F_B**2)
        return value
    return 20 * math.log10(magnitude(f) / magnitude(1000.0))


def nominal(curve, place):
    row = TABLE_3[place]
    return {"A": row[1], "B": B_NOMINAL[place], "C": row[2]}[curve]


def tenths_that_differ(curve):
    """Where the table's tenth is not the formula's: (nominal frequency, table, formula)."""
    found = []
    for place, row in enumerate(TABLE_3):
        formula = weighting(curve, exact(row[0]))
        if abs(nominal(curve, place) - formula) > 0.05 + 1e-9:
            found.append((row[0], nominal(curve, place), formula))
    return found


def limits_that_differ():
    """Where table 3 of 2013 is not the tolerance of 2002 less the uncertainty that was inside it."""
    found = []
    for row, before in zip(TABLE_3, TOLERANCES_2002):
        for place, (now, then) in enumerate(zip(row[3:], before)):
            less = None if then is None else round(then - permitted_uncertainty(row[0]), 3)
            if now != less:
                found.append((row[0], place, now, less))
    return found


# --- IEC 61260-1:2014 ---

G = 10**0.3
# Table 1, class 1: the octave band's normalised frequency as a power of G, smallest and largest attenuation in
# dB relative to that at mid-band. At the band edge, where the limits jump, those of IEC 61260:1995.
MASK_INSIDE = [(0, -0.4, 0.4), (1 / 8, -0.4, 0.5), (1 / 4, -0.4, 0.7), (3 / 8, -0.4, 1.4), (1 / 2, -0.4, 5.0)]
MASK_OUTSIDE = [(1 / 2, 2.0), (1, 16.6), (2, 40.5), (3, 60.0), (4, 70.0)]


def band_omega(exponent, b):
    """Formula (9): the breakpoint of a 1/b-octave band that belongs to G^exponent of an octave band."""
    return 1 + (G ** (1 / (2 * b)) - 1) / (G**0.5 - 1) * (G**exponent - 1)


def mid_band(nominal_frequency):
    """Exact mid-band frequency of a third octave or octave (base ten)."""
    return exact(nominal_frequency)


def edges(nominal_frequency, b):
    middle = mid_band(nominal_frequency)
    return middle * G ** (-1 / (2 * b)), middle * G ** (1 / (2 * b))
