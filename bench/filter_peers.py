#!/usr/bin/python3
"""Speed of the filter blocks beside liquid-dsp and scipy, in one run on one core.

    OVSHAREDDIR64=build/native/bin bench/filter_peers.py PROGRAM

PROGRAM is the built bench/filter.cpp. Prints million samples per second over all channels: 8
channels, 4096 samples per data block, best of several repetitions, processor time. The blocks take
and give interleaved single precision as the host does; liquid-dsp (single precision) and scipy
(double precision) get contiguous channels.
"""

import json
import os
import subprocess
import sys
import time
import timeit

import numpy as np
from scipy import signal

CHANNELS, SAMPLES, RATE, CUTOFF = 8, 4096, 48000.0, 3000.0


def scipy_rates():
    rng = np.random.default_rng(1)
    x = rng.standard_normal((CHANNELS, SAMPLES))
    rates = {}

    def measure(name, work):
        timer = timeit.Timer(work, timer=time.process_time)
        count, _ = timer.autorange()
        best = min(timer.repeat(7, count)) / count
        rates[name] = x.size / best / 1e6

    for order in (2, 8):
        sos = signal.butter(order, CUTOFF, fs=RATE, output="sos")
        zi = np.zeros((sos.shape[0], CHANNELS, 2))
        measure(f"Butterworth order {order}", lambda: signal.sosfilt(sos, x, zi=zi))
    for taps in (25, 255):
        b = signal.firwin(taps, CUTOFF, window="blackman", fs=RATE)
        zi = np.zeros((CHANNELS, taps - 1))
        measure(f"FIR {taps} taps", lambda: signal.lfilter(b, 1.0, x, zi=zi))
    sos = signal.butter(6, CUTOFF, fs=RATE, output="sos")  # as many sections as the A-weighting
    zi = np.zeros((sos.shape[0], CHANNELS, 2))
    measure("A-weighting", lambda: signal.sosfilt(sos, x, zi=zi))
    return rates


def block_rates(program):
    shape = f"channels:{CHANNELS}/samples:{SAMPLES}"
    pattern = f"(DigitalFilter|FreqWeight_TimeSignal|Liquid).*{shape}"
    report = subprocess.run(
        [program, f"--benchmark_filter={pattern}", "--benchmark_repetitions=7",
         "--benchmark_min_time=0.2", "--benchmark_format=json"],
        check=True, capture_output=True, text=True).stdout
    best = {}
    for row in json.loads(report)["benchmarks"]:
        if row.get("run_type") == "iteration" and "items_per_second" in row:
            name = row["run_name"].replace(f"/{shape}", "")
            best[name] = max(best.get(name, 0.0), row["items_per_second"] / 1e6)
    return best


def main():
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    ours = block_rates(sys.argv[1])
    scipys = scipy_rates()
    rows = [
        ("Butterworth order 2", "DigitalFilter_Butterworth/order:2", "Liquid_Butterworth/order:2"),
        ("Butterworth order 8", "DigitalFilter_Butterworth/order:8", "Liquid_Butterworth/order:8"),
        ("A-weighting", "FreqWeight_TimeSignal/curve:1", None),
        ("FIR 25 taps", "DigitalFilter_Fir/taps:25", "Liquid_Fir/taps:25"),
        ("FIR 255 taps", "DigitalFilter_Fir/taps:255", "Liquid_Fir/taps:255"),
    ]
    print("| filter | block | liquid-dsp | scipy |")
    print("|---|--:|--:|--:|")
    for name, block, liquid in rows:
        cells = [ours.get(block), ours.get(liquid) if liquid else None, scipys[name]]
        print(f"| {name} | " + " | ".join("–" if c is None else f"{c:.0f}" for c in cells) + " |")


if __name__ == "__main__":
    main()
