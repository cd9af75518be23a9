"""The smallest host in Python: places one block of the native module and sends data through it.

The pages whose numbers are measured (weighting.md, filter-designs.md) are made with it, through the
module's real exports:

    module = Module("build/native/bin")
    response = module.block(NUMBER["kDigitalFilter"], PkFIRFilter=0, PkFilterType=0).run(impulse, rate=48000.0)
"""

import ctypes as c
import os
import re
import struct
from pathlib import Path

import numpy as np


def interface():
    """Every number that the host's header names: enumerators and constants, by their names.

    Enumerators of an `enum class` stand under "Enum.name". An offset that the header asserts of a
    record's field stands under "Record.field", its size under "Record".
    """
    header = Path(__file__).resolve().parents[2] / "vynhost/interface/module_interface.h"
    text = re.sub(r"//.*", "", header.read_text())
    names = {}
    for scoped, name, body in re.findall(r"\benum\s+(class\s+)?(\w+)[^{;]*\{([^}]*)\}", text):
        for enumerator, value in re.findall(r"(\w+)\s*=\s*(-?\d+)", body):
            names[f"{name}.{enumerator}" if scoped else enumerator] = int(value)
    for name, value in re.findall(r"inline constexpr [\w:]+ (\w+) = (-?\d+);", text):
        names[name] = int(value)
    for record, field, offset in re.findall(r"offsetof\((\w+), (\w+)\) == (\d+)", text):
        names[f"{record}.{field}"] = int(offset)
    for record, size in re.findall(r"sizeof\((\w+)\) == (\d+)", text):
        names[record] = int(size)
    return names


NUMBER = interface()
HEADER = NUMBER["kValuesOffset"]  # bytes before the values of a channel data block


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
        window = c.cast(self.window, c.c_void_p).value
        self.call("SetInit", NUMBER["kHostWindow"], window, NUMBER["kInterfaceVersion"])

    def call(self, export, *arguments):
        function = getattr(self.library, export)
        function.restype = c.c_int64
        return function(*[c.c_int64(argument) for argument in arguments])

    def block(self, type_code, **keywords):
        return Block(self, type_code, keywords)

    def _answer(self, message, first, second):
        if message == NUMBER["Message.newBlock"]:
            block = Memory(HEADER + 4 * second)
            self.outputs[block.handle] = block
            return block.handle
        if message == NUMBER["Message.copyHeader"]:
            c.memmove(second, c.c_void_p.from_address(first).value, HEADER)
        counts = (NUMBER["Message.inputCount"], NUMBER["Message.outputCount"])
        return 1 if message in counts else 0


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
        info, record = Memory(NUMBER["kInfoSize"]), Memory(NUMBER["kValueRecordSize"])
        record.write(NUMBER["kValueKeywordOffset"], f"{NUMBER['kValueKeywordSize']}s",
                     keyword.encode())
        record.write(NUMBER["kValueAddressOffset"], "Q", c.addressof(number))
        self.module.call("lRemoteControl", 1, self.handle, record.handle, NUMBER["kSetValue"],
                         info.handle)

    def run(self, samples, rate):
        """One whole run over one data block of one channel."""
        samples = np.asarray(samples, dtype=np.float32)
        data = Memory(HEADER + samples.nbytes)
        for field, layout, value in (("valueCount", "i", samples.size),
                                     ("xAxisKind", "i", NUMBER["kSeconds"]),
                                     ("xStep", "d", 1.0 / rate),
                                     ("displayMinimum", "d", -1.0), ("displaySpan", "d", 2.0),
                                     ("channelCount", "i", 1)):
            data.write(NUMBER[f"ChannelHeader.{field}"], layout, value)
        c.memmove(c.addressof(data.buffer) + HEADER, samples.ctypes.data, samples.nbytes)
        record = Memory(NUMBER["SimulationRecord"])
        record.write(NUMBER["SimulationRecord.inputData"], "Q", data.handle)
        for connector in range(1, NUMBER["kMaxConnectors"]):
            for field in ("inputChannel", "outputChannel"):
                place = NUMBER[f"SimulationRecord.{field}"] + 4 * connector
                record.write(place, "i", NUMBER["kUnwired"])
        for export in ("InitSim", "Simulation", "Stoppen"):
            last = record.handle if export == "Simulation" else 0
            result = self.module.call(export, 1, self.type_code, self.handle, last)
            if export == "Simulation" and result != 0:
                raise RuntimeError(f"block type {self.type_code} answers {result}")
        block = self.module.outputs.pop(record.read(NUMBER["SimulationRecord.outputData"], "Q"))
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
