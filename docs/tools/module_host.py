"""The smallest host in Python: places one block of the native module and sends data through it.

The pages whose numbers are measured (weighting.md, filter-designs.md) are made with it, through the
module's real exports:

    module = Module("build/native/bin")
    response = module.block(5007, PkFIRFilter=0, PkFilterType=0).run(impulse, rate=48000.0)
"""

import ctypes as c
import os
import struct
from pathlib import Path

import numpy as np

HEADER = 84  # bytes before the values of a channel data block
RECORD = 768  # bytes of a simulation record


class Memory:
    """Zero-filled memory behind a handle: the address of the pointer to it."""

    def __init__(self, size):
        self.buffer = c.create_string_buffer(max(size, 1))
        self.master = c.c_void_p(c.addressof(self.buffer))

    @property
    def handle(self):
        return c.addressof(self.master)

    def write(self, offset, layout, *values):
        struct.pack_into("<" + layout, self.buffer, offset, *values)

    def read(self, offset, layout):
        return struct.unpack_from("<" + layout, self.buffer, offset)[0]


class Module:
    def __init__(self, folder):
        folder = Path(folder).resolve()
        os.environ["OVSHAREDDIR64"] = str(folder)
        self.library = c.CDLL(str(folder / "VYNPACKM.so"))
        self.outputs = {}
        self.window = c.CFUNCTYPE(c.c_int64, c.c_uint32, c.c_int64, c.c_int64)(self._answer)
        self.call("SetInit", 1, c.cast(self.window, c.c_void_p).value, 402)

    def call(self, export, *arguments):
        function = getattr(self.library, export)
        function.restype = c.c_int64
        return function(*[c.c_int64(argument) for argument in arguments])

    def block(self, type_code, **keywords):
        return Block(self, type_code, keywords)

    def _answer(self, message, first, second):
        if message == 1134:  # a new data block
            block = Memory(HEADER + 4 * second)
            self.outputs[block.handle] = block
            return block.handle
        if message == 1143:  # copy a header
            c.memmove(second, c.c_void_p.from_address(first).value, HEADER)
        return {1188: 1, 1189: 1}.get(message, 0)


class Block:
    """One block with one input and one output."""

    def __init__(self, module, type_code, keywords):
        self.module, self.type_code = module, type_code
        self.handle = module.call("GetParameters", 1, type_code, 0, 0)
        if self.handle == 0:
            raise RuntimeError(f"block type {type_code} cannot be created")
        for keyword, value in keywords.items():
            self.set(keyword, value)

    def set(self, keyword, value):
        number = c.c_double(value) if isinstance(value, float) else c.c_int32(value)
        info, record = Memory(16), Memory(44)
        record.write(0, "36s", keyword.encode())
        record.write(36, "Q", c.addressof(number))
        self.module.call("lRemoteControl", 1, self.handle, record.handle, 60, info.handle)

    def run(self, samples, rate):
        """One whole run over one data block of one channel."""
        samples = np.asarray(samples, dtype=np.float32)
        data = Memory(HEADER + samples.nbytes)
        data.write(0, "iiiidddd", samples.size, 1, 0, 0, 0.0, 1.0 / rate, -1.0, 2.0)
        data.write(48, "i", 1)
        c.memmove(c.addressof(data.buffer) + HEADER, samples.ctypes.data, samples.nbytes)
        record = Memory(RECORD)
        record.write(0, "Q", data.handle)
        for channel in range(1, 32):
            record.write(256 + 4 * channel, "i", -1)
            record.write(640 + 4 * channel, "i", -1)
        for export in ("InitSim", "Simulation", "Stoppen"):
            last = record.handle if export == "Simulation" else 0
            result = self.module.call(export, 1, self.type_code, self.handle, last)
            if export == "Simulation" and result != 0:
                raise RuntimeError(f"block type {self.type_code} answers {result}")
        block = self.module.outputs.pop(record.read(384, "Q"))
        return np.frombuffer(block.buffer, np.float32, samples.size, HEADER).copy()

    def close(self):
        self.module.call("DestroyBlock", 1, self.type_code, self.handle, 0)


def impulse_decibels(block, rate, frequencies, seconds=1.0):
    """Magnitude response in dB at frequencies in Hz, from the block's answer to one impulse."""
    impulse = np.zeros(int(rate * seconds), dtype=np.float32)
    impulse[0] = 1.0
    response = block.run(impulse, rate).astype(float)
    times = np.arange(response.size) / rate
    used = np.nonzero(response)[0]
    last = used[-1] + 1 if used.size else 0
    spectrum = [np.dot(response[:last], np.exp(-2j * np.pi * f * times[:last]))
                for f in frequencies]
    return 20.0 * np.log10(np.maximum(np.abs(spectrum), 1e-15))


def replace_section(page, name, text):
    """Puts text between the page's markers <!-- begin NAME --> and <!-- end NAME -->."""
    begin, end = f"<!-- begin {name} -->", f"<!-- end {name} -->"
    before, rest = page.split(begin)
    after = rest.split(end)[1]
    return f"{before}{begin}\n\n{text.strip()}\n\n{end}{after}"
