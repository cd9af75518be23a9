#!/usr/bin/python3
"""vynpack beside numpy and scipy: whole answers from the same arrays, in the same run.

    bench/scipy_table.py [SAMPLES [CHANNELS]]

Best of three each, in float32 arrays of (samples, channels) on both sides; what the peer computes in
double precision is left to it.
"""

import statistics
import sys
import time
from pathlib import Path

import numpy as np
import scipy.signal as sps

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "python"))
import vynpack as vp  # noqa: E402

FS = 48000


def jobs(x):
    sections = sps.butter(4, 1000, fs=FS, output="sos")
    taps = sps.firwin(101, 1000, fs=FS)
    y = np.roll(x, 3, axis=0)
    return [
        ("filter, Butterworth of order 4", lambda: vp.filter(x, FS, cutoff=1000.0),
         "scipy.signal.sosfilt", lambda: sps.sosfilt(sections, x, axis=0)),
        ("filter, 101 taps", lambda: vp.filter(x, FS, cutoff=1000.0, taps=101),
         "scipy.signal.oaconvolve", lambda: sps.oaconvolve(x, taps[:, None], axes=0)),
        ("power density, blocks of 4096", lambda: vp.spectrum(x, FS, block=4096, amplitude="psd", correction="energy"),
         "scipy.signal.welch", lambda: sps.welch(x, FS, "hann", 4096, 0, detrend=False, axis=0)),
        ("cross spectrum and coherence", lambda: vp.transfer(x, y, FS, block=4096),
         "scipy.signal.csd, welch, coherence",
         lambda: [f(x, y, FS, "hann", 4096, 0, detrend=False, axis=0) for f in (sps.csd, sps.coherence)]
         + [sps.welch(x, FS, "hann", 4096, 0, detrend=False, axis=0)]),
        ("minimum, maximum, mean, rms, std", lambda: vp.statistics(x, FS), "numpy",
         lambda: [x.min(0), x.max(0), x.mean(0, dtype=float), np.sqrt(np.mean(x.astype(float) ** 2, 0)),
                  x.std(0, ddof=1, dtype=float)]),
        ("20 classes", lambda: vp.classify(x, begin=-4, end=4), "numpy.histogram",
         lambda: [np.histogram(column, 20, (-4, 4)) for column in x.T]),
    ]


def best(work):
    times = []
    for _ in range(3):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return min(times)


def main():
    samples = int(sys.argv[1]) if len(sys.argv) > 1 else 1_000_000
    channels = int(sys.argv[2]) if len(sys.argv) > 2 else 8
    x = np.random.default_rng(1).standard_normal((samples, channels)).astype(np.float32)
    ratios = []
    print(f"| {samples} samples, {channels} channels | vynpack | peer | | times as fast |\n|---|--:|---|--:|--:|")
    for name, own, peer_name, peer in jobs(x):
        mine, other = best(own), best(peer)
        ratios.append(other / mine)
        print(f"| {name} | {mine * 1e3:.0f} ms | {peer_name} | {other * 1e3:.0f} ms | {ratios[-1]:.1f} |")
    print(f"\nmedian {statistics.median(ratios):.1f}")


if __name__ == "__main__":
    main()
