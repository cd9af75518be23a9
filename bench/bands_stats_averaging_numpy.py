#!/usr/bin/env python3
"""What numpy makes of the measures of the bands, statistics and averaging benchmarks.

Prints million samples (or lines) per second, best of seven, for interleaved float32 data of 8
channels; one thread.
"""
import time

import numpy as np

CHANNELS = 8


def rate(count, work, rounds=50):
    work()
    best = min(_timed(work, rounds) for _ in range(7))
    return count / best / 1e6


def _timed(work, rounds):
    start = time.perf_counter()
    for _ in range(rounds):
        work()
    return (time.perf_counter() - start) / rounds


def statistics(x):
    n = len(x)
    sums = x.sum(axis=0, dtype=np.float64)
    squares = (x * x).sum(axis=0, dtype=np.float64)
    harmonic = n / (np.float32(1) / x).sum(axis=0, dtype=np.float64)
    geometric = np.prod(np.power(x.astype(np.float64), 1.0 / n), axis=0)
    extremes = x.argmax(axis=0), x.argmin(axis=0)
    mean = sums / n
    deviation = x.astype(np.float64) - mean
    return (squares, harmonic, geometric, extremes, (deviation * deviation).sum(axis=0),
            np.abs(deviation).sum(axis=0))


def main():
    random = np.random.default_rng(1)
    x = random.uniform(1, 9, (4096, CHANNELS)).astype(np.float32)
    print(f"all 21 statistics       {rate(x.size, lambda: statistics(x), 5):8.0f}")

    groups = x[:4090].reshape(-1, 10, CHANNELS)
    print(f"reduction by 10         {rate(x.size, lambda: groups.mean(axis=1, dtype=np.float64)):8.0f}")

    windows = np.lib.stride_tricks.sliding_window_view(x, 7, axis=0)
    print(f"smoothing over 7        {rate(x.size, lambda: windows.mean(axis=-1, dtype=np.float64), 5):8.0f}")

    average = np.zeros_like(x)

    def mix():
        np.multiply(average, np.float32(3), out=average)
        np.add(average, x, out=average)
        np.divide(average, np.float32(4), out=average)
        average.copy()

    print(f"average of blocks       {rate(x.size, mix):8.0f}")

    lines = random.uniform(1, 9, (2048, CHANNELS)).astype(np.float32)
    edges = np.unique(np.round(np.geomspace(2, 1900, 31)).astype(int))
    print("third octaves (squares) "
          f"{rate(lines.size, lambda: np.add.reduceat(lines.astype(np.float64) ** 2, edges, axis=0)):8.0f}")


if __name__ == "__main__":
    main()
