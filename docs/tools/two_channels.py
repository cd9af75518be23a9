#!/usr/bin/python3
"""Writes the recordings of examples/commands: docs/tools/two_channels.py examples

two_calibrators.wav: a calibrator of 94 dB at 1 kHz on both channels, of which digital full scale is 20 Pa, for two
seconds. two_channels.wav: five seconds at 8 kHz in 16 bits. Channel 1: a tone of 440.3 Hz with noise, 20 dB louder from 4 s on. Channel 2: the
mean of each two neighbouring samples of it, with noise of its own.
"""

import random
import sys
import wave
from array import array
from math import pi, sin, sqrt

RATE, SECONDS, FREQUENCY, FULL_SCALE = 8000, 5, 440.3, 20.0

random.seed(1)
first, second, before = [], [], 0.0
for i in range(RATE * SECONDS):
    gain = 1.0 if i >= 4 * RATE else 0.1
    x = gain * (0.3 * sin(2 * pi * FREQUENCY * i / RATE) + random.gauss(0, 0.005))
    first.append(x)
    second.append((x + before) / 2 + random.gauss(0, 0.002))
    before = x


def write(file, pairs):
    values = array("h", (round(32767 * x) for pair in pairs for x in pair))
    if sys.byteorder == "big":
        values.byteswap()
    with wave.open(f"{sys.argv[1]}/{file}", "wb") as recording:
        recording.setnchannels(2)
        recording.setsampwidth(2)
        recording.setframerate(RATE)
        recording.writeframes(values.tobytes())


write("two_channels.wav", zip(first, second))
amplitude = sqrt(2) * 20e-6 * 10 ** (94 / 20) / FULL_SCALE
tone = [amplitude * sin(2 * pi * 1000 * i / RATE) for i in range(2 * RATE)]
write("two_calibrators.wav", zip(tone, tone))
