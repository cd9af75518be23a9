"""Many recordings through one diagram."""

import csv
import os
import pickle
import sys
import types

import numpy as np
import pytest
import scipy.io.wavfile
import vynpack as vp

FS = 48000
DIAGRAM = """
[source.x]
file = "none.wav"
block = 1024
tail = "drop"
[block.s]
type = "FFT"
PkAmplType = "RMS"
[block.n]
type = "Statistik"
PkAMean = 1
PkQMean = 1
[wire]
"s.E" = "x"
"n.E" = "x"
[sink.lines]
from = "s.S"
csv = "lines.csv"
average = "power"
[sink.numbers]
from = "n.A"
csv = "numbers.csv"
"""


@pytest.fixture
def diagram(tmp_path):
    (tmp_path / "d.toml").write_text(DIAGRAM)
    return tmp_path / "d.toml"


@pytest.fixture
def recordings(tmp_path, noise):
    files = [tmp_path / f"{i}.wav" for i in range(5)]
    for i, file in enumerate(files):
        scipy.io.wavfile.write(file, FS, noise(3000, seed=i))
    return files


def rows_of(table):
    with open(table, newline="") as file:
        return list(csv.DictReader(file))


def test_a_table_has_what_the_diagram_gives_of_each_recording(diagram, recordings, tmp_path):
    summary = vp.batch(recordings, diagram, out=tmp_path / "t.csv")
    assert (summary.done, summary.skipped, summary.failed) == (5, 0, 0)
    rows = rows_of(summary.table)
    result = vp.Diagram(diagram).run(x=recordings[3])
    lines = [row for row in rows if row["file"] == str(recordings[3]) and row["sink"] == "lines"]
    np.testing.assert_array_equal([float(row["value"]) for row in lines], result["lines"]["s.S"].values)
    np.testing.assert_array_equal([float(row["x"]) for row in lines], result["lines"]["s.S"].x)
    means = [row for row in rows if row["file"] == str(recordings[3]) and row["quantity"] == "QMean"]
    assert [row["block"] for row in means] == ["1", "2"]
    assert [np.float32(row["value"]) for row in means] == result["numbers"]["n.A"]["QMean"].tolist()


def test_a_recording_that_is_named_twice_runs_once(diagram, recordings, tmp_path):
    vp.batch(recordings, diagram, out=tmp_path / "once.csv")
    for name, workers in (("one.csv", 0), ("two.csv", 2)):
        assert vp.batch([recordings[0], *recordings], diagram, out=tmp_path / name, workers=workers).done == 5
        assert (tmp_path / name).read_bytes() == (tmp_path / "once.csv").read_bytes()


def test_a_module_that_is_missing_ends_the_batch_and_is_no_row(diagram, recordings, tmp_path, monkeypatch):
    """It is not the recording's fault: a later call, with the module, runs it."""
    def missing(self, **recordings):
        raise vp.ModuleError("libvynhost.so is in none of them")
    with monkeypatch.context() as patch:
        patch.setattr(vp.Diagram, "run", missing)
        with pytest.raises(vp.ModuleError):
            vp.batch(recordings, diagram, out=tmp_path / "t.csv")
    assert vp.batch(recordings, diagram, out=tmp_path / "t.csv").done == 5


def test_memory_is_the_runs(diagram, recordings, tmp_path):
    summary = vp.batch(recordings[:1], diagram, out=tmp_path / "t.csv", memory=1e-6)
    assert summary.failed == 1 and "(memory raises that)" in rows_of(summary.table)[0]["error"]


def test_processes_write_the_same_bytes(diagram, recordings, tmp_path):
    recordings.insert(2, tmp_path / "missing.wav")
    vp.batch(recordings, diagram, out=tmp_path / "one.csv")
    vp.batch(recordings, diagram, out=tmp_path / "two.csv", workers=2)
    assert (tmp_path / "one.csv").read_bytes() == (tmp_path / "two.csv").read_bytes()


def test_a_recording_that_fails_is_a_row_with_its_error(diagram, recordings, tmp_path):
    recordings[1].write_bytes(b"RIFF")
    summary = vp.batch(recordings, diagram, out=tmp_path / "t.csv")
    assert (summary.done, summary.failed) == (4, 1)
    failed = [row for row in rows_of(summary.table) if row["error"]]
    assert [row["file"] for row in failed] == [str(recordings[1])] and "1.wav" in failed[0]["error"]


def test_a_later_call_goes_on_where_the_first_was_cut_off(diagram, recordings, tmp_path):
    vp.batch(recordings, diagram, out=tmp_path / "whole.csv")
    table, done = tmp_path / "t.csv", tmp_path / "t.csv.done"
    vp.batch(recordings[:3], diagram, out=table)
    with open(table, "ab") as file:
        file.write(b"half a row of the fou")  # ended while it wrote
    with open(done, "a") as file:
        file.write('{"file": "cut')
    lines = done.read_text().splitlines()
    done.write_text("\n".join(lines[:-1]) + "\n")
    summary = vp.batch(recordings, diagram, out=table)
    assert (summary.done, summary.skipped) == (2, 3)
    assert table.read_bytes() == (tmp_path / "whole.csv").read_bytes()


def test_a_batch_that_is_killed_has_listed_what_is_on_the_disk(diagram, recordings, tmp_path, monkeypatch):
    vp.batch(recordings, diagram, out=tmp_path / "whole.csv")
    monkeypatch.setattr("vynpack._tables.Table._SECONDS", 0)
    run, runs = vp.Diagram.run, []

    def interrupted(self, **recordings):
        runs.append(len((tmp_path / "t.csv.done").read_bytes().splitlines()))
        if len(runs) == 3:
            raise KeyboardInterrupt
        return run(self, **recordings)
    with monkeypatch.context() as patch:
        patch.setattr(vp.Diagram, "run", interrupted)
        with pytest.raises(KeyboardInterrupt):
            vp.batch(recordings, diagram, out=tmp_path / "t.csv")
    assert runs == [0, 1, 2]
    assert vp.batch(recordings, diagram, out=tmp_path / "t.csv").skipped == 2
    assert (tmp_path / "t.csv").read_bytes() == (tmp_path / "whole.csv").read_bytes()


def test_a_list_that_was_cut_in_a_line_goes_on_too(diagram, recordings, tmp_path):
    table, done = tmp_path / "t.csv", tmp_path / "t.csv.done"
    vp.batch(recordings, diagram, out=tmp_path / "whole.csv")
    vp.batch(recordings[:3], diagram, out=table)
    done.write_text(done.read_text()[:-20])
    summary = vp.batch(recordings, diagram, out=table)
    assert (summary.done, summary.skipped) == (3, 2)
    assert table.read_bytes() == (tmp_path / "whole.csv").read_bytes()
    assert vp.batch(recordings, diagram, out=table).skipped == 5


def test_a_process_that_is_killed_loses_nothing(diagram, recordings, tmp_path, monkeypatch):
    """The first process that opens a recording ends; the marker lets the next one pass."""
    vp.batch(recordings, diagram, out=tmp_path / "one.csv")
    (tmp_path / "sitecustomize.py").write_text(f"""
import os, vynpack.diagram as d
run = d.Diagram.run
def once(self, **recordings):
    try:
        os.close(os.open({str(tmp_path / 'killed')!r}, os.O_CREAT | os.O_EXCL))
    except FileExistsError:
        return run(self, **recordings)
    os._exit(9)
d.Diagram.run = once
""")
    monkeypatch.setenv("PYTHONPATH", os.pathsep.join([str(tmp_path), *__import__("sys").path]))
    summary = vp.batch(recordings, diagram, out=tmp_path / "two.csv", workers=2)
    assert (tmp_path / "killed").exists()
    assert (summary.done, summary.failed) == (5, 0)
    assert (tmp_path / "one.csv").read_bytes() == (tmp_path / "two.csv").read_bytes()


def test_a_recording_that_ends_every_process_is_an_error(diagram, recordings, tmp_path, monkeypatch):
    (tmp_path / "sitecustomize.py").write_text("""
import os, vynpack.diagram as d
run = d.Diagram.run
def deadly(self, **recordings):
    if recordings["x"].name == "2.wav":
        os._exit(9)
    return run(self, **recordings)
d.Diagram.run = deadly
""")
    monkeypatch.setenv("PYTHONPATH", os.pathsep.join([str(tmp_path), *__import__("sys").path]))
    summary = vp.batch(recordings, diagram, out=tmp_path / "t.csv", workers=2)
    assert (summary.done, summary.failed) == (4, 1)
    failed = [row for row in rows_of(summary.table) if row["error"]]
    assert [row["file"] for row in failed] == [str(recordings[2])]
    assert "the process that analysed it has ended" in failed[0]["error"]


def test_what_is_not_the_batchs_own_is_refused(diagram, recordings, tmp_path):
    (tmp_path / "mine.csv").write_text("of the user\n")
    with pytest.raises(vp.InputError, match="is there already, and no batch has written it"):
        vp.batch(recordings, diagram, out=tmp_path / "mine.csv")
    assert (tmp_path / "mine.csv").read_text() == "of the user\n"
    vp.batch(recordings, diagram, out=tmp_path / "t.csv")
    scipy.io.wavfile.write(recordings[0], FS, np.zeros(3000, np.float32))
    with pytest.raises(vp.InputError, match="has changed since its rows"):
        vp.batch(recordings, diagram, out=tmp_path / "t.csv")
    diagram.write_text(DIAGRAM.replace("RMS", "PEAK"))
    with pytest.raises(vp.InputError, match="with another diagram"):
        vp.batch(recordings, diagram, out=tmp_path / "t.csv")
    with pytest.raises(vp.InputError, match="say which one by source="):
        diagram.write_text(DIAGRAM + '[source.y]\nfile = "y.wav"\n')
        vp.batch(recordings, diagram, out=tmp_path / "u.csv")


# --- Parquet -------------------------------------------------------------------------------------

@pytest.fixture
def parts(monkeypatch):
    """Debian has no package that writes Parquet: what pandas is given for it is kept as a pickle."""
    pandas = pytest.importorskip("pandas")

    def to_parquet(frame, path=None, *, index):
        assert path is None and index is False
        return pickle.dumps(frame)
    monkeypatch.setattr(pandas.DataFrame, "to_parquet", to_parquet)
    monkeypatch.setitem(sys.modules, "pyarrow", types.ModuleType("pyarrow"))
    return lambda folder: [pickle.loads(part.read_bytes()) for part in sorted(folder.glob("*.parquet"))]


def test_a_parquet_table_is_a_file_per_recording_with_the_rows_of_the_csv(diagram, recordings, tmp_path, parts):
    import pandas
    recordings[1].write_bytes(b"RIFF")
    vp.batch(recordings, diagram, out=tmp_path / "t.csv")
    summary = vp.batch(recordings[:3], diagram, out=tmp_path / "t.parquet")
    assert (summary.done, summary.failed) == (2, 1)
    for i in (3, 4):
        (summary.table / f"part-00000{i}.parquet").write_bytes(b"of a call that was cut off before its list")
    summary = vp.batch(recordings, diagram, out=tmp_path / "t.parquet")
    assert (summary.done, summary.skipped) == (2, 3)
    frames = parts(summary.table)
    assert len(frames) == 5 and len({str(frame.dtypes.to_dict()) for frame in frames}) == 1
    rows = [row for frame in frames for row in frame.to_dict("records")]
    for found, expected in zip(rows, rows_of(tmp_path / "t.csv")):
        for name, text in expected.items():
            if text == "":
                assert pandas.isna(found[name]) or (name, found[name]) == ("unit", "")
            elif name in ("x", "value"):
                assert np.float32(found[name]) == np.float32(text)
            else:
                assert str(found[name]) == text
    assert len(rows) == len(rows_of(tmp_path / "t.csv"))


def test_without_a_package_for_parquet_nothing_is_begun(diagram, recordings, tmp_path, monkeypatch):
    for module in ("pyarrow", "fastparquet"):
        monkeypatch.setitem(sys.modules, module, None)
    with pytest.raises(vp.MissingPackage, match=r"Parquet files needs the package pyarrow \(pip install pyarrow\)"):
        vp.batch(recordings, diagram, out=tmp_path / "t.parquet")
    assert not list(tmp_path.glob("t.parquet*"))
