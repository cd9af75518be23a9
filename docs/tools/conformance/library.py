"""The analysis library's functions by ctypes: transforms and designs in double precision."""

import ctypes as c

import numpy as np
import vynpack as vp

DESIGNS = {"Butterworth": "ZABFunc18", "Chebyshev": "ZABFunc24", "inverse Chebyshev": "ZABFunc98", "elliptic": "ZABFunc61",
           "Bessel": "ZABFunc12"}
MODES = ("low pass", "high pass", "band pass", "band stop")


class Head(c.Structure):
    _fields_ = [("zero_count", c.c_int32), ("pole_count", c.c_int32), ("gain", c.c_double), ("zeros", c.c_double * 256),
                ("poles", c.c_double * 256), ("changed", c.c_int32)]


def load():
    folder = vp.Filter()._library.folder
    library = c.CDLL(f"{folder}/Analysis/ovanlys.so")
    library.ZABFunc233.restype = c.c_void_p
    return library


def array(values):
    return np.array(values, dtype=np.float64)


def pointer(values):
    return values.ctypes.data_as(c.POINTER(c.c_double))


def forward(library, x):
    """Lines 0 to n/2 of the real transform."""
    n = len(x)
    re, im = array(x), np.zeros(n + 2)
    assert library.ZABFunc147(pointer(re), pointer(im), c.c_int(n)) == 0
    return re[:n // 2 + 1] + 1j * im[:n // 2 + 1]


def backward(library, lines, n):
    re, im = np.zeros(n + 2), np.zeros(n + 2)
    re[:n // 2 + 1], im[:n // 2 + 1] = lines.real, lines.imag
    assert library.ZABFunc148(pointer(re), pointer(im), c.c_int(n)) == 0
    return re[:n]


def design(library, characteristic, mode, order, rate, f1, f2, ripple, attenuation):
    """(zeros, poles, gain) of a recursive design, or None where it is refused."""
    handle = c.c_void_p(library.ZABFunc233(MODES.index(mode), order))
    decibels = {"Chebyshev": [ripple], "inverse Chebyshev": [attenuation], "elliptic": [ripple, attenuation]}.get(characteristic, [])
    numbers = [c.c_double(v) for v in (rate, f1, f2, *decibels)]
    status = getattr(library, DESIGNS[characteristic])(*numbers, handle)
    head = Head.from_address(handle.value)
    roots = [np.array(part[:2 * count]).reshape(-1, 2) @ [1, 1j] for part, count in
             ((head.zeros, head.zero_count), (head.poles, head.pole_count))]
    gain = head.gain
    library.ZABFunc234(handle)
    return (*roots, gain) if status == 0 else None
