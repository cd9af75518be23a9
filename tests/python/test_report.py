"""Reports, in a browser."""

import csv
import json
import os
import re
import subprocess
from pathlib import Path

import numpy as np
import pytest
import scipy.io.wavfile
from browser import Browser, program
from test_vynhost import VYNHOST

RATE = 8000
DIAGRAM = """
    report = "r.html"
    [source.m]
    file = "m.wav"
    full_scale = 20.0
    unit = "Pa"
    block = 2048
    [block.f]
    type = "FFT"
    PkAmplType = "RMS"
    PkWndFct = "HANNING"
    PkWndCorrectTyp = "amplitude"
    [block.p]
    type = "FFT"
    PkAmplType = "POWERSPECTRUM"
    [block.t]
    type = "Terz_Oktav_Analyse"
    [block.l]
    type = "Pegelberechnung"
    PkTimeTc = "Fast"
    PkFreqOut = 8.0
    [block.k]
    type = "Klassierung"
    PkNumber = 16
    PkBegin = -5.0
    PkEnd = 5.0
    [wire]
    "f.E" = "m"
    "p.E" = "m"
    "t.E" = "p.S"
    "l.E" = "m"
    "k.E" = "m"
    [sink.signal]
    title = "Sound pressure"
    from = "m"
    csv = "signal.csv"
    [sink.spectra]
    title = "Spectra"
    from = "f.S"
    csv = "spectra.csv"
    y = "dB"
    reference = 2e-5
    [sink.mean]
    title = "Averaged spectrum"
    from = "f.S"
    average = "power"
    csv = "mean.csv"
    y = "dB"
    reference = 2e-5
    x = "log"
    [sink.bands]
    title = "Third octaves"
    from = "t.A"
    average = "power"
    csv = "bands.csv"
    y = "dB"
    reference = 2e-5
    [sink.levels]
    title = "Levels"
    from = "l.A"
    csv = "levels.csv"
    [sink.classes]
    title = "Classes"
    from = "k.A"
    csv = "classes.csv"
    average = "last"
    [compare.same]
    of = "m"
    with = "m"
    tolerance = 1e-6
"""


def run(folder, *more):
    return subprocess.run([VYNHOST, "run", folder / "d.toml", "--out", folder, "--quiet", *more], check=True,
                          timeout=100, capture_output=True, text=True)


def recorded():
    """A tone that rises and swells, with noise; the second channel is softer."""
    t = np.arange(10 * RATE) / RATE
    x = 0.2 * np.sin(2 * np.pi * (200 * t + 60 * t**2)) * (1.2 + np.sin(2 * np.pi * 0.4 * t)) / 2
    x += 0.01 * np.random.default_rng(1).standard_normal(len(t))
    return np.column_stack([x, 0.3 * x[::-1]]).astype(np.float32)


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    folder = tmp_path_factory.mktemp("report")
    scipy.io.wavfile.write(folder / "m.wav", RATE, recorded())
    (folder / "d.toml").write_text(DIAGRAM)
    run(folder)
    run(folder, "--report", "de.html", "--lang", "de")
    return folder


@pytest.fixture(scope="module")
def browser(tmp_path_factory):
    if program() is None:
        pytest.skip("no Chromium (Debian: chromium-headless-shell)")
    browser = Browser(tmp_path_factory.mktemp("browser"))
    yield browser
    browser.close()


def content(file):
    text = file.read_text(encoding="utf-8")
    return json.loads(re.search(r'<script type="application/json" id="content">(.*?)</script>', text, re.S)[1])


def columns(file):
    with open(file, newline="", encoding="utf-8-sig") as lines:
        rows = [row for row in csv.reader(lines) if not row[0].startswith("#")]
    return rows[0], np.array([[float(cell or "nan") for cell in row] for row in rows[1:]])


def single(numbers):
    return np.asarray(numbers, np.float32)


# What the first panel of a sink shows, as the chart has it.
def panel(browser, sink, part):
    return browser.value(f"(() => {{ const p = vynhostReport.sinks[{sink}].panels[0]; return {part}; }})()")


def test_it_opens_without_a_network_and_asks_for_nothing_else(browser, folder):
    for name, language in (("r.html", "en"), ("de.html", "de")):
        browser.open(folder / name)
        assert browser.requests == [(folder / name).resolve().as_uri()]
        assert browser.faults == []
        assert browser.value("document.documentElement.lang") == language
        assert browser.value("document.querySelectorAll('.uplot').length") == 9  # levels have two units, spectra spectrograms
    assert "Messbericht" in browser.value("document.body.innerText")
    assert "Fensterfunktion, vor der Transformation" in browser.value("document.body.innerText")
    assert browser.value("vynhostReport.charts.every((c) => c.element.querySelector('canvas').width > 1000)")


def test_it_is_small(folder):
    page = (folder / "r.html").read_text(encoding="utf-8")
    data = re.search(r'<script type="application/json" id="content">(.*?)</script>', page, re.S)[1]
    assert len(page.encode()) - len(data.encode()) < 300_000
    assert len(data) < 1_500_000
    assert "src=" not in page and "http" not in data


def test_what_is_drawn_are_the_numbers_of_the_table(browser, folder):
    browser.show(folder / "r.html")
    for sink, name, column in ((2, "mean.csv", 1), (3, "bands.csv", 2), (4, "levels.csv", 2), (5, "classes.csv", 2)):
        heads, table = columns(folder / name)
        # Behind x, and a second limit of it.
        first = 2 if heads[1].startswith(("to", "end")) else 1
        # Nothing lies at 0 Hz of a logarithmic axis.
        rows = table[1:] if name == "mean.csv" else table
        shown = np.array([np.nan if y is None else y for y in panel(browser, sink, f"p.data[{column - first + 1}]")])
        assert len(shown) == len(rows)
        picked = np.linspace(0, len(rows) - 1, 5).astype(int)
        np.testing.assert_allclose(shown[picked], rows[picked, column], rtol=2e-6)


def test_a_long_curve_keeps_its_lowest_and_highest_values(browser, folder):
    browser.show(folder / "r.html")
    _, table = columns(folder / "signal.csv")
    x, y = (np.array(panel(browser, 0, f"p.curves[0].{part}")) for part in ("places", "values"))
    assert len(x) < len(table)
    at = np.rint(x * RATE).astype(int)
    np.testing.assert_allclose(y, table[at, 1], rtol=1e-6)
    # Of each of 1000 pixel columns, as its values stand in the table.
    for part in np.array_split(np.arange(len(table)), 1000):
        near = table[part[0]:part[-1] + 1, 1]
        kept = y[(at >= part[0] - 40) & (at <= part[-1] + 40)]
        assert single(kept.min()) <= single(near.min()) and single(kept.max()) >= single(near.max())


def test_dragging_zooms_and_a_double_click_shows_all_again(browser, folder):
    browser.open(folder / "r.html")
    browser.value("vynhostReport.sinks[0].panels[0].element.scrollIntoView({block: 'center'})")
    left, top, width, height = panel(
        browser, 0, "(() => { const r = p.plot.over.getBoundingClientRect(); return [r.left, r.top, r.width, r.height]; })()")
    axis = "[p.plot.scales.x.min, p.plot.scales.x.max]"
    whole = panel(browser, 0, axis)
    assert whole == pytest.approx([0, 10 - 1 / RATE], abs=0.01)
    middle = top + height / 2
    browser.drag((left + 0.2 * width, middle), (left + 0.5 * width, middle))
    assert panel(browser, 0, axis) == pytest.approx([2, 5], abs=0.03)
    said = panel(browser, 0, "p.element.getAttribute('aria-label')")
    assert [float(text) for text in re.match(r"t ([\d.]+) … ([\d.]+)", said).groups()] == pytest.approx([2, 5], abs=0.03)
    # The cursor's values stand in the legend.
    browser.mouse("mouseMoved", left + 0.5 * width, middle)
    said = panel(browser, 0, "p.element.querySelector('.u-legend').innerText")
    assert re.search(r"3\.\d+ s", said) and "Pa" in said
    for clicks in (1, 2):
        browser.mouse("mousePressed", left + 50, middle, buttons=1, clicks=clicks)
        browser.mouse("mouseReleased", left + 50, middle, clicks=clicks)
    assert panel(browser, 0, axis) == whole


def test_levels_and_channels_can_be_switched(browser, folder):
    browser.open(folder / "r.html")
    level = panel(browser, 2, "p.data[1][100]")
    browser.value("[...document.querySelectorAll('section')][2].querySelectorAll('.bar button')[1].click()")
    linear = panel(browser, 2, "p.data[1][100]")
    assert level == pytest.approx(20 * np.log10(linear / 2e-5), abs=1e-6)
    assert panel(browser, 2, "p.plot.axes[1].label") == "Pa"
    browser.value("vynhostReport.sinks[2].panels[0].element.querySelectorAll('.u-series')[2].querySelector('th').click()")
    assert panel(browser, 2, "p.plot.series.map((s) => s.show)") == [True, True, False]


def test_bands_have_their_nominal_names(browser, folder):
    browser.show(folder / "r.html")
    ticks = panel(browser, 3, "p.plot.axes[0]._values")
    assert {"31.5", "1k", "2k"} <= set(ticks)


def test_it_says_how_it_was_found(browser, folder):
    json_of = content(folder / "r.html")
    recording = json_of["recordings"][0]
    sums = subprocess.run(["sha256sum", folder / "m.wav", folder / "d.toml"], check=True, capture_output=True, text=True)
    assert [line.split()[0] for line in sums.stdout.splitlines()] == [recording["sha256"], json_of["diagram"]["sha256"]]
    assert (recording["rate"], recording["samples"], recording["seconds"]) == (RATE, 10 * RATE, 10)
    assert [channel["fullScale"] for channel in recording["channels"]] == [20, 20]
    assert json_of["program"]["version"] in subprocess.run([VYNHOST, "--version"], capture_output=True, text=True).stdout
    settings = {one["keyword"]: one["value"] for one in json_of["blocks"][0]["settings"]}
    assert settings["PkWndFct"] == "HANNING" and settings["PkAmplType"] == "RMS"
    assert json_of["comparisons"][0]["within"] is True
    assert any("in no spectrum" in warning for warning in json_of["warnings"])
    assert any("in keinem Spektrum" in warning for warning in content(folder / "de.html")["warnings"])
    browser.show(folder / "r.html")
    text = browser.value("document.body.innerText")
    for said in (recording["sha256"], "PkWndFct", "HANNING", "8000 Hz", "80,000", "m.wav"):
        assert said in text


def test_a_spectrogram_shows_the_highest_of_its_fields(folder):
    shown = content(folder / "r.html")["sinks"][1]["spectrograms"][0]
    _, table = columns(folder / "spectra.csv")
    import base64
    fields = np.frombuffer(base64.b64decode(shown["fields"]), "<f4").reshape(shown["columns"], shown["rows"])
    spectra = (10 * RATE) // 2048
    assert (shown["spectra"], shown["columns"]) == (spectra, spectra)
    per_row = shown["linesPerRow"]
    levels = 20 * np.log10(fields / 2e-5)
    for column in (0, 17, spectra - 1):
        lines = table[:, 1 + column]
        for row in (0, 5, shown["rows"] - 1):
            assert levels[column, row] == pytest.approx(lines[row * per_row:(row + 1) * per_row].max(), abs=1e-4)
    assert shown["lastTime"] == pytest.approx((spectra - 1) * 2048 / RATE)


# With VYN_PICTURES=FOLDER the whole pages lie there as pictures, to be looked at. They take seconds.
PICTURES = Path(os.environ["VYN_PICTURES"]) if os.environ.get("VYN_PICTURES") else None


PAIRS = [("r.html", "light"), ("de.html", "dark")]
if PICTURES:
    PAIRS += [("r.html", "dark"), ("de.html", "light")]


@pytest.mark.parametrize("name, scheme", PAIRS)
def test_it_is_drawn_in_both_schemes(browser, folder, name, scheme):
    browser.open(folder / name, scheme)
    paper = browser.value("getComputedStyle(document.body).backgroundColor")
    assert (sum(int(part) for part in re.findall(r"\d+", paper)[:3]) < 150) == (scheme == "dark")
    picture = (PICTURES or folder) / f"{Path(name).stem}-{scheme}.png"
    browser.screenshot(picture, whole=PICTURES is not None)
    assert picture.stat().st_size > 20_000


def test_it_prints_on_a4(browser, folder):
    browser.open(folder / "r.html", "dark")
    kept = PICTURES or folder
    browser.print(kept / "r.pdf")
    pdf = (kept / "r.pdf").read_bytes()
    sizes = [tuple(float(number) for number in box.split()) for box in re.findall(rb"/MediaBox \[([^\]]*)\]", pdf)]
    assert 3 <= len(sizes) <= 20
    for box in sizes:
        assert box == pytest.approx((0, 0, 595, 842), abs=1.5)


# --- Commands that measure ----------------------------------------------------------------------------

def measure(folder, *words):
    return subprocess.run([VYNHOST, *words], cwd=folder, check=True, timeout=100, capture_output=True, text=True)


SCALE = ["m.wav", "--full-scale", "20", "--unit", "Pa", "--force"]
COMMANDS = {"level": ["--every", "3s", "--percentiles", "10,90", "--bands"], "spectrum": ["--peaks", "3"], "bands": [], "transfer": []}


@pytest.fixture(scope="module")
def measured(folder):
    for command, more in COMMANDS.items():
        measure(folder, command, *SCALE, *more, "--report", f"{command}.html", "--out", "o", "--lang", "de")
    return folder / "o"


@pytest.mark.parametrize("command", COMMANDS)
def test_a_command_makes_a_report_of_its_own(browser, measured, command):
    page = measured / f"{command}.html"
    browser.open(page)
    assert browser.faults == [] and browser.requests == [page.resolve().as_uri()]
    assert browser.value("document.title") == f"{command}, m.wav – Messbericht"
    said = content(page)
    assert said["diagram"]["text"].startswith(f'report = "{command}.html"') or command == "level"
    assert not any("level:" in warning or "frames:" in warning for warning in said["warnings"])
    assert [sink["name"] for sink in said["sinks"]] == (["level", "bands"] if command == "level" else [command])
    for table in said["tables"]:
        assert table["title"] in browser.value("document.body.innerText")


def test_a_report_has_the_hosts_values_and_says_that_they_are(measured):
    total, rows = content(measured / "level.html")["tables"]
    with open(measured / "level_total.csv", encoding="utf-8", newline="") as file:
        _, *expected = list(csv.reader(file))
    assert [row[0] for row in total["rows"]] == [row[0] for row in expected]
    for row, cells in zip(total["rows"], expected):
        for value, cell in zip(row[1:3], cells[1:3]):
            assert value is None if cell == "" else value == pytest.approx(float(cell), rel=1e-8)
    assert {row[0]: row[3] for row in total["rows"]}["LAeq"].startswith("Host: ")
    assert {row[0]: row[3] for row in total["rows"]}["LAFmax"] == "Pegel-Baustein"
    heads, table = columns(measured / "level.csv")
    levels = [i for i, head in enumerate(heads) if not head.startswith(("short", "LZeq"))]
    shown = np.array([[np.nan if cell is None else cell for cell in row] for row in rows["rows"]])
    np.testing.assert_allclose(shown, table[:, levels], rtol=1e-8)
    assert rows["note"].startswith("Die Aufnahme endet")
    (peaks,) = content(measured / "spectrum.html")["tables"]
    with open(measured / "spectrum_peaks.csv", encoding="utf-8", newline="") as file:
        _, *expected = list(csv.reader(file))
    np.testing.assert_allclose([row[1:] for row in peaks["rows"]], [[float(c) for c in row[1:]] for row in expected], rtol=1e-8)


def test_without_a_scale_full_scale_is_1(folder, tmp_path):
    (tmp_path / "m.wav").write_bytes((folder / "m.wav").read_bytes())
    (tmp_path / "d.toml").write_text("""
        report = "r.html"
        [source.m]
        file = "m.wav"
        block = 2048
        [block.f]
        type = "FFT"
        PkAmplType = "RMS"
        [block.p]
        type = "FFT"
        PkAmplType = "POWERSPECTRUM"
        [wire]
        "f.E" = "m"
        "p.E" = "m"
        [sink.a]
        from = "f.S"
        csv = "a.csv"
        average = "power"
        [sink.b]
        from = "p.S"
        csv = "b.csv"
        average = "power"
        """)
    run(tmp_path)
    curves = [sink["curves"][0] for sink in content(tmp_path / "r.html")["sinks"]]
    assert [curve["height"]["unit"] for curve in curves] == ["full scale = 1", "power"]
    # Even steps are told once.
    assert curves[0]["x"] == {"start": 0, "step": pytest.approx(RATE / 2048), "count": 1024}


def test_a_report_alone_is_the_only_file(folder, tmp_path):
    (tmp_path / "m.wav").write_bytes((folder / "m.wav").read_bytes())
    measure(tmp_path, "bands", "m.wav", "--report", "b.html")
    assert sorted(file.name for file in tmp_path.iterdir()) == [".vynhost-results", "b.html", "m.wav"]
    assert measure(tmp_path, "bands", "m.wav", "--report", "b.html", "--diagram").stdout.startswith('report = "b.html"')
    said = content(tmp_path / "b.html")
    assert said["language"] == "en" and said["program"]["version"]
    (sums,) = said["tables"]
    bands = np.array([float(cell) for row in measure(tmp_path, "bands", "m.wav", "--csv=en").stdout.splitlines()
                      if row.strip().startswith("sum") for cell in row.split()[1:]])
    np.testing.assert_allclose([row[1] for row in sums["rows"]], bands, atol=0.005)


BAD = "<script>document.title='bad'</script>\"'&=cmd|' /C calc'!A1"


def test_nothing_from_outside_is_more_than_text(browser, tmp_path):
    x = recorded()[:4000, 0]
    rows = [f'"t";"{BAD.replace(chr(34), chr(34) * 2)} [<b>V</b>]"'] + [f"{i / RATE};{y}" for i, y in enumerate(x)]
    names = {"file": "<img src=x onerror=alert(1)>=cmd|.csv", "report": "=cmd|<script>.html", "csv": "=cmd|<i>.csv",
             "svg": "<b>=cmd|.svg", "title": BAD}
    (tmp_path / names["file"]).write_text("\n".join(rows) + "\n")
    quoted = {key: json.dumps(value) for key, value in names.items()}
    (tmp_path / "d.toml").write_text(
        f'report = {quoted["report"]}\n[source."=cmd|<script>"]\nfile = {quoted["file"]}\n'
        f'[source."+n"]\nnoise = {{ rms = 1.0 }}\nrate = {RATE}\nseconds = 0.5\nunit = {json.dumps(BAD)}\n'
        f'[sink."<u>"]\nfrom = ["=cmd|<script>", "+n"]\ntitle = {quoted["title"]}\ncsv = {quoted["csv"]}\n'
        f'svg = {quoted["svg"]}\n[compare."<script>"]\nof = "+n"\nwith = "+n"\n# {BAD}\n')
    run(tmp_path)
    report = tmp_path / names["report"]
    browser.open(report)
    assert browser.faults == []
    assert browser.requests == [report.resolve().as_uri()]
    assert browser.value("document.title").startswith("d ")
    assert browser.value("[...document.querySelectorAll('img, b, i, u, script:not(:nth-of-type(-n+3))')].length") == 0
    text = browser.value("document.body.innerText")
    assert BAD in text and names["file"] in text
    # Only the page's own elements: its data, and two scripts.
    assert len(re.findall("<script", report.read_text())) == 3
    heads, _ = columns(tmp_path / names["csv"])
    assert all(not head.startswith(("=", "+", "-", "@")) for head in heads)
    assert any(BAD in head for head in heads)
    svg = (tmp_path / names["svg"]).read_text()
    assert "<script" not in svg and "&lt;script&gt;" in svg
    subprocess.run(["python3", "-c", "import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])",
                    tmp_path / names["svg"]], check=True)
