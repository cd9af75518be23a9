"""MAT and HDF5 files, beside scipy and h5py."""

import json
import struct
import subprocess
import zlib

import numpy as np
import pytest
import scipy.io
from test_formats import RATE, SIGNALS, run, table_of
from test_report import BAD, columns
from test_vynhost import VYNHOST

h5py = pytest.importorskip("h5py")


@pytest.fixture
def x(noise):
    return np.clip(0.2 * noise(1000, 2), -1, 1).astype(np.float32)


def write(file, arrays, rate=None, **how):
    """The arrays by their names; a rate as each kind of file has it."""
    if file.suffix == ".mat":
        scipy.io.savemat(file, arrays | ({} if rate is None else {"fs": float(rate)}), **how)
        return
    with h5py.File(file, "w") as whole:
        for name, values in arrays.items():
            whole.create_dataset(name, data=values, **how)
            if rate is not None:
                whole[name].attrs["sample_rate"] = rate


def error(folder, file, more=""):
    return run(folder, f'[source.s]\nfile = "{file}"\n{more}\n[sink.x]\nfrom = "s"\ncsv = "x.csv"\n', fails=True)


WAYS = [("s.mat", {}), ("s.mat", {"do_compression": True}), ("s.h5", {}), ("s.hdf5", {"chunks": (64, 2), "compression": "gzip"})]
KINDS = [("<f4", 1), ("<f8", 1), ("<i2", 2**15), ("<i4", 2**31), ("u1", 128)]


@pytest.mark.parametrize("name, how", WAYS)
@pytest.mark.parametrize("kind, scale", KINDS)
def test_an_array_is_read_as_others_wrote_it(tmp_path, x, name, how, kind, scale):
    middle = 128 if kind == "u1" else 0
    stored = (x.astype(np.float64) * min(scale, 2**31 - 1) + middle).astype(kind)
    write(tmp_path / name, {"mic": stored}, RATE, **how)
    expected = ((stored.astype(np.float64) - middle) / scale).astype(np.float32)
    table = table_of(tmp_path, f'file = "{name}"\nblock = 96')
    np.testing.assert_array_equal(table[:, 1:].astype(np.float32), expected)
    np.testing.assert_allclose(table[:, 0], np.arange(1000) / RATE, atol=1e-12)
    part = table_of(tmp_path, f'file = "{name}"\nstart = 0.05\nlength = 0.03\nblock = 64')
    np.testing.assert_array_equal(part, table[400:640])


@pytest.mark.parametrize("name", ["s.mat", "s.h5"])
def test_rows_are_samples_unless_the_source_says_otherwise(tmp_path, x, name):
    write(tmp_path / name, {"mic": x.T}, RATE)
    said = error(tmp_path, name)
    assert 'mic (2 x 1000 single) has more columns than rows, and rows are samples (rows = "channels"' in said
    table = table_of(tmp_path, f'file = "{name}"\nrows = "channels"\nblock = 96')
    np.testing.assert_array_equal(table[:, 1:].astype(np.float32), x)
    write(tmp_path / name, {"mic": x}, RATE)
    assert 'has more rows than columns, and rows = "channels"' in error(tmp_path, name, 'rows = "channels"')
    for row in (x[:, :1], x[:, :1].T, x[:, 0]):  # one channel, however it lies
        write(tmp_path / name, {"mic": row}, RATE)
        np.testing.assert_array_equal(table_of(tmp_path, f'file = "{name}"')[:, 1].astype(np.float32), x[:, 0])


@pytest.mark.parametrize("name", ["s.mat", "s.h5"])
def test_one_of_several_arrays_is_named(tmp_path, x, name):
    write(tmp_path / name, {"left": x[:, 0], "right": x[:, 1], "z": x[:4] + 1j}, RATE)
    kind = "1 x 1000 single" if name == "s.mat" else "1000 single"
    assert f'holds several arrays (variable = "NAME" of the source picks one): left ({kind}), right ({kind})' in error(tmp_path, name)
    table = table_of(tmp_path, f'file = "{name}"\nvariable = "right"')
    np.testing.assert_array_equal(table[:, 1].astype(np.float32), x[:, 1])
    assert f'has no "up"; it holds left ({kind}), right ({kind}), z (4 x 2 ' in error(tmp_path, name, 'variable = "up"')
    assert " is not read; real numbers of kind double, single" in error(tmp_path, name, 'variable = "z"')


def test_arrays_in_groups_have_paths(tmp_path, x):
    with h5py.File(tmp_path / "s.h5", "w") as whole:
        whole["run/a/mic"] = x
        whole["run/b/mic"] = 2 * x
        whole["run"].attrs["fs"] = np.int32(RATE)
        whole["ring"] = whole["run"]
        whole["soft"] = h5py.SoftLink("/run/a/mic")
        whole["foreign"] = h5py.ExternalLink("t.h5", "/mic")
    for path in ("run/b/mic", "/run/b/mic"):
        table = table_of(tmp_path, f'file = "s.h5"\nvariable = "{path}"')
        np.testing.assert_array_equal(table[:, 1:].astype(np.float32), 2 * x)
        assert table[1, 0] == 1 / RATE
    assert 'has no "soft"' in error(tmp_path, "s.h5", 'variable = "soft"')
    with h5py.File(tmp_path / "s.h5", "w") as whole:  # a group that holds itself
        whole["mic"] = x
        whole["a/b"] = np.zeros(3)
        whole["a/self"] = whole["a"]
    assert 'has no "?"; it holds mic' in error(tmp_path, "s.h5", 'variable = "?"')


def test_what_lies_in_other_files_is_not_read(tmp_path, x):
    x.tofile(tmp_path / "secret.raw")
    with h5py.File(tmp_path / "s.h5", "w") as whole:
        whole.create_dataset("mic", shape=(1000, 2), dtype="<f4", external=[("secret.raw", 0, 8000)])
    assert "mic lies in other files, which are not read" in error(tmp_path, "s.h5", "rate = 8e3")
    with h5py.File(tmp_path / "s.h5", "w") as whole:
        layout = h5py.VirtualLayout(shape=(1000,), dtype="<f4")
        layout[:] = h5py.VirtualSource("t.h5", "mic", shape=(1000,))
        whole.create_virtual_dataset("mic", layout)
    assert "mic lies in other files, which are not read" in error(tmp_path, "s.h5", "rate = 8e3")


@pytest.mark.parametrize("name", ["s.mat", "s.h5"])
def test_the_rate_is_the_sources_or_the_files(tmp_path, x, name):
    file = tmp_path / name
    t = 3 + np.arange(1000) / 4000

    def step(**arrays):
        write(file, {"mic": x, **arrays})
        return np.diff(table_of(tmp_path, f'file = "{name}"')[:2, 0])[0]
    assert step(Fs=16000.0) == 1 / 16000
    assert step(t=t) == pytest.approx(1 / 4000)
    np.testing.assert_allclose(table_of(tmp_path, f'file = "{name}"')[:, 0], t)
    assert step(t=t, rate=4000.0) == pytest.approx(1 / 4000)
    np.testing.assert_allclose(table_of(tmp_path, f'file = "{name}"')[:, 0], t)
    assert table_of(tmp_path, f'file = "{name}"\nrate = 100.0')[1, 0] == 0.01  # counts before the file's
    write(file, {"mic": x})
    assert "needs a rate: its source has none, and the file neither" in error(tmp_path, name)
    for rate in (-1.0, 1e13, np.nan):
        write(file, {"mic": x, "rate": rate})
        assert "says a rate of" in error(tmp_path, name)
    write(file, {"mic": x, "t": t**2})
    assert "no evenly rising x" in error(tmp_path, name)


@pytest.mark.parametrize("name", ["s.mat", "s.h5"])
def test_what_is_no_recording_is_refused(tmp_path, x, name):
    def said(**arrays):
        write(tmp_path / name, arrays)
        return error(tmp_path, name, "rate = 8e3")
    assert "has no array of samples; it holds one (" in said(one=1.0)
    assert "dimensions; rows of samples and columns of channels are read" in error_of(tmp_path, name, np.zeros((4, 3, 2)))
    assert "has no array of samples" in said(u=np.zeros(9, np.uint16), s="text")
    assert "1025 channels; 1 to 1024 are read" in said(wide=np.zeros((1100, 1025), np.float32))
    assert "none (0 x 2 double) holds no samples" in said(none=np.zeros((0, 2)))


def error_of(folder, name, array):
    write(folder / name, {"mic": array})
    return error(folder, name, 'rate = 8e3\nvariable = "mic"')


def test_other_recordings_have_no_arrays(tmp_path, x):
    np.save(tmp_path / "s.npy", x)
    assert "variable and rows are for MAT and HDF5" in error(tmp_path, "s.npy", 'rate = 8.0\nvariable = "a"')
    assert 'source.s.rows: "up" is none of samples, channels' in error(tmp_path, "s.npy", 'rows = "up"')
    assert "is not for samples without a head" in error(tmp_path, "s.npy", 'rate = 8.0\nformat = "s16"\nvariable = "a"')
    assert "must be a name" in error(tmp_path, "s.npy", 'variable = ""')


def test_numbers_that_are_stored_small_are_what_they_were(tmp_path):
    """As the program does that the files come from: whole numbers in fewer bytes than their kind has."""
    values = np.arange(-100, 100, dtype=np.int8)
    flags = struct.pack("<IIII", 6, 8, 6, 0)
    body = flags + struct.pack("<IIii", 5, 8, 200, 1) + struct.pack("<HH4s", 1, 3, b"mic") + \
        struct.pack("<II", 1, 200) + values.tobytes()
    head = b"MATLAB 5.0 MAT-file".ljust(124) + struct.pack("<HH", 0x0100, 0x4D49)
    (tmp_path / "s.mat").write_bytes(head + struct.pack("<II", 14, len(body)) + body)
    np.testing.assert_array_equal(scipy.io.loadmat(tmp_path / "s.mat")["mic"][:, 0], values)
    np.testing.assert_array_equal(table_of(tmp_path, 'file = "s.mat"\nrate = 8.0')[:, 1], values)


def test_files_of_version_7_3_are_hdf5_with_columns_first(tmp_path, x):
    file = tmp_path / "s.mat"
    with h5py.File(file, "w", userblock_size=512) as whole:
        for name, values in (("mic", x.T), ("fs", np.array([[float(RATE)]])), ("s", np.array([[116], [120]], np.uint16))):
            whole[name] = values
            whole[name].attrs["MATLAB_class"] = np.bytes_("char" if name == "s" else "double")
    with open(file, "r+b") as out:
        out.write(b"MATLAB 7.3 MAT-file".ljust(124) + struct.pack("<HH", 0x0200, 0x4D49))
    np.testing.assert_array_equal(table_of(tmp_path, 'file = "s.mat"')[:, 1:].astype(np.float32), x)
    assert "it holds fs (1 x 1 double), mic (1000 x 2 single), s (1 x 2 text)" in error(tmp_path, "s.mat", 'variable = "?"')


# --- Files that nobody should trust ------------------------------------------------------------------

@pytest.mark.parametrize("packed", [False, True])
def test_no_file_nests_deeper_than_the_stack(tmp_path, packed):
    leaf = struct.pack("<II", 14, 0)
    parts, size = [leaf], len(leaf)
    for _ in range(300000):
        head = struct.pack("<IIII", 6, 8, 1, 0) + struct.pack("<IIii", 5, 8, 1, 1) + struct.pack("<HH4s", 1, 1, b"n")
        parts.append(struct.pack("<II", 14, size + len(head)) + head)
        size += len(head) + 8
    body = b"".join(reversed(parts))
    if packed:
        body = zlib.compress(body)
        body = struct.pack("<II", 15, len(body)) + body
    head = b"MATLAB 5.0 MAT-file".ljust(124) + struct.pack("<HH", 0x0100, 0x4D49)
    (tmp_path / "s.mat").write_bytes(head + body)
    assert "has no array of samples; it holds n (1 x 1 cell)" in error(tmp_path, "s.mat", "rate = 8.0")


@pytest.mark.parametrize("how", [{}, {"do_compression": True}])
def test_cut_and_flipped_files_end_in_one_line(tmp_path, x, how):
    scipy.io.savemat(tmp_path / "whole.mat", {"mic": x[:20], "fs": 8000.0, "names": np.array([["a"], ["b"]], object)}, **how)
    whole = (tmp_path / "whole.mat").read_bytes()
    random = np.random.default_rng(5)
    for i in range(150):
        bad = bytearray(whole)
        if i < 40:
            bad = bad[:int(random.integers(0, len(whole)))]
        else:
            for at in random.integers(124, len(whole), 3):
                bad[at] = int(random.integers(0, 256))
        (tmp_path / "s.mat").write_bytes(bad)
        (tmp_path / "d.toml").write_text('[source.s]\nfile = "s.mat"\n[sink.x]\nfrom = "s"\ncsv = "x.csv"\n')
        done = subprocess.run([VYNHOST, "run", tmp_path / "d.toml", "--out", tmp_path / "o", "--quiet"],
                              capture_output=True, timeout=20)
        assert done.returncode in (0, 2), (i, done)
        assert done.stderr.count(b"\n") == (done.returncode != 0)


@pytest.mark.parametrize("claimed, said", [(2**28, "n is packed and too long to be held unpacked"),
                                           (2**27, "ends before its variables do")])
def test_a_file_that_would_unpack_to_too_much_is_refused(tmp_path, claimed, said):
    head = struct.pack("<IIII", 6, 8, 7, 0) + struct.pack("<IIii", 5, 8, claimed, 1) + struct.pack("<HH4s", 1, 1, b"n")
    body = struct.pack("<II", 14, len(head) + 8 + 4 * claimed) + head + struct.pack("<II", 7, 4 * claimed) + bytes(10**6)
    packed = zlib.compress(body)
    (tmp_path / "s.mat").write_bytes(
        b"MATLAB 5.0 MAT-file".ljust(124) + struct.pack("<HHII", 0x0100, 0x4D49, 15, len(packed)) + packed)
    assert said in error(tmp_path, "s.mat", "rate = 8.0")


def test_a_damaged_hdf5_file_is_named_so(tmp_path, x):
    write(tmp_path / "whole.h5", {"mic": x}, RATE)
    whole = (tmp_path / "whole.h5").read_bytes()
    for cut in (0, 7, 100, 1000):
        (tmp_path / "s.h5").write_bytes(whole[:cut])
        assert "is no HDF5 file, or a damaged one" in error(tmp_path, "s.h5")
    write(tmp_path / "s.h5", {"mic": x}, RATE, chunks=(100, 2), compression="gzip")
    packed = bytearray((tmp_path / "s.h5").read_bytes())
    packed[-200:] = bytes(200)
    (tmp_path / "s.h5").write_bytes(packed)
    assert error(tmp_path, "s.h5").count("\n") == 1


# --- Results ------------------------------------------------------------------------------------------

@pytest.fixture
def signals(tmp_path, x):
    scipy.io.wavfile.write(tmp_path / "a.wav", RATE, x)
    scipy.io.wavfile.write(tmp_path / "b.wav", RATE, x[:, 0])
    run(tmp_path, SIGNALS + 'mat = "x.mat"\nhdf5 = "x.h5"\n')
    return tmp_path / "out"


def test_arrays_hold_what_the_table_does(signals):
    heads, table = columns(signals / "x.csv")
    mat = scipy.io.loadmat(signals / "x.mat")
    assert mat["values"].dtype == np.float32 and mat["x"].dtype == np.float64
    assert [name[0][0] for name in mat["names"]] == heads[1:]
    assert mat["x_names"][0][0][0] == heads[0] and mat["title"][0] == "x" and mat["rate"] == RATE
    with h5py.File(signals / "x.h5") as h5:
        assert list(h5["names"].asstr()) == heads[1:] and list(h5["x_names"].asstr()) == heads[:1]
        assert h5["values"].attrs["rate"] == RATE and list(h5["title"].asstr()) == ["x"]
        np.testing.assert_array_equal(h5["values"], table[:, 1:].astype(np.float32))
        np.testing.assert_allclose(h5["x"], table[:, 0], rtol=1e-11)
    np.testing.assert_array_equal(mat["values"], table[:, 1:].astype(np.float32))
    np.testing.assert_allclose(mat["x"][:, 0], table[:, 0], rtol=1e-11)


def test_what_was_written_is_read_again(signals, tmp_path):
    heads, table = columns(signals / "x.csv")
    for name in ("x.mat", "x.h5"):
        (tmp_path / name).write_bytes((signals / name).read_bytes())
        run(tmp_path, f'[source.s]\nfile = "{name}"\n[sink.x]\nfrom = "s"\ncsv = "again.csv"\n', "--force")
        again = columns(signals / "again.csv")
        np.testing.assert_array_equal(again[1], table)
        assert again[0] == ["t [s]", "s left 1 [Pa]", "s left 2 [Pa]", "s right"]


def test_the_same_run_writes_the_same_bytes(signals, tmp_path):
    first = [(signals / name).read_bytes() for name in ("x.mat", "x.h5")]
    run(tmp_path, SIGNALS + 'mat = "x.mat"\nhdf5 = "x.h5"\n')
    assert [(signals / name).read_bytes() for name in ("x.mat", "x.h5")] == first
    assert not list(signals.glob(".vynhost-*.part"))


def test_classes_have_two_columns_of_x_and_levels_notes(tmp_path, x):
    scipy.io.wavfile.write(tmp_path / "a.wav", RATE, x[:, 0])
    run(tmp_path, '[source.a]\nfile = "a.wav"\nunit = "Pa"\n[block.l]\ntype = "Pegelberechnung"\nPkTimeTc = "Fast"\nPkTimeHold = 0.05\n'
        '[wire]\n"l.E" = "a"\n[sink.x]\nfrom = "l.A"\nmat = "x.mat"\nhdf5 = "x.h5"\ncsv = "x.csv"\n')
    heads, table = columns(tmp_path / "out" / "x.csv")
    mat = scipy.io.loadmat(tmp_path / "out" / "x.mat")
    with h5py.File(tmp_path / "out" / "x.h5") as h5:
        np.testing.assert_array_equal(np.hstack([h5["x"], h5["values"]]), np.hstack([mat["x"], mat["values"]]))
        assert list(h5["x_names"].asstr()) == heads[:2] and "rate" not in h5["values"].attrs
    assert mat["x"].shape[1] == 2 and "rate" not in mat
    np.testing.assert_allclose(np.hstack([mat["x"], mat["values"]]), table, rtol=1e-6)


def test_names_from_outside_stay_names(tmp_path):
    name = BAD + "ä€😀"
    (tmp_path / "t.csv").write_text("t;a\n0;1\n1;2\n")
    run(tmp_path, f'[source.s]\nfile = "t.csv"\nunit = {json.dumps(name, ensure_ascii=False)}\n[sink.x]\nfrom = "s"\nmat = "x.mat"\nhdf5 = "x.h5"\n')
    with h5py.File(tmp_path / "out" / "x.h5") as h5:
        assert list(h5["names"].asstr()) == [f"s a [{name}]"]
    assert scipy.io.loadmat(tmp_path / "out" / "x.mat")["names"][0][0][0] == f"s a [{name}]".replace("😀", "\ufffd")


# A file of two channels and a cell of their names, which are stored as bytes of one type.
def mat_with_names(names, kind, shape=(3, 2)):
    def element(kind, data):
        return struct.pack("<II", kind, len(data)) + data + bytes(-len(data) % 8)

    def matrix(kind, shape, name, *parts):
        head = element(6, struct.pack("<II", kind, 0)) + element(5, struct.pack(f"<{len(shape)}i", *shape))
        return element(14, head + element(1, name) + b"".join(parts))

    texts = [matrix(4, (1, len(name)), b"", element(kind, name)) for name in names]
    return (b"MATLAB 5.0 MAT-file".ljust(124) + struct.pack("<HH", 0x0100, 0x4D49) +
            matrix(6, shape, b"mic", element(9, np.arange(6.0).tobytes())) + matrix(1, (1, 2), b"names", *texts))


@pytest.mark.parametrize("kind, coding", [(4, "utf-16-le"), (17, "utf-16-le"), (16, "utf-8"), (1, "utf-8")])
def test_names_may_be_stored_in_several_ways(tmp_path, kind, coding):
    names = ["aä\uffff", "\U00010000\U0010ffff"]
    (tmp_path / "s.mat").write_bytes(mat_with_names([name.encode(coding) for name in names], kind))
    table_of(tmp_path, 'file = "s.mat"\nrate = 8.0')
    heads = (tmp_path / "out" / "x.csv").read_text(encoding="utf-8").splitlines()[0].split(",")
    assert heads[1:] == [f"s {name}" for name in names]


def test_names_of_another_kind_are_none(tmp_path):
    (tmp_path / "s.mat").write_bytes(mat_with_names([b"ab", b"cd"], 2))
    table_of(tmp_path, 'file = "s.mat"\nrate = 8.0')
    assert (tmp_path / "out" / "x.csv").read_text(encoding="utf-8").splitlines()[0] == "t [s],s 1,s 2"


def test_an_array_of_three_dimensions_holds_no_samples(tmp_path, x):
    write(tmp_path / "s.mat", {"cube": np.zeros((2, 3, 4)), "mic": x}, RATE)
    np.testing.assert_array_equal(table_of(tmp_path, 'file = "s.mat"')[:, 1:].astype(np.float32), x)


def test_more_values_than_any_file_holds_are_damage(tmp_path):
    (tmp_path / "s.mat").write_bytes(mat_with_names([b"ab", b"cd"], 16, (2**16, 2**16, 2**16, 2**16)))
    assert "has a damaged MAT-file's head" in error(tmp_path, "s.mat", "rate = 8.0")
