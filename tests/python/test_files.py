"""Recordings."""

import contextlib
import subprocess
import types

import numpy as np
import pytest
import scipy.io.wavfile
import vynpack as vp
from test_vynhost import VYNHOST

soundfile = pytest.importorskip("soundfile")


@pytest.mark.parametrize("rate", [8000, 44100, 48000, 51200])
@pytest.mark.parametrize("kind", ["PCM_16", "PCM_24", "FLOAT"])
def test_a_recording_reads_as_the_host_reads_it(tmp_path, noise, kind, rate):
    soundfile.write(tmp_path / "r.wav", 0.1 * noise(2000, 2), rate, subtype=kind)
    (tmp_path / "d.toml").write_text(
        '[source.r]\nfile = "r.wav"\nfull_scale = 20.0\n[block.w]\ntype = "Frequenzbewertung"\nPkXweight = "A"\n'
        '[wire]\n"w.E" = "r"\n[sink.s]\nfrom = ["r", "w.A"]\ncsv = "s.csv"\n')
    subprocess.run([VYNHOST, "run", tmp_path / "d.toml", "--out", tmp_path, "--quiet"], check=True, timeout=100)
    table = np.genfromtxt(tmp_path / "s.csv", delimiter=",", skip_header=1)[:, 1:].astype(np.float32)
    signal = vp.read(tmp_path / "r.wav", full_scale=20.0, unit="Pa")
    np.testing.assert_array_equal(table[:, :2], signal.values)
    np.testing.assert_array_equal(table[:, 2:], vp.weight(signal).values)
    assert signal.unit == "Pa" and vp.weight(signal).unit == "Pa"


def test_channels_are_chosen_from_1(tmp_path, noise):
    x = noise(100, 3)
    scipy.io.wavfile.write(tmp_path / "r.wav", 8000, x)
    np.testing.assert_array_equal(vp.read(tmp_path / "r.wav", channels=[3, 1]).values, x[:, [2, 0]])
    assert vp.read(tmp_path / "r.wav", channels=[2]).values.shape == (100,)
    with pytest.raises(vp.InputError, match="channel 0 does not exist, there are 3"):
        vp.read(tmp_path / "r.wav", channels=[0])


# --- The formats of the trade ----------------------------------------------------------------------

def test_hdf5_data_sets_are_channels(tmp_path, noise):
    h5py = pytest.importorskip("h5py")
    x = noise(1000, 2)
    with h5py.File(tmp_path / "run.h5", "w") as file:
        file["run 1/force"] = x[:, 0]
        file["run 1/force"].attrs.update(fs=2048.0, unit="N")
        file["run 1/acceleration"] = x[:, 1].astype(float)
        file["run 1/acceleration"].attrs.update(wf_increment=1 / 2048, units=b"m/s2")
        file["note"] = "no signal"
        file["both"] = x
    force = vp.read(tmp_path / "run.h5", channels=["run 1/force"])
    np.testing.assert_array_equal(force.values, x[:, 0])
    assert force.unit == "N" and force.x[1] == pytest.approx(1 / 2048)
    pair = vp.read(tmp_path / "run.h5", channels=["run 1/force", "run 1/acceleration"])
    np.testing.assert_array_equal(pair.values, x)
    assert pair.unit == ""  # of two units
    table = vp.read(tmp_path / "run.h5", channels=["both[1]", "both[2]"], fs=100.0)
    np.testing.assert_array_equal(table.values, x)
    with pytest.raises(vp.InputError, match=r"both\[1\] does not say its sample rate; give fs"):
        vp.read(tmp_path / "run.h5", channels=["both[1]"])
    with pytest.raises(vp.InputError, match="fs is 100.0, run 1/force says 2048.0"):
        vp.read(tmp_path / "run.h5", channels=["run 1/force"], fs=100.0)
    with pytest.raises(vp.InputError, match="the channels differ in rate, start or length"):
        vp.read(tmp_path / "run.h5", channels=["run 1/force", "both[1]"], fs=2048.0 * (1 + 1e-12))
    with pytest.raises(vp.InputError, match=r"no channels are called force; there are both\[1\], both\[2\], run 1/acc"):
        vp.read(tmp_path / "run.h5", channels=["force"])
    with pytest.raises(vp.InputError, match="full_scale belongs to audio recordings"):
        vp.read(tmp_path / "run.h5", full_scale=2.0)
    (tmp_path / "text.h5").write_text("no HDF5")
    with pytest.raises(vp.InputError, match="text.h5: "):
        vp.read(tmp_path / "text.h5")


# Debian has no package of the next three: what they are asked stands here as their documentation says
# it (npTDMS 1, asammdf 7, pyuff 2); whether they answer so is not tried.

def stand_in(monkeypatch, name, **members):
    monkeypatch.setitem(__import__("sys").modules, name, types.SimpleNamespace(**members))


class TdmsChannel:
    def __init__(self, name, values, **properties):
        self.name, self.values, self.properties = name, values, properties

    def __len__(self):
        return len(self.values)

    def __getitem__(self, place):
        assert place == slice(None)
        return self.values


def test_tdms_waveforms_as_nptdms_is_asked_for_them(tmp_path, noise, monkeypatch):
    x = noise(500)
    channels = [TdmsChannel("text", ["a"]), TdmsChannel("acc", x, wf_increment=1 / 51200, wf_start_offset=0.5,
                                                        unit_string="g")]
    group = types.SimpleNamespace(name="Run", channels=lambda: channels)
    stand_in(monkeypatch, "nptdms", TdmsFile=types.SimpleNamespace(
        read=lambda path: types.SimpleNamespace(groups=lambda: [group])))
    (tmp_path / "run.tdms").write_bytes(b"TDSm")
    signal = vp.read(tmp_path / "run.tdms", channels=["Run/acc"])
    np.testing.assert_array_equal(signal.values, x)
    assert signal.unit == "g" and signal.x[0] == 0.5 and 1 / signal.head.x_step == pytest.approx(51200)


def test_mdf_signals_as_asammdf_is_asked_for_them(tmp_path, noise, monkeypatch):
    x = noise(500)

    class Mdf(contextlib.nullcontext):
        def __init__(self, path):
            super().__init__(self)

        def iter_channels(self):
            times = np.arange(500) / 1000 + 2
            yield types.SimpleNamespace(name="speed", timestamps=times, samples=x, unit="km/h")
            times = times.copy()
            times[100] += 0.5e-3
            yield types.SimpleNamespace(name="can", timestamps=times, samples=x, unit="")
    stand_in(monkeypatch, "asammdf", MDF=Mdf)
    (tmp_path / "run.mf4").write_bytes(b"MDF")
    signal = vp.read(tmp_path / "run.mf4", channels=["speed"])
    np.testing.assert_array_equal(signal.values, x)
    assert signal.unit == "km/h" and signal.x[0] == 2.0 and signal.x[1] == 2.001
    with pytest.raises(vp.InputError, match="can has its values at uneven times"):
        vp.read(tmp_path / "run.mf4")


def test_universal_time_signals_as_pyuff_is_asked_for_them(tmp_path, noise, monkeypatch):
    x = noise(500).astype(float)
    times = np.arange(500, dtype=np.float32) / np.float32(4096)
    sets = [{"type": 151}, {"type": 58, "func_type": 4, "x": times, "data": x + 1j},
            {"type": 58, "func_type": 1, "id1": "hammer ", "x": times, "data": x, "ordinate_axis_units_lab": "N"}]
    stand_in(monkeypatch, "pyuff", UFF=lambda path: types.SimpleNamespace(read_sets=lambda: sets))
    (tmp_path / "run.uff").write_text("    -1\n")
    signal = vp.read(tmp_path / "run.uff")
    np.testing.assert_array_equal(signal.values, x.astype(np.float32))
    assert signal.unit == "N" and 1 / signal.head.x_step == 4096


@pytest.mark.parametrize("name, module, says", [
    ("r.tdms", "nptdms", r"npTDMS \(pip install npTDMS\)"), ("r.mf4", "asammdf", r"asammdf \(pip install asammdf\)"),
    ("r.uff", "pyuff", r"pyuff \(pip install pyuff\)"), ("r.h5", "h5py", r"h5py \(Debian: python3-h5py\)")])
def test_the_package_of_a_format_is_named_when_it_is_missing(tmp_path, monkeypatch, name, module, says):
    monkeypatch.setitem(__import__("sys").modules, module, None)
    (tmp_path / name).write_bytes(b"")
    with pytest.raises(vp.MissingPackage, match="read needs the package " + says):
        vp.read(tmp_path / name)


def test_what_is_no_recording_is_refused(tmp_path, monkeypatch):
    (tmp_path / "text.wav").write_text("no recording")
    with pytest.raises(vp.InputError, match="text.wav: "):
        vp.read(tmp_path / "text.wav")
    with pytest.raises(vp.InputError, match="there is no such file"):
        vp.read(tmp_path / "none.wav")
    monkeypatch.setitem(__import__("sys").modules, "soundfile", None)
    with pytest.raises(vp.MissingPackage, match=r"read needs the package soundfile \(Debian: python3-soundfile\)"):
        vp.read(tmp_path / "text.wav")
