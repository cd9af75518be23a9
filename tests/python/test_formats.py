"""What vynhost reads and writes, beside what others read and write."""

import json
import subprocess

import numpy as np
import pytest
import scipy.io.wavfile
from test_report import BAD, columns
from test_vynhost import VYNHOST

openpyxl = pytest.importorskip("openpyxl")
soundfile = pytest.importorskip("soundfile")
RATE = 8000


def run(folder, diagram, *more, fails=False, **how):
    (folder / "d.toml").write_text(diagram)
    done = subprocess.run([VYNHOST, "run", folder / "d.toml", "--out", folder / "out", "--quiet", *more],
                          timeout=100, capture_output=True, **how)
    assert (done.returncode != 0) == fails, done.stderr
    return done.stderr.decode()


def table_of(folder, source, more="", **how):
    """The signal of a source's keys, as the table has it: t and the channels."""
    run(folder, f'[source.s]\n{source}\n[sink.x]\nfrom = "s"\ncsv = "x.csv"\n{more}', **how)
    return columns(folder / "out" / "x.csv")[1]


@pytest.fixture
def x(noise):
    return np.clip(0.2 * noise(1000, 2), -1, 1).astype(np.float32)


# --- Recordings -------------------------------------------------------------------------------------

AUDIO = [("WAV", kind) for kind in ("PCM_U8", "PCM_16", "PCM_24", "PCM_32", "FLOAT", "DOUBLE", "ALAW", "ULAW")]
AUDIO += [("RF64", "PCM_16"), ("RF64", "FLOAT"), ("W64", "PCM_24"), ("CAF", "PCM_16"), ("FLAC", "PCM_24"),
          ("OGG", "VORBIS"), ("AIFF", "PCM_16"), ("WAVEX", "PCM_24")]


@pytest.mark.parametrize("container, coding", AUDIO)
def test_sound_is_read_as_others_read_it(tmp_path, x, container, coding):
    file = tmp_path / f"s.{container.lower()}"
    soundfile.write(file, x, RATE, format=container, subtype=coding)
    expected, rate = soundfile.read(file, dtype="float32")
    table = table_of(tmp_path, f'file = "{file.name}"')
    np.testing.assert_allclose(table[:, 0], np.arange(len(expected)) / rate, atol=1e-12)
    np.testing.assert_array_equal(table[:, 1:].astype(np.float32), expected)
    # A part of it, too.
    part = table_of(tmp_path, f'file = "{file.name}"\nstart = 0.05\nlength = 0.03\nblock = 64')
    np.testing.assert_array_equal(part, table[400:640])


@pytest.mark.parametrize("name, kind, scale", [("u8", "u1", 128), ("s16", "<i2", 2**15), ("s32", "<i4", 2**31),
                                               ("f32", "<f4", 1), ("f64", "<f8", 1)])
@pytest.mark.parametrize("way", ["stream", "file"])
def test_raw_samples_come_in_a_file_or_on_standard_input(tmp_path, x, name, kind, scale, way):
    numbers = np.round(x[:, :] * scale) if scale > 1 else x.astype(kind)
    stored = (numbers + (128 if name == "u8" else 0)).clip(0 if name == "u8" else -scale, 255 if name == "u8" else None)
    stored = stored.astype(kind)
    expected = ((stored.astype(np.float64) - (128 if name == "u8" else 0)) / scale).astype(np.float32)
    keys = f'format = "{name}"\nchannels = 2\nrate = {RATE}.0\nblock = 100'
    if way == "file":
        (tmp_path / "s.raw").write_bytes(stored.tobytes())
        table = table_of(tmp_path, f'file = "s.raw"\n{keys}')
    else:
        table = table_of(tmp_path, f'file = "-"\n{keys}', input=stored.tobytes())
    np.testing.assert_array_equal(table[:, 1:].astype(np.float32), expected)
    assert table[-1, 0] == pytest.approx(999 / RATE)


def test_24_bits_come_raw(tmp_path, x):
    soundfile.write(tmp_path / "s.raw", x, RATE, format="RAW", subtype="PCM_24", endian="LITTLE")
    table = table_of(tmp_path, f'file = "s.raw"\nformat = "s24"\nchannels = 2\nrate = {RATE}.0')
    np.testing.assert_allclose(table[:, 1:], x, atol=2**-22)


def test_standard_input_of_any_length_can_end_anywhere(tmp_path):
    keys = f'file = "-"\nformat = "f32"\nrate = {RATE}.0\nblock = 64'
    for samples in (1, 63, 64, 65, 128):
        y = np.arange(samples, dtype=np.float32)
        np.testing.assert_array_equal(table_of(tmp_path, keys, input=y.tobytes())[:, 1], y)
    part = table_of(tmp_path, keys + "\nstart = 0.01\nlength = 0.005", input=np.arange(500, dtype=np.float32).tobytes())
    np.testing.assert_array_equal(part[:, 1], np.arange(80, 120))
    np.testing.assert_allclose(part[:, 0], np.arange(80, 120) / RATE)

    def error(more="", given=b"\0" * 400, keys=keys):
        return run(tmp_path, f'[source.s]\n{keys}\n{more}\n[sink.x]\nfrom = "s"\ncsv = "x.csv"\n', fails=True, input=given)
    assert "ends with 3 of the 4 bytes" in error(given=b"\0" * 403)
    assert "holds no samples" in error(given=b"")
    assert "source.s.length: - ends before, after 0.0125 s" in error("length = 1.0")
    assert 'source.s.format: "f31" is none of u8, s16' in error(keys=keys.replace("f32", "f31"))
    assert "format is missing" in error(keys=f'file = "-"\nrate = {RATE}.0')
    assert "rate is missing" in error(keys='file = "-"\nformat = "f32"')
    assert "1 to 1024" in error("channels = 0")
    assert "1 to 1024" in error("channels = [1]")
    two = '[source.t]\nfile = "-"\nformat = "u8"\nrate = 8.0\n[sink.y]\nfrom = "t"\ncsv = "y.csv"\n'
    assert "read by another source already" in error(two)


def test_a_part_that_is_not_there_is_refused(tmp_path, x):
    scipy.io.wavfile.write(tmp_path / "s.wav", RATE, x)

    def error(more):
        return run(tmp_path, f'[source.s]\nfile = "s.wav"\n{more}\n[sink.x]\nfrom = "s"\ncsv = "x.csv"\n', fails=True)
    assert "source.s.start: lies behind the end" in error("start = 0.125")
    assert "source.s.length: goes beyond the end" in error("start = 0.1\nlength = 0.03")
    assert "source.s.start: must be a number of seconds, 0 or above" in error("start = -1.0")
    assert "source.s.length: must be a number of seconds above 0" in error("length = 0.0")
    assert "source.s.length: is less than a sample" in error("length = 1e-9")
    assert "noise alone has no part" in run(
        tmp_path, '[source.s]\nnoise = { rms = 1.0 }\nrate = 8.0\nseconds = 1.0\nstart = 0.5\n[sink.x]\nfrom = "s"\ncsv = "x"\n',
        fails=True)


@pytest.mark.parametrize("kind", ["<f4", "<f8", "<i2", "<i4", "u1"])
@pytest.mark.parametrize("order", ["C", "F"])
def test_arrays_of_numpy_are_read(tmp_path, x, kind, order):
    scale = {"<i2": 2**15, "<i4": 2**31, "u1": 128}.get(kind, 1)
    stored = np.asarray((x.astype(np.float64) * min(scale, 2**31 - 1) + (128 if kind == "u1" else 0)).astype(kind), order=order)
    np.save(tmp_path / "s.npy", stored)
    expected = ((stored.astype(np.float64) - (128 if kind == "u1" else 0)) / scale).astype(np.float32)
    table = table_of(tmp_path, f'file = "s.npy"\nrate = {RATE}.0')
    np.testing.assert_array_equal(table[:, 1:].astype(np.float32), expected)
    np.save(tmp_path / "s.npy", stored[:, 0])
    np.testing.assert_array_equal(table_of(tmp_path, f'file = "s.npy"\nrate = {RATE}.0')[:, 1], table[:, 1])


def test_what_is_no_array_of_samples_is_refused(tmp_path):
    def error(array, more=f"rate = {RATE}.0"):
        if isinstance(array, bytes):
            (tmp_path / "s.npy").write_bytes(array)
        else:
            np.save(tmp_path / "s.npy", array)
        return run(tmp_path, f'[source.s]\nfile = "s.npy"\n{more}\n[sink.x]\nfrom = "s"\ncsv = "x.csv"\n', fails=True)
    assert "needs a rate" in error(np.zeros(4), "")
    assert 'numbers of type "<c16"' in error(np.zeros(4, complex))
    assert 'numbers of type ">f8"' in error(np.zeros(4, ">f8"))
    assert "3 dimensions" in error(np.zeros((2, 2, 2)))
    head = b"{'descr': '<f4', 'fortran_order': %s, 'shape': (1,), }"
    for order, well in ((b"False", True), (b"Maybe", False)):
        text = (head % order).ljust(117) + b"\n"
        (tmp_path / "o.npy").write_bytes(b"\x93NUMPY\x01\0" + len(text).to_bytes(2, "little") + text + bytes(4))
        said = run(tmp_path, '[source.s]\nfile = "o.npy"\nrate = 8.0\n[sink.x]\nfrom = "s"\ncsv = "x.csv"\n', fails=not well)
        assert well or "o.npy" in said
    assert "0 dimensions" in error(np.zeros(()))
    assert "holds no samples" in error(np.zeros((0, 2)))
    assert "2000 channels" in error(np.zeros((2, 2000)))
    np.save(tmp_path / "whole.npy", np.zeros((100, 2)))
    whole = (tmp_path / "whole.npy").read_bytes()
    assert "promises 100 samples per channel, the file holds 99" in error(whole[:-1])
    for cut in (0, 5, 7, 9, 40):
        assert "no head of a numpy array" in error(whole[:cut])
    assert "no head of a numpy array" in error(whole.replace(b"'shape'", b"'shapf'"))
    assert "no head of a numpy array" in error(whole.replace(b"(100, 2)", b"(-10, 2)"))


# --- Results ----------------------------------------------------------------------------------------

SIGNALS = """
    [source.left]
    file = "a.wav"
    full_scale = 20.0
    unit = "Pa"
    block = 300
    [source.right]
    file = "b.wav"
    block = 300
    [sink.x]
    from = ["left", "right"]
    csv = "x.csv"
    jsonl = "x.jsonl"
    npy = "x.npy"
    npz = "x.npz"
    wav = "x.wav"
"""


@pytest.fixture
def signals(tmp_path, x):
    scipy.io.wavfile.write(tmp_path / "a.wav", RATE, x)
    scipy.io.wavfile.write(tmp_path / "b.wav", RATE, x[:, 0])
    run(tmp_path, SIGNALS)
    return tmp_path / "out"


def test_every_kind_of_table_holds_the_same(signals):
    heads, table = columns(signals / "x.csv")
    assert heads == ["t [s]", "left 1 [Pa]", "left 2 [Pa]", "right"]
    values = table[:, 1:].astype(np.float32)
    array = np.load(signals / "x.npy")
    assert list(array.dtype.names) == heads
    assert [array.dtype[name].str for name in heads] == ["<f8", "<f4", "<f4", "<f4"]
    np.testing.assert_allclose(array["t [s]"], table[:, 0], rtol=1e-11)  # the table has twelve digits
    archive = np.load(signals / "x.npz")
    assert archive.files == heads
    for i, name in enumerate(heads[1:]):
        np.testing.assert_array_equal(array[name], values[:, i])
        np.testing.assert_array_equal(archive[name], values[:, i])
    rate, sound = scipy.io.wavfile.read(signals / "x.wav")
    assert rate == RATE and sound.dtype == np.float32
    np.testing.assert_array_equal(sound, values)
    np.testing.assert_array_equal(soundfile.read(signals / "x.wav", dtype="float32")[0], values)
    lines = [json.loads(line) for line in (signals / "x.jsonl").read_text().splitlines()]
    assert [list(line) for line in lines[:1]] == [heads]
    np.testing.assert_array_equal(np.array([list(line.values())[1:] for line in lines], np.float32), values)
    np.testing.assert_array_equal([line["t [s]"] for line in lines], table[:, 0])


def test_what_was_written_is_read_again(signals, tmp_path):
    table = columns(signals / "x.csv")[1]
    for name in ("x.npy", "x.wav"):
        (tmp_path / name).write_bytes((signals / name).read_bytes())
        again = table_of(tmp_path, f'file = "{name}"')
        np.testing.assert_array_equal(again[:, 1:].astype(np.float32), table[:, 1:].astype(np.float32))


def test_spectra_go_into_arrays_but_not_into_sound(tmp_path, x):
    scipy.io.wavfile.write(tmp_path / "a.wav", RATE, x)
    diagram = """[source.a]\nfile = "a.wav"\nblock = 100\n[block.f]\ntype = "FFT"\n[wire]\n"f.E" = "a"
        [sink.x]\nfrom = "f.S"\ny = "dB"\nnpy = "x.npy"\njsonl = "x.jsonl"\ncsv = "x.csv"\n"""
    run(tmp_path, diagram)
    heads, table = columns(tmp_path / "out" / "x.csv")
    array = np.load(tmp_path / "out" / "x.npy")
    assert list(array.dtype.names) == heads and len(heads) == 21
    np.testing.assert_array_equal(array[heads[20]], table[:, 20].astype(np.float32))
    assert "sink.x: only signals over time, not in dB, go into a wav" in run(tmp_path, diagram + 'wav = "x.wav"\n', fails=True)


def test_gaps_and_equal_names_survive(tmp_path):
    (tmp_path / "t.csv").write_text("t;a;a\n0;1;\n1;;3\n2;2;4\n")
    run(tmp_path, '[source.s]\nfile = "t.csv"\n[sink.x]\nfrom = "s"\nnpy = "x.npy"\nnpz = "x.npz"\njsonl = "x.jsonl"\n')
    array = np.load(tmp_path / "out" / "x.npy")
    assert array.dtype.names == ("t [s]", "s a", "s a (2)")
    np.testing.assert_array_equal(array["s a"], [1, np.nan, 2])
    assert np.load(tmp_path / "out" / "x.npz").files == ["t [s]", "s a", "s a (2)"]
    assert json.loads((tmp_path / "out" / "x.jsonl").read_text().splitlines()[0]) == {"t [s]": 0, "s a": 1, "s a (2)": None}


def test_names_from_outside_stay_names(tmp_path, x):
    scipy.io.wavfile.write(tmp_path / "a.wav", RATE, x)
    name = BAD + "\\ \t/../ä"
    run(tmp_path, f'[source.a]\nfile = "a.wav"\nunit = {json.dumps(name)}\n[sink.x]\nfrom = "a"\nnpy = "x.npy"\n'
        'npz = "x.npz"\njsonl = "x.jsonl"\n')
    said = [f"a {i} [{name}]" for i in (1, 2)]
    assert list(np.load(tmp_path / "out" / "x.npy").dtype.names)[1:] == said
    assert list(json.loads((tmp_path / "out" / "x.jsonl").read_text(encoding="utf-8").splitlines()[0]))[1:] == said
    # No folder is left, or entered, by whoever unpacks it.
    assert not any("/" in file or "\\" in file for file in np.load(tmp_path / "out" / "x.npz").files)


def test_results_of_all_kinds_are_claimed_before_anything_is_read(tmp_path, x):
    scipy.io.wavfile.write(tmp_path / "a.wav", RATE, x)
    for kind in ("jsonl", "npy", "npz", "wav", "xlsx"):
        assert f"sink.x.{kind}: " in run(
            tmp_path, f'[source.a]\nfile = "a.wav"\n[sink.x]\nfrom = "a"\n{kind} = "../a.wav"\n', fails=True)


def test_workbooks_have_numbers_formats_and_a_chart(tmp_path, x):
    scipy.io.wavfile.write(tmp_path / "a.wav", RATE, x)
    diagram = """[source.a]\nfile = "a.wav"\nblock = 500\nunit = "Pa"\n[block.f]\ntype = "FFT"\n[wire]\n"f.E" = "a"
        [sink.x]\nfrom = "f.S"\naverage = "power"\nxlsx = "x.xlsx"\ncsv = "x.csv"\nx = "log"\n
        [sink.y]\nfrom = "f.S"\naverage = "power"\ny = "dB"\nxlsx = "y.xlsx"\ncsv = "y.csv"\n"""
    run(tmp_path, diagram)
    for name, number_format in (("x", "0.0000E+00"), ("y", "0.00")):
        heads, table = columns(tmp_path / "out" / f"{name}.csv")
        book = openpyxl.load_workbook(tmp_path / "out" / f"{name}.xlsx")
        assert book.sheetnames == ["Table", "Chart"]
        rows = list(book["Table"].iter_rows())
        assert [cell.value for cell in rows[0]] == heads
        np.testing.assert_allclose([[cell.value for cell in row] for row in rows[1:]], table, rtol=1e-11)
        assert {cell.number_format for cell in rows[5][1:]} == {number_format}
        assert book["Table"].freeze_panes == "B2"
        (chart,) = book["Chart"]._charts
        assert [series.yVal.numRef.f for series in chart.series] == ["Table!$B$2:$B$251", "Table!$C$2:$C$251"]
        assert (chart.x_axis.scaling.logBase == 10) == (name == "x")
    first = (tmp_path / "out" / "x.xlsx").read_bytes()
    run(tmp_path, diagram)
    assert (tmp_path / "out" / "x.xlsx").read_bytes() == first
    assert not list((tmp_path / "out").glob(".vynhost-*.part"))


def test_a_workbook_has_texts_and_never_formulas(tmp_path):
    (tmp_path / "t.csv").write_text(f't;"{BAD.replace(chr(34), chr(34) * 2)}";"=1+1"\n0;1;\n1;;3\n')
    run(tmp_path, f'[source.s]\nfile = "t.csv"\n[sink.x]\nfrom = "s"\nxlsx = "=cmd|.xlsx"\ntitle = {json.dumps(BAD)}\n')
    book = openpyxl.load_workbook(tmp_path / "out" / "=cmd|.xlsx")
    head, *rows = book["Table"].iter_rows()
    assert [cell.data_type for cell in head] == ["s"] * 3
    assert BAD in head[1].value
    assert [[cell.value for cell in row] for row in rows] == [[0, 1, None], [1, None, 3]]


def test_a_sheet_has_no_more_rows_than_programs_take(tmp_path):
    said = run(tmp_path, '[source.s]\nnoise = { rms = 1.0 }\nrate = 1e6\nseconds = 1.1\nblock = 65536\n[sink.x]\nfrom = "s"\n'
               'xlsx = "x.xlsx"\n', fails=True)
    assert "sink.x: a sheet has at most 1048576 rows" in said
    assert not list((tmp_path / "out").glob("*"))


def test_a_part_says_where_it_begins(tmp_path):
    np.save(tmp_path / "s.npy", np.zeros(800, np.float32))
    (tmp_path / "d.toml").write_text('[source.s]\nfile = "s.npy"\nrate = 8000.0\nstart = 0.05\n[sink.x]\nfrom = "s"\ncsv = "x.csv"\n')
    said = subprocess.run([VYNHOST, "run", tmp_path / "d.toml", "--out", tmp_path / "o"], check=True, capture_output=True, text=True)
    assert ", from 0.05 s on" in said.stdout


def test_the_head_of_an_array_fills_whole_lines_of_64_bytes(tmp_path):
    np.save(tmp_path / "s.npy", np.zeros(800, np.float32))
    run(tmp_path, '[source.s]\nfile = "s.npy"\nrate = 8000.0\n[sink.x]\nfrom = "s"\nnpy = "x.npy"\n')
    written = (tmp_path / "out" / "x.npy").read_bytes()
    assert written[:8] == b"\x93NUMPY\x01\0" and (10 + int.from_bytes(written[8:10], "little")) % 64 == 0
