"use strict";
(() => {
const content = JSON.parse(document.getElementById("content").textContent);
const german = content.language === "de";
const words = {
  report: ["Measurement report", "Messbericht"], created: ["Made", "Erstellt"],
  warnings: ["Warnings", "Warnungen"], comparisons: ["Comparisons", "Vergleiche"],
  recordings: ["Recordings", "Aufnahmen"], blocks: ["Blocks and their settings", "Blöcke und ihre Einstellungen"],
  diagram: ["Diagram", "Diagramm"], program: ["Program", "Programm"], source: ["Source", "Quelle"],
  file: ["File", "Datei"], standardInput: ["standard input", "Standardeingabe"], rate: ["Sample rate", "Abtastrate"], samples: ["Samples per channel", "Werte je Kanal"],
  length: ["Length", "Länge"], channel: ["Channel", "Kanal"], name: ["Name", "Name"], unit: ["Unit", "Einheit"],
  fullScale: ["A recorded 1 is", "Eine aufgezeichnete 1 ist"], noise: ["Noise", "Rauschen"],
  noiseAlone: ["noise alone", "nur Rauschen"], rms: ["rms", "Effektivwert"], seed: ["seed", "Startwert"],
  dataBlock: ["Data block", "Datenblock"], calibration: ["Calibration", "Kalibrierung"],
  uncalibrated: ["uncalibrated (full scale = 1)", "nicht kalibriert (Vollaussteuerung = 1)"],
  calibrator: ["Calibrator", "Kalibrator"], drift: ["drift", "Drift"], distortion: ["distortion and noise", "Klirren und Rauschen"],
  keyword: ["Keyword", "Schlüsselwort"], value: ["Value", "Wert"], meaning: ["Meaning", "Bedeutung"],
  inputs: ["Inputs", "Eingänge"], type: ["Type", "Typ"], record: ["set up from a parameter record", "aus einem Parametersatz"],
  noReadBack: ["does not read back", "nicht rücklesbar"], changed: ["Bold: not as in a new block.", "Fett: anders als in einem neuen Block."],
  linear: ["linear", "linear"], logX: ["logarithmic x", "x logarithmisch"], whole: ["whole range", "ganzer Bereich"],
  print: ["print", "drucken"], hint: ["Drag to zoom, double-click for the whole range, click a name to switch it.",
    "Ziehen vergrößert, Doppelklick zeigt alles, Klick auf einen Namen schaltet ihn."],
  table: ["Table", "Tabelle"], lowest: ["Lowest", "Kleinster"], highest: ["Highest", "Größter"], at: ["at", "bei"],
  band: ["f", "f"], from: ["from", "von"], to: ["to", "bis"], begin: ["t", "t"], block: ["block", "Block"],
  classLimits: ["class limits", "Klassengrenzen"], time: ["t", "t"], spectrogram: ["Spectrogram", "Spektrogramm"],
  numbersIn: ["The numbers stand in", "Die Zahlen stehen in"], shownFrom: ["from", "aus"], files: ["Files", "Dateien"],
  thinned: ["Drawn: %1 of %2 values; of every section the lowest and the highest.",
    "Gezeichnet: %1 von %2 Werten; von jedem Abschnitt der kleinste und der größte."],
  fields: ["Every field shows the highest of %1 lines in %2 spectra (%3 spectra in all).",
    "Jedes Feld zeigt den höchsten Wert aus %1 Linien in %2 Spektren (%3 Spektren insgesamt)."],
  leftOut: ["%1 further curves are not drawn.", "%1 weitere Kurven sind nicht gezeichnet."],
  lowestOf: ["lowest", "kleinste"], highestOf: ["highest", "größte"], fullScaleUnit: ["full scale = 1", "Vollaussteuerung = 1"],
  module: ["Module", "Modul"], library: ["Analysis library", "Analysebibliothek"], interfaceVersion: ["interface", "Schnittstelle"],
  version: ["Version", "Version"], of: ["of", "von"], with: ["with", "mit"], values: ["Values", "Werte"],
  largest: ["Largest difference", "Größte Abweichung"], ofPeak: ["of the peak", "vom Spitzenwert"],
  tolerance: ["Tolerance", "Toleranz"], verdict: ["Verdict", "Urteil"], within: ["within", "eingehalten"],
  missed: ["NOT within", "NICHT eingehalten"], early: ["ends %1 values early", "endet %1 Werte zu früh"],
  noLimit: ["no tolerance given", "ohne Toleranz"], yes: ["yes", "ja"], level: ["level", "Pegel"], frequency: ["frequency", "Frequenz"],
};
const say = (word, ...values) =>
  values.reduce((text, value, i) => text.replace("%" + (i + 1), value), words[word][german ? 1 : 0]);
const locale = german ? "de-DE" : "en-GB";

// --- Numbers ----------------------------------------------------------------------------------------

const isNumber = (value) => value !== null && value !== undefined && Number.isFinite(value);
const whole = (value) => value.toLocaleString(locale, {useGrouping: true, maximumFractionDigits: 0});
const raised = {"-": "⁻", "−": "⁻", 0: "⁰", 1: "¹", 2: "²", 3: "³", 4: "⁴", 5: "⁵", 6: "⁶", 7: "⁷", 8: "⁸", 9: "⁹"};
// In so many digits at most; very large and very small ones by their power of ten.
function numberText(value, digits = 6) {
  if (!isNumber(value)) return "–";
  const size = Math.abs(value);
  const text = size !== 0 && (size < 1e-4 || size >= 1e7)
    ? value.toLocaleString(locale, {notation: "scientific", maximumSignificantDigits: digits}).replace(/E(.*)/, (all, power) => "·10" + [...power].map((digit) => raised[digit] ?? "").join(""))
    : value.toLocaleString(locale, {useGrouping: false, maximumSignificantDigits: digits});
  return text.replace("-", "−");
}
// Of single precision in as few digits as bring it back, so that tables read as others do.
function singleText(value) {
  for (let digits = 6; digits < 9; ++digits) {
    if (Math.fround(Number(value.toPrecision(digits))) === value) return numberText(value, digits);
  }
  return numberText(value, 9);
}
const fixedText = (value, decimals) => value.toLocaleString(locale,
  {useGrouping: false, minimumFractionDigits: decimals, maximumFractionDigits: decimals}).replace("-", "−");
const withUnit = (text, unit) => (unit ? text + " " + unit : text);
const titled = (name, unit) => (unit ? name + " [" + unit + "]" : name);
// As bands are called: 31.5, 1k.
function bandText(centre) {
  if (centre < 0) return "#" + -centre;
  return centre >= 1000 ? numberText(centre / 1000) + "k" : numberText(centre);
}

function bytesOf(text) {
  const binary = atob(text);
  const bytes = new Uint8Array(binary.length);
  for (let i = 0; i < binary.length; ++i) bytes[i] = binary.charCodeAt(i);
  return bytes.buffer;
}
const valuesOf = (text) => Array.from(new Float32Array(bytesOf(text)), (y) => (Number.isNaN(y) ? null : y));
function placesOf(axis) {
  if (axis.values) return axis.values;
  if (axis.packed !== undefined) return Array.from(new Float64Array(bytesOf(axis.packed)));
  return Array.from({length: axis.count}, (_, i) => axis.start + i * axis.step);
}
const levelOf = (height, value) => height.level.factor * Math.log10(Math.abs(value) / height.level.over);
const unitText = (unit) => (unit === "full scale = 1" ? say("fullScaleUnit") : unit);

// --- Elements ---------------------------------------------------------------------------------------

// Text from outside is only ever text.
function make(name, parent, text, className) {
  const element = document.createElement(name);
  if (text !== undefined && text !== null) element.textContent = text;
  if (className) element.className = className;
  if (parent) parent.append(element);
  return element;
}
function table(parent, heads, rows) {
  const element = make("table", make("div", parent, null, "wide"));
  const isNumeric = heads.map((_, i) => rows.length > 0 && rows.every((row) => (row[i]?.number ?? (row[i] === "–" ? "–" : undefined)) !== undefined));
  const head = make("tr", make("thead", element));
  heads.forEach((text, i) => make("th", head, text, isNumeric[i] ? "number" : ""));
  const body = make("tbody", element);
  for (const row of rows) {
    const line = make("tr", body);
    row.forEach((cell, i) => {
      const of = make("td", line, null, isNumeric[i] ? "number" : "");
      if (cell instanceof Node) of.append(cell);
      else of.textContent = cell !== null && typeof cell === "object" ? cell.number : cell;
    });
  }
  return element;
}
const num = (value, unit) => ({number: withUnit(numberText(value, 9), unit)});
function code(text) { return make("code", null, text ?? "–"); }
function button(parent, text, act) {
  const element = make("button", parent, text);
  element.type = "button";
  element.addEventListener("click", act);
  return element;
}
// Made when it is opened, and before printing where it stands open.
function folded(parent, title, open, fill) {
  const element = make("details", parent);
  make("summary", element, title);
  let filled = false;
  const fillOnce = () => { if (!filled && element.open) { filled = true; fill(element); } };
  element.open = open;
  fillOnce();
  element.addEventListener("toggle", fillOnce);
}

// --- Charts -----------------------------------------------------------------------------------------

const colours = {
  light: ["#0072b2", "#d55e00", "#009e73", "#b0508a", "#b07800", "#2f8fc4", "#555555"],
  dark: ["#4db3f0", "#ff8c42", "#3fd0a4", "#e79ac6", "#f2c14e", "#8fd0f5", "#b8bfc7"],
};
const darkQuery = matchMedia("(prefers-color-scheme: dark)");
let printing = false;
const isDark = () => darkQuery.matches && !printing;
const colourOf = (number) => colours[isDark() ? "dark" : "light"][number % 7];
const themed = () => isDark()
  ? {ink: "#c4ccd5", grid: "#2a3138", frame: "#5b6672"}
  : {ink: "#39424e", grid: "#e6e9ed", frame: "#7b8590"};
const printWidth = 680;
const kLowestLevel = 120;  // dB below the highest that are drawn
const font = "12px system-ui, \"Segoe UI\", Roboto, Arial, sans-serif";
const charts = [];  // every chart that stands on the page, for whoever looks at it from outside

function axisOptions(colour, label, more) {
  return {stroke: colour.ink, font, labelFont: font, label, labelSize: 20, labelGap: 2,
    grid: {stroke: colour.grid, width: 1}, ticks: {stroke: colour.frame, width: 1, size: 5},
    border: {show: true, stroke: colour.frame, width: 1}, ...more};
}
const tickTexts = (u, splits) => {
  const step = splits.length > 1 ? Math.abs(splits[1] - splits[0]) : 1;
  return splits.map((at) => at === null ? "" : numberText(Math.abs(at) < step * 1e-6 ? 0 : Number(at.toPrecision(10)), 7));
};
const logTexts = (u, splits) => splits.map((at) => {
  if (at === null || !(at > 0)) return "";
  const first = at / 10 ** Math.floor(Math.log10(at) + 1e-9);
  return [1, 2, 5].some((digit) => Math.abs(first - digit) < 1e-6) ? bandText(at) : "";
});

// Rectangles between edges, beside each other where there are several curves.
function barPaths(edges, place, count, footOf) {
  return (u, series) => {
    const path = new Path2D();
    const lows = u.data[series].lows;
    u.data[series].forEach((y, i) => {
      if (!isNumber(y)) return;
      const from = u.valToPos(edges.from[i], "x", true);
      const slot = u.valToPos(edges.to[i], "x", true) - from;
      const width = slot * 0.86 / count;
      const top = u.valToPos(y, "y", true);
      const foot = u.valToPos(isNumber(lows?.[i]) ? lows[i] : footOf(u), "y", true);
      path.rect(from + slot * 0.07 + width * place, Math.min(top, foot), width, Math.abs(foot - top));
    });
    return {stroke: null, fill: path, clip: null, band: null, gaps: null, flags: 0};
  };
}

class Panel {
  constructor(sink, curves, parent) {
    this.sink = sink;
    this.curves = curves;
    this.element = make("div", parent, null, "chart");
    this.isBars = curves[0].kind !== "line";
    this.shown = new Map();
  }
  // What is drawn: x, then a column per curve, a range as two.
  build() {
    const {sink, curves} = this;
    const inLevels = sink.decibels && curves[0].height.level !== null;
    const heightOf = (curve) => (y) => (y === null ? null : inLevels ? levelOf(curve.height, y) : y);
    this.unit = inLevels ? curves[0].height.level.unit : unitText(curves[0].height.unit);
    this.logX = sink.logX && !this.isBars;
    this.columns = [];
    const tables = curves.map((curve, number) => {
      let x = curve.places;
      let ys = [curve.values.map(heightOf(curve))];
      if (curve.bottoms) ys.push(curve.bottoms.map(heightOf(curve)));
      if (this.logX && !(x[0] > 0)) {
        const first = x.findIndex((at) => at > 0);
        x = first < 0 ? [] : x.slice(first);
        ys = ys.map((y) => (first < 0 ? [] : y.slice(first)));
      }
      const column = {curve, number, colour: curve.number};
      if (curve.bottoms) this.columns.push({...column, part: "highestOf"}, {...column, part: "lowestOf"});
      else this.columns.push(column);
      return [x, ...ys];
    });
    const first = tables[0];
    const isShared = tables.every((one) => one[0].length === first[0].length &&
      one[0].every((x, i) => x === first[0][i]));
    this.data = isShared ? [first[0], ...tables.flatMap((one) => one.slice(1))] : uPlot.join(tables);
    let low = Infinity, high = -Infinity;
    for (const column of this.data.slice(1)) {
      for (const y of column) {
        if (!isNumber(y)) continue;
        low = Math.min(low, y);
        high = Math.max(high, y);
      }
    }
    if (low > high) [low, high] = inLevels ? [-1, 0] : [0, 1];
    if (inLevels) low = Math.max(low, high - kLowestLevel);
    this.low = low;
    this.high = high;
    // The level of nothing lies below the panel.
    this.data = this.data.map((column, i) => i === 0 ? column :
      column.map((y) => (y === -Infinity ? low - 2 * kLowestLevel : y)));
    this.inLevels = inLevels;
  }
  range() {
    let {low, high} = this;
    if (this.isBars && !this.inLevels) {
      low = Math.min(low, 0);
      high = Math.max(high, 0);
    }
    const margin = (high - low || Math.abs(high) || 1) * 0.06;
    return [this.isBars && !this.inLevels && low === 0 ? 0 : low - margin, high === 0 && this.isBars ? 0 : high + margin];
  }
  draw(width) {
    for (const [i, series] of (this.plot?.series ?? []).entries()) this.shown.set(i, series.show);
    const kept = this.plot && !printing ? this.zoom : null;
    this.plot?.destroy();
    this.build();
    const colour = themed();
    const {sink, curves, isBars} = this;
    const kind = curves[0].kind;
    const places = curves[0].places;
    const edges = {from: [], to: []};
    let positions = this.data[0];
    let xAxis, xRange;
    const xUnit = sink.xUnit, count = places.length;
    if (kind === "bands") {
      positions = places.map((_, i) => i);
      edges.from = positions.map((i) => i - 0.5);
      edges.to = positions.map((i) => i + 0.5);
      const labels = places.map(bandText);
      xAxis = {grid: {show: false}, splits: (u, a, min, max) => {
        const room = (u.width - 90) / Math.max(max - min, 1);
        const every = room >= 34 ? 1 : room >= 12 ? 3 : 6;
        const anchor = Math.max(places.indexOf(1000), 0) % every;
        return positions.filter((i) => i >= min && i <= max && i % every === anchor);
      }, values: (u, splits) => splits.map((i) => labels[i] ?? "")};
      xRange = [-0.5, count - 0.5];
    } else if (kind === "classes") {
      const step = curves[0].classWidth;
      positions = places.map((x) => x + step / 2);
      edges.from = places;
      edges.to = places.map((x) => x + step);
      xAxis = {grid: {show: false}, values: tickTexts};
      xRange = [places[0], places[count - 1] + step];
    } else {
      xAxis = {values: this.logX ? logTexts : tickTexts};
      xRange = [positions[0] ?? 0, positions[positions.length - 1] ?? 1];
      if (!(xRange[1] > xRange[0])) xRange = [xRange[0] - 0.5, xRange[0] + 0.5];
    }
    this.whole = xRange;
    if (isBars) {
      // x of another length than the first curve's has no place of its own.
      this.data = [positions, ...this.data.slice(1).map((y) => positions.map((_, i) => y[i] ?? null))];
    }
    const valueText = (y) => (isNumber(y) && y > this.low - kLowestLevel
      ? withUnit(numberText(y, this.inLevels ? 5 : 6), this.unit) : "–");
    const xText = (x, i) => {
      if (!isNumber(x)) return "–";
      if (kind === "bands") return withUnit(bandText(places[Math.round(x)] ?? NaN), xUnit);
      if (kind === "classes") {
        return i === null || i === undefined ? "–"
          : numberText(edges.from[i]) + " … " + withUnit(numberText(edges.to[i]), xUnit);
      }
      return withUnit(numberText(x, 8), xUnit);
    };
    const bars = curves.length;
    const series = [{label: kind === "classes" ? say("classLimits") : nameOfX(sink), value: (u, x, s, i) => xText(x, i)}];
    let drawn = 0;
    for (const [i, column] of this.columns.entries()) {
      const stroke = colourOf(column.colour);
      const name = column.curve.name + (column.part ? ", " + say(column.part) : "");
      const one = {label: name, stroke, width: 1.4, value: (u, y) => valueText(y), show: this.shown.get(i + 1) ?? true,
        points: {show: !isBars && positions.length < 60, size: 5}};
      if (isBars && column.part !== "lowestOf") {
        const index = i + 1;
        if (column.part) this.data[index].lows = this.data[index + 1];
        one.paths = barPaths(edges, drawn, bars, (u) => (this.inLevels ? u.scales.y.min : 0));
        one.fill = column.part ? stroke + "80" : stroke;
        drawn += 1;
      } else if (isBars) {
        one.paths = () => null;
      }
      series.push(one);
    }
    const bands = isBars ? [] : this.columns.flatMap((column, i) => column.part === "highestOf"
      ? [{series: [i + 1, i + 2], fill: colourOf(column.colour) + "40"}] : []);
    const self = this;
    this.plot = new uPlot({
      width, height: sink.panels.length > 2 ? 200 : sink.panels.length > 1 ? 240 : 320,
      series, bands,
      scales: {
        x: {time: false, distr: this.logX ? 3 : 1, range: (u, min, max) => {
          const zoom = self.zoom ?? self.whole;
          return zoom;
        }},
        y: {range: () => self.range()},
      },
      axes: [
        axisOptions(colour, titled(kind === "classes" ? say("classLimits") : nameOfX(sink), xUnit), {size: 30, ...xAxis}),
        axisOptions(colour, this.unit, {size: 64, values: tickTexts}),
      ],
      cursor: {drag: {x: true, y: false, setScale: false}, sync: {key: sink.key}, points: {show: !isBars},
        bind: {dblclick: () => () => { sink.zoomTo(null); return null; }}},
      legend: {live: true},
      hooks: {setScale: [() => self.describe()], setSelect: [(u) => {
        if (u.select.width < 4) return;
        const from = u.posToVal(u.select.left, "x"), to = u.posToVal(u.select.left + u.select.width, "x");
        u.setSelect({left: 0, top: 0, width: 0, height: 0}, false);
        sink.zoomTo([from, to]);
      }]},
    }, this.data, this.element);
    this.zoom = kept ?? this.zoom ?? null;
  }
  // For readers who do not see it.
  describe() {
    if (!this.plot) return;
    const {x, y} = this.plot.scales;
    this.element.setAttribute("role", "img");
    this.element.setAttribute("aria-label", `${nameOfX(this.sink)} ${numberText(x.min)} … ${numberText(x.max)}, ` +
      `${this.unit || "y"} ${numberText(y.min)} … ${numberText(y.max)}`);
  }
  zoomTo(range) {
    this.zoom = range;
    const [min, max] = range ?? this.whole;
    this.plot.setScale("x", {min, max});
  }
}

// Dark to light, even to the eye; stops of equal distance.
const ramp = [[13, 8, 42], [62, 15, 114], [122, 28, 109], [188, 55, 84], [237, 105, 37], [252, 173, 26], [252, 250, 190]];
function rampColour(part) {
  const at = Math.min(Math.max(part, 0), 1) * (ramp.length - 1);
  const i = Math.min(Math.floor(at), ramp.length - 2);
  return ramp[i].map((low, c) => Math.round(low + (ramp[i + 1][c] - low) * (at - i)));
}

class SpectrogramPanel {
  constructor(sink, of, parent) {
    this.sink = sink;
    this.of = of;
    this.values = valuesOf(of.fields);
    make("h3", parent, say("spectrogram") + ": " + of.name);
    this.element = make("div", parent, null, "chart spectrogram");
    this.scale = make("div", parent, null, "scale");
    make("p", parent, say("fields", whole(of.linesPerRow), whole(of.spectraPerColumn), whole(of.spectra)), "soft");
    const step = of.spectra > 1 ? (of.lastTime - of.firstTime) / (of.spectra - 1) : 1;
    // Spectra without times of their own are counted.
    this.isTimed = step > 0;
    const width = (this.isTimed ? step : 1) * of.spectraPerColumn;
    this.left = this.isTimed ? of.firstTime : 0.5;
    this.columnWidth = width;
    this.right = this.left + (this.isTimed ? step : 1) * of.spectra;
    this.bottom = of.firstLine - of.lineStep / 2;
    this.rowHeight = of.lineStep * of.linesPerRow;
    this.top = this.bottom + this.rowHeight * of.rows;
  }
  draw(width) {
    this.plot?.destroy();
    const {of, sink} = this;
    const colour = themed();
    const inLevels = sink.decibels && of.height.level !== null;
    const unit = inLevels ? of.height.level.unit : unitText(of.height.unit);
    const shown = this.values.map((y) => (y === null ? null : inLevels ? levelOf(of.height, y) : y));
    let low = Infinity, high = -Infinity;
    for (const y of shown) {
      if (!isNumber(y)) continue;
      low = Math.min(low, y);
      high = Math.max(high, y);
    }
    if (!(low <= high)) [low, high] = [0, 1];
    if (inLevels) low = Math.max(low, high - 90);
    const picture = make("canvas");
    picture.width = of.columns;
    picture.height = of.rows;
    const pixels = new ImageData(of.columns, of.rows);
    for (let column = 0; column < of.columns; ++column) {
      for (let row = 0; row < of.rows; ++row) {
        const y = shown[column * of.rows + row];
        const at = ((of.rows - 1 - row) * of.columns + column) * 4;
        if (y === null) continue;
        const [r, g, b] = rampColour((y - low) / (high - low || 1));
        pixels.data.set([r, g, b, 255], at);
      }
    }
    picture.getContext("2d").putImageData(pixels, 0, 0);
    this.scale.replaceChildren();
    make("span", this.scale, numberText(low, 4));
    const wedge = make("canvas", this.scale);
    wedge.width = 180;
    wedge.height = 1;
    for (let i = 0; i < 180; ++i) {
      const context = wedge.getContext("2d");
      context.fillStyle = `rgb(${rampColour(i / 179).join(",")})`;
      context.fillRect(i, 0, 1, 1);
    }
    make("span", this.scale, withUnit(numberText(high, 4), unit));
    const fieldAt = (u) => {
      if (!(u.cursor.left >= 0)) return null;
      const column = Math.floor((u.posToVal(u.cursor.left, "x") - this.left) / this.columnWidth);
      const row = Math.floor((u.posToVal(u.cursor.top, "f") - this.bottom) / this.rowHeight);
      if (column < 0 || row < 0 || column >= of.columns || row >= of.rows) return null;
      return {column, row, y: shown[column * of.rows + row]};
    };
    const xName = this.isTimed ? titled(say("time"), "s") : say("block");
    const self = this;
    this.whole = {x: [this.left, this.right], f: [Math.max(this.bottom, 0), this.top]};
    this.plot = new uPlot({
      width, height: 300,
      series: [
        {label: this.isTimed ? say("time") : say("block"), value: (u, x) => u.cursor.left >= 0
          ? withUnit(numberText(u.posToVal(u.cursor.left, "x"), 6), self.isTimed ? "s" : "") : "–"},
        {label: "f", scale: "f", paths: () => null, points: {show: false}, value: (u) => u.cursor.left >= 0
          ? withUnit(numberText(u.posToVal(u.cursor.top, "f"), 6), of.xUnit) : "–"},
        {label: of.name, scale: "f", paths: () => null, points: {show: false}, value: (u) => {
          const field = fieldAt(u);
          return field && isNumber(field.y) ? withUnit(numberText(field.y, 5), unit) : "–";
        }},
      ],
      scales: {x: {time: false, range: () => self.zoom?.x ?? self.whole.x}, f: {range: () => self.zoom?.f ?? self.whole.f}},
      axes: [axisOptions(colour, xName, {size: 30, values: tickTexts, grid: {show: false}}),
        axisOptions(colour, titled("f", of.xUnit), {scale: "f", size: 64, values: tickTexts, grid: {show: false}})],
      cursor: {drag: {x: true, y: true, setScale: false}, points: {show: false},
        bind: {dblclick: () => () => { self.zoomTo(null); return null; }}},
      legend: {live: true, markers: {show: false}},
      hooks: {
        drawClear: [(u) => {
          const x0 = u.valToPos(self.left, "x", true), x1 = u.valToPos(self.left + self.columnWidth * of.columns, "x", true);
          const y0 = u.valToPos(self.top, "f", true), y1 = u.valToPos(self.bottom, "f", true);
          u.ctx.save();
          u.ctx.beginPath();
          u.ctx.rect(u.bbox.left, u.bbox.top, u.bbox.width, u.bbox.height);
          u.ctx.clip();
          u.ctx.imageSmoothingEnabled = false;
          u.ctx.drawImage(picture, x0, y0, x1 - x0, y1 - y0);
          u.ctx.restore();
        }],
        setScale: [() => self.describe()],
        setSelect: [(u) => {
          const {left, top, width: w, height: h} = u.select;
          if (w < 4 || h < 4) return;
          const zoom = {x: [u.posToVal(left, "x"), u.posToVal(left + w, "x")],
            f: [u.posToVal(top + h, "f"), u.posToVal(top, "f")]};
          u.setSelect({left: 0, top: 0, width: 0, height: 0}, false);
          self.zoomTo(zoom);
        }],
      },
    }, [[this.left, this.right], [this.bottom, this.top], [null, null]], this.element);
  }
  describe() {
    if (!this.plot) return;
    const {x, f} = this.plot.scales;
    this.element.setAttribute("role", "img");
    this.element.setAttribute("aria-label", `${numberText(x.min)} … ${numberText(x.max)}, ` +
      `f ${numberText(f.min)} … ${numberText(f.max)} ${this.of.xUnit}`);
  }
  zoomTo(zoom) {
    this.zoom = zoom;
    for (const scale of ["x", "f"]) {
      const [min, max] = (zoom ?? this.whole)[scale];
      this.plot.setScale(scale, {min, max});
    }
  }
}

function nameOfX(sink) {
  const known = {from: "from", begin: "begin", block: "block", t: "time", f: "band"};
  return known[sink.xName] ? say(known[sink.xName]) : sink.xName || "x";
}

// --- A sink -----------------------------------------------------------------------------------------

class Sink {
  constructor(json, number, parent) {
    Object.assign(this, json);
    this.key = "sink" + number;
    this.panels = [];
    this.curves.forEach((curve, i) => {
      curve.number = i;
      curve.places = placesOf(curve.x);
      curve.values = valuesOf(curve.y);
      curve.bottoms = curve.lows === undefined ? null : valuesOf(curve.lows);
    });
    make("h2", parent, json.title);
    make("p", parent, say("shownFrom") + " " + this.from.join(", ") +
      (this.files.length ? " · " + say("files") + ": " + this.files.join(", ") : ""), "soft");
    const groups = new Map();
    for (const curve of this.curves) {
      const key = JSON.stringify([curve.height, curve.kind === "line"]);
      groups.set(key, [...(groups.get(key) ?? []), curve]);
    }
    const bar = make("div", parent, null, "bar");
    const hasLevels = [...this.curves, ...this.spectrograms].some((curve) => curve.height.level);
    const switches = (choices, isOn) => choices.map(([text, set]) => {
      const element = button(bar, text, () => { set(); refresh(); });
      return {element, isOn: () => isOn(text)};
    });
    const states = [];
    const refresh = () => {
      for (const {element, isOn} of states) element.setAttribute("aria-pressed", isOn());
      this.redraw();
    };
    if (hasLevels) {
      states.push(...switches([["dB", () => { this.decibels = true; }], [say("linear"), () => { this.decibels = false; }]],
        (text) => (text === "dB") === this.decibels));
    }
    if (this.curves.some((curve) => curve.kind === "line") && this.xUnit.endsWith("Hz")) {
      states.push(...switches([[say("logX"), () => { this.logX = !this.logX; this.zoomTo(null, true); }]], () => this.logX));
    }
    button(bar, say("whole"), () => this.zoomTo(null));
    for (const {element, isOn} of states) element.setAttribute("aria-pressed", isOn());
    const space = make("div", parent);
    for (const curves of groups.values()) this.panels.push(new Panel(this, curves, space));
    this.spectrogramPanels = this.spectrograms.map((one) => new SpectrogramPanel(this, one, space));
    charts.push(...this.panels, ...this.spectrogramPanels);
    make("p", parent, say("hint"), "soft bar");
    const thinned = this.curves.filter((curve) => curve.thinnedFrom);
    if (thinned.length) {
      make("p", parent, say("thinned", whole(thinned[0].values.length), whole(thinned[0].thinnedFrom)), "soft");
    }
    if (this.leftOut) make("p", parent, say("leftOut", whole(this.leftOut)), "soft");
    this.extremes(make("div", parent));
    this.numbers(parent);
    this.width = 0;
    this.space = space;
  }
  redraw(width = this.width) {
    this.width = width;
    for (const panel of [...this.panels, ...this.spectrogramPanels]) panel.draw(width);
  }
  zoomTo(range, later) {
    for (const panel of this.panels) {
      if (later) panel.zoom = range;
      else panel.zoomTo(range);
    }
    if (!later && range === null) this.spectrogramPanels.forEach((panel) => panel.zoomTo(null));
  }
  heightText(curve, height) { return this.startsInLevels(curve) ? numberText(height, 7) : singleText(height); }
  shownHeight(curve, y) {
    return y === null || !this.startsInLevels(curve) ? y : levelOf(curve.height, y);
  }
  startsInLevels(curve) { return content.sinks[Number(this.key.slice(4))].decibels && curve.height.level !== null; }
  unitOf(curve) { return this.startsInLevels(curve) ? curve.height.level.unit : unitText(curve.height.unit); }
  xText(curve, i) {
    const x = curve.places[i];
    if (curve.kind === "bands") return withUnit(bandText(x), this.xUnit);
    if (curve.kind === "classes") return numberText(x) + " … " + withUnit(numberText(x + curve.classWidth), this.xUnit);
    return withUnit(numberText(x, 9), this.xUnit);
  }
  extremes(parent) {
    const rows = [];
    for (const curve of this.curves) {
      let low = -1, high = -1;
      const bottoms = curve.bottoms ?? curve.values;
      const heights = curve.values.map((y) => this.shownHeight(curve, y));
      const lows = bottoms === curve.values ? heights : bottoms.map((y) => this.shownHeight(curve, y));
      heights.forEach((y, i) => { if (y !== null && (high < 0 || y > heights[high])) high = i; });
      lows.forEach((y, i) => { if (isNumber(y) && (low < 0 || y < lows[low])) low = i; });
      const cell = (heightsOf, i) => (i < 0 || !isNumber(heightsOf[i]) ? "–"
        : {number: withUnit(this.heightText(curve, heightsOf[i]), this.unitOf(curve))});
      rows.push([curve.name, cell(heights, high), high < 0 ? "–" : {number: this.xText(curve, high)},
        cell(lows, low), low < 0 ? "–" : {number: this.xText(curve, low)}]);
    }
    if (rows.length) table(parent, [say("name"), say("highest"), say("at"), say("lowest"), say("at")], rows);
  }
  numbers(parent) {
    const curves = this.curves.filter((curve) => !curve.thinnedFrom);
    const first = curves[0];
    const csv = this.files.find((file) => !file.toLowerCase().endsWith(".svg"));
    if (!first || first.places.length > 5000 || curves.length > 24) {
      if (csv) make("p", parent, say("numbersIn") + " " + csv + ".", "soft");
      return;
    }
    folded(parent, say("table") + " (" + whole(first.places.length) + ")", first.places.length <= 64, (element) => {
      const isClass = first.kind === "classes";
      const heads = isClass ? [titled(say("from"), this.xUnit), titled(say("to"), this.xUnit)]
        : [titled(nameOfX(this), this.xUnit)];
      for (const curve of curves) {
        if (curve.bottoms) heads.push(titled(curve.name + ", " + say("lowestOf"), this.unitOf(curve)));
        heads.push(titled(curve.name + (curve.bottoms ? ", " + say("highestOf") : ""), this.unitOf(curve)));
      }
      const rows = first.places.map((x, i) => {
        const row = first.kind === "bands" ? [{number: bandText(x)}] : [num(x)];
        if (isClass) row.push(num(x + first.classWidth));
        for (const curve of curves) {
          for (const y of curve.bottoms ? [curve.bottoms[i], curve.values[i]] : [curve.values[i]]) {
            const height = y === undefined ? null : this.shownHeight(curve, y);
            row.push(isNumber(height) ? {number: this.heightText(curve, height)} : "–");
          }
        }
        return row;
      });
      table(element, heads, rows);
    });
  }
}

// --- The page ---------------------------------------------------------------------------------------

const main = document.querySelector("main");
document.title = content.title + " – " + say("report");
make("h1", main, say("report") + ": " + content.title);
make("p", main, `${say("created")} ${content.created} UTC · ` +
  content.recordings.map((recording) => recording.file ?? say("noiseAlone")).join(", "), "soft");
const bar = make("div", main, null, "bar");
button(bar, say("print"), () => print());

if (content.warnings.length) {
  make("h3", main, say("warnings"));
  const list = make("ul", main, null, "warnings");
  for (const warning of content.warnings) make("li", list, warning);
}

for (const one of content.tables) {
  make("h2", main, one.title);
  const rows = one.rows.map((row) => row.map((cell, i) => (cell === null ? "–"
    : typeof cell === "number" ? {number: fixedText(cell, one.columns[i].decimals)} : cell)));
  const heads = one.columns.map((column) => column.head);
  if (rows.length <= 64) table(main, heads, rows);
  else folded(main, say("table") + " (" + whole(rows.length) + ")", false, (element) => table(element, heads, rows));
  if (one.note !== null) make("p", main, one.note, "soft");
}

if (content.comparisons.length) {
  make("h2", main, say("comparisons"));
  table(main, [say("name"), say("of"), say("with"), say("values"), say("largest"), say("ofPeak"), say("tolerance"), say("verdict")],
    content.comparisons.map((one) => [one.name, one.of, one.with, {number: whole(one.values)}, num(one.largest, one.unit),
      {number: numberText(one.relative, 4)}, one.tolerance === null ? "–" : {number: numberText(one.tolerance)},
      make("span", null, one.early ? say("early", whole(one.early)) : !one.within ? say("missed")
        : one.tolerance === null ? say("noLimit") : say("within"), one.within ? "good" : "bad")]));
}

const sinks = content.sinks.map((json, number) => new Sink({...json}, number, make("section", main)));

make("h2", main, say("recordings"));
for (const recording of content.recordings) {
  make("h3", main, recording.name);
  const facts = [];
  if (recording.file !== null) {
    facts.push([say("file"), recording.file === "-" ? say("standardInput") : recording.file], ["SHA-256", code(recording.sha256)]);
  }
  if (recording.noise) {
    facts.push([say("noise"), (recording.file === null ? say("noiseAlone") + ", " : "") + say("rms") + " " +
      withUnit(numberText(recording.noise.rms), recording.unit) + ", " + say("seed") + " " + recording.noise.seed]);
  }
  facts.push([say("rate"), withUnit(numberText(recording.rate, 12), "Hz")], [say("samples"), whole(recording.samples)],
    [say("length"), withUnit(numberText(recording.seconds, 9), "s") +
      (recording.start ? ", " + say("from") + " " + withUnit(numberText(recording.start, 9), "s") : "")], [say("dataBlock"), whole(recording.block)]);
  const calibration = recording.calibration;
  if (calibration) {
    facts.push([say("calibration"), `${calibration.file}: ${say("calibrator")} ${numberText(calibration.level)} dB, ` +
      `${numberText(calibration.frequency)} Hz, ${calibration.recording}`], ["SHA-256", code(calibration.sha256)]);
  } else if (recording.unit === null) {
    facts.push([say("calibration"), say("uncalibrated")]);
  }
  table(main, ["", ""], facts);
  table(main, [say("channel"), say("name"), say("fullScale"), ...(calibration ? [say("frequency"), say("drift"), say("distortion")] : [])],
    recording.channels.map((channel) => {
      const found = calibration?.channels[channel.number - 1];
      return [{number: String(channel.number)}, channel.name || "–", num(channel.fullScale, recording.unit),
        ...(found ? [num(found.frequency, "Hz"), num(found.drift, "dB"), num(found.distortion, "%")] : [])];
    }));
}

if (content.blocks.length) {
  make("h2", main, say("blocks"));
  make("p", main, say("changed"), "soft");
  for (const block of content.blocks) {
    make("h3", main, `${block.name}: ${block.type} (${block.code})`);
    const wires = block.inputs.map((wire) => `${wire.to} ← ${wire.from}`).join(", ");
    make("p", main, [wires, block.hasRecord ? say("record") : ""].filter((text) => text).join(" · "), "soft");
    const element = table(main, [say("keyword"), say("value"), say("meaning")],
      block.settings.map((setting) => {
        const value = setting.value === null ? say("noReadBack")
          : withUnit(typeof setting.value === "number" ? numberText(setting.value, 12) : setting.value, setting.unit);
        return [code(setting.keyword), value, setting.says ?? ""];
      }));
    [...element.tBodies[0].rows].forEach((row, i) => {
      if (block.settings[i].isInitial === false) row.cells[1].classList.add("changed");
    });
  }
}

make("h2", main, say("diagram"));
make("p", main, content.diagram.file + " · SHA-256 ", "soft").append(code(content.diagram.sha256));
make("pre", main, content.diagram.text);

make("h2", main, say("program"));
table(main, ["", say("version"), "SHA-256"], [
  ["vynhost", content.program.version, "–"],
  [`${say("module")} ${content.program.module}`, `${say("interfaceVersion")} ${content.program.interface}`, code(content.program.moduleSha256)],
  [`${say("library")} ${content.program.library}`, content.program.libraryVersion, code(content.program.librarySha256)],
]);
make("footer", main, "uPlot " + "(MIT, © Leon Sorokin)", "soft");

function redraw() {
  const width = printing ? printWidth : main.clientWidth - 48;
  for (const sink of sinks) sink.redraw(width);
}
redraw();
let waiting = 0;
addEventListener("resize", () => {
  if (printing) return;
  cancelAnimationFrame(waiting);
  waiting = requestAnimationFrame(redraw);
});
darkQuery.addEventListener("change", redraw);
addEventListener("beforeprint", () => { printing = true; redraw(); });
addEventListener("afterprint", () => { printing = false; redraw(); });
globalThis.vynhostReport = {content, charts, sinks};
})();
