#!/usr/bin/python3
"""Writes the recording of examples/calibrator.toml: docs/tools/calibrator.py examples/calibrator.wav

A tone of 1 kHz and 94 dB re 20 uPa (1.0024 Pa rms), as a sound calibrator gives it, at 48 kHz in 16 bits.
Digital full scale stands for 20 Pa.
"""

import math
import struct
import sys
import wave

RATE, FREQUENCY, SAMPLES = 48000, 1000, 40960
AMPLITUDE = math.sqrt(2) * 20e-6 * 10 ** (94 / 20)
FULL_SCALE = 20.0

values = [round(32768 * AMPLITUDE / FULL_SCALE * math.sin(2 * math.pi * FREQUENCY * i / RATE))
          for i in range(SAMPLES)]
with wave.open(sys.argv[1], "wb") as recording:
    recording.setnchannels(1)
    recording.setsampwidth(2)
    recording.setframerate(RATE)
    recording.writeframes(struct.pack(f"<{SAMPLES}h", *values))
