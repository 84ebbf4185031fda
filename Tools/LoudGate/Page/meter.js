// The meter of one cluster: bars for what changes ten times a second, and figures for all. The bars
// are hidden from screen readers, because the figures give the same values.

const NO_READING = "\u2013";

// Scales of the loudness bars in LU, EBU Tech 3341, section 2.7.
const LU_SCALES = {
  9: {low: -18, high: 9, ticks: [-18, -9, 0, 9]},
  18: {low: -36, high: 18, ticks: [-36, -18, 0, 18]},
};

// The true-peak scale in dBTP, and the permitted maximum of EBU R 128.
const PEAK_SCALE = {low: -60, high: 3, ticks: [-60, -40, -20, 0]};
const HIGHEST_PERMITTED_PEAK = -1;

const LOUDNESS = {unit: "LKFS", digits: 1};
const RANGE = {unit: "LU", digits: 1};
const PEAK = {unit: "dBTP", digits: 2};

const BARS = [
  {member: "Momentary", label: "Momentary", kind: LOUDNESS},
  {member: "ShortTerm", label: "Short-term", kind: LOUDNESS},
  {member: "TruePeak", label: "True peak", kind: PEAK, held: "HeldTruePeak"},
];

const FIGURES = [
  {member: "Integrated", label: "Integrated", kind: LOUDNESS, isJudged: true},
  {member: "Program", label: "Programme", kind: LOUDNESS, isJudged: true},
  {member: "MaxMomentary", label: "Max momentary", kind: LOUDNESS},
  {member: "MaxShortTerm", label: "Max short-term", kind: LOUDNESS},
  {member: "MaxTruePeak", label: "Max true peak", kind: PEAK, isJudged: true},
  {member: "HeldTruePeak", label: "Peak, last 3 s", kind: PEAK, isMomentary: true},
  {member: "Lra", label: "Range", kind: RANGE},
];

// Makes an element with classes and a text.
export function make(tag, classes = "", text = "") {
  const element = document.createElement(tag);
  element.className = classes;
  element.textContent = text;
  return element;
}

// Leaves an unchanged text alone, so that the browser does not lay it out again.
export function setText(element, text) {
  if (element.textContent !== text)
    element.textContent = text;
}

export function isNumber(value) {
  return typeof value === "number";
}

export function withSign(value, digits) {
  return (value > 0 ? "+" : "") + value.toFixed(digits);
}

export function luScaleOf(cluster) {
  return LU_SCALES[cluster.Scale] ?? LU_SCALES[9];
}

// The position of a value on a scale, 0 to 1.
export function fractionOf(scale, value) {
  return Math.min(1, Math.max(0, (value - scale.low) / (scale.high - scale.low)));
}

function percent(fraction) {
  return `${(100 * fraction).toFixed(2)}%`;
}

function place(element, scale, from, to = from) {
  element.style.left = percent(fractionOf(scale, from));
  element.style.width = from === to ? "" : percent(fractionOf(scale, to) - fractionOf(scale, from));
}

function isOverPeak(value) {
  return isNumber(value) && value > HIGHEST_PERMITTED_PEAK;
}

// The remark beside a figure: its distance to the target, and in words what its colour shows.
function remarkOf(kind, value, target, isOut) {
  if (!isNumber(value) || kind === RANGE)
    return "";
  if (kind === PEAK)
    return isOverPeak(value) ? "over" : "";
  if (!isNumber(target))
    return "";
  const words = value > target ? ", too loud" : ", too soft";
  return `${withSign(value - target, 1)} LU${isOut ? words : ""}`;
}

// A row of a list of figures: a name, a figure with its unit, and a remark.
class FigureRow {
  constructor(member, label) {
    this.element = make("div", "figure");
    this.value = make("span", "value");
    this.value.dataset.figure = member;
    this.unit = make("span", "unit");
    this.remark = make("span", "remark");
    const data = make("dd");
    data.append(this.value, " ", this.unit, " ", this.remark);
    this.element.append(make("dt", "", label), data);
  }

  // `isOut`: the remark says that the figure is out of tolerance.
  show(kind, value, target, isOut = false) {
    setText(this.value, isNumber(value) ? value.toFixed(kind.digits) : NO_READING);
    setText(this.unit, isNumber(value) ? kind.unit : "");
    setText(this.remark, remarkOf(kind, value, target, isOut));
  }
}

class Bar {
  constructor() {
    this.element = make("div", "bar");
    this.element.setAttribute("aria-hidden", "true");
    this.zone = make("span", "zone");
    this.fill = make("span", "fill");
    this.hold = make("span", "hold");
    this.element.append(this.zone, this.fill, this.hold);
  }

  show(scale, value, zone, held) {
    this.fill.hidden = !isNumber(value);
    if (isNumber(value))
      this.fill.style.transform = `scaleX(${fractionOf(scale, value).toFixed(4)})`;
    this.hold.hidden = !isNumber(held);
    if (isNumber(held))
      place(this.hold, scale, held);
    place(this.zone, scale, zone.low, zone.high);
  }
}

// The numbers below a bar.
class Axis {
  #scale = null;

  constructor() {
    this.element = make("div", "axis");
    this.element.setAttribute("aria-hidden", "true");
  }

  show(scale, textOf) {
    if (scale === this.#scale)
      return;
    this.#scale = scale;
    this.element.replaceChildren(...scale.ticks.map((tick) => {
      const label = make("span", "tick", textOf(tick));
      place(label, scale, tick);
      return label;
    }));
  }
}

function toleranceOf(cluster) {
  return isNumber(cluster.Tolerance) ? {low: -cluster.Tolerance, high: cluster.Tolerance}
                                     : {low: 0, high: 0};
}

const PEAK_ZONE = {low: HIGHEST_PERMITTED_PEAK, high: PEAK_SCALE.high};

// Hides the momentary figures unless the measurement runs or is paused: they would be out of date.
function currentOf(cluster, member) {
  return cluster.Live ? cluster[member] : null;
}

class BarRow {
  #entry;

  constructor(entry) {
    this.#entry = entry;
    this.row = new FigureRow(entry.member, entry.label);
    this.bar = new Bar();
    this.element = this.row.element;
    this.element.classList.add("barred", entry.member);
    this.element.append(make("dd"));
    this.element.lastChild.append(this.bar.element);
  }

  show(cluster) {
    const {member, kind, held} = this.#entry;
    const value = currentOf(cluster, member);
    this.row.show(kind, value, cluster.Target);
    if (kind === PEAK)
      this.bar.show(PEAK_SCALE, value, PEAK_ZONE, currentOf(cluster, held));
    else
      this.bar.show(luScaleOf(cluster), isNumber(value) ? value - cluster.Target : null,
                    toleranceOf(cluster));
    this.element.classList.toggle("alert", kind === PEAK && isOverPeak(value));
  }
}

function isOutOfTolerance(kind, value, cluster) {
  if (!isNumber(value))
    return false;
  return kind === PEAK ? isOverPeak(value) : Math.abs(value - cluster.Target) > cluster.Tolerance;
}

class Figure {
  #entry;

  constructor(entry) {
    this.#entry = entry;
    this.row = new FigureRow(entry.member, entry.label);
    this.element = this.row.element;
  }

  show(cluster) {
    const {member, kind, isJudged, isMomentary} = this.#entry;
    const value = isMomentary ? currentOf(cluster, member) : cluster[member];
    const isOut = Boolean(isJudged) && isOutOfTolerance(kind, value, cluster);
    this.row.show(kind, value, cluster.Target, isOut);
    this.element.classList.toggle("alert", isOut);
  }
}

function sourceText(cluster) {
  if (typeof cluster.ValidSource !== "boolean")
    return "Source unknown";
  return cluster.ValidSource ? "Source valid" : "No source";
}

function ageText(cluster) {
  return isNumber(cluster.Age) ? `last message ${cluster.Age.toFixed(1)} s ago` : "no message yet";
}

// Without a connection, neither fact is known.
function factsText(cluster) {
  return cluster.Name === undefined ? "" : `${sourceText(cluster)}, ${ageText(cluster)}`;
}

function noChangeText(cluster) {
  return isNumber(cluster.NoChange)
    ? `no change for ${cluster.NoChange.toFixed(0)} s: no blocks, or a steady tone` : "";
}

function targetText(cluster) {
  return isNumber(cluster.Target)
    ? `Target ${cluster.Target.toFixed(1)} LKFS \u00b1 ${cluster.Tolerance.toFixed(1)} LU, ` +
      `EBU +${cluster.Scale} scale${cluster.Configured ? "" : ", by default"}` : "";
}

// The complete meter: state, bars and figures.
export class Meter {
  #bars = BARS.map((entry) => new BarRow(entry));
  #figures = FIGURES.map((entry) => new Figure(entry));
  #luAxis = new Axis();
  #peakAxis = new Axis();
  #state = make("p", "state");
  #hint = make("p", "hint");
  #facts = make("p", "facts");
  #target = make("p", "target");

  // `title` is the element that names the meter of the cluster `name`.
  constructor(name, title) {
    this.element = make("article", "card");
    this.element.dataset.cluster = name;
    title.id = `title-${name}`;
    this.element.setAttribute("aria-labelledby", title.id);
    const head = make("div", "head");
    head.append(title, this.#state);
    this.element.append(head, this.#facts, this.#hint, this.#barList(), this.#figureList(),
                        this.#target);
  }

  // Shows a cluster from the gate's documents. Missing members are shown without figures.
  show(cluster) {
    setText(this.#state, cluster.State);
    this.element.classList.toggle("alarming", Boolean(cluster.Alarming));
    setText(this.#hint, noChangeText(cluster) || (cluster.Hint ?? ""));
    setText(this.#facts, factsText(cluster));
    setText(this.#target, targetText(cluster));
    this.#luAxis.show(luScaleOf(cluster), (tick) => withSign(tick, 0));
    this.#peakAxis.show(PEAK_SCALE, String);
    for (const part of [...this.#bars, ...this.#figures])
      part.show(cluster);
  }

  // Clears the figures, because none is current without a connection.
  clear() {
    this.show({State: "NO CONNECTION"});
  }

  #barList() {
    const list = make("dl", "bars");
    const [, shortTerm, truePeak] = this.#bars;
    shortTerm.element.lastChild.append(this.#luAxis.element);
    truePeak.element.lastChild.append(this.#peakAxis.element);
    list.append(...this.#bars.map((bar) => bar.element));
    return list;
  }

  #figureList() {
    const list = make("dl", "figures");
    list.append(...this.#figures.map((figure) => figure.element));
    return list;
  }
}

// Changes of the clusters' states as a text for screen readers; empty if there are none. Figures
// are not announced, because they change all the time.
export class StateChanges {
  #states = new Map();

  take(clusters) {
    const known = this.#states;
    this.#states = new Map(clusters.map((cluster) => [cluster.Name, cluster.State]));
    return clusters.filter((cluster) => known.has(cluster.Name) &&
                                        known.get(cluster.Name) !== cluster.State)
                   .map((cluster) => `Cluster ${cluster.Name}: ${cluster.State}`)
                   .join(", ");
  }
}

const STATUS_TEXTS = {
  connecting: () => "Connecting",
  live: () => "Connected",
  lost: () => `Connection lost at ${new Date().toLocaleTimeString()}. Trying again every second.`,
  resting: () => "Paused in the background",
};

// Shows the status of the connection.
export function showStatus(status) {
  document.documentElement.dataset.connection = status;
  setText(document.getElementById("connection"), STATUS_TEXTS[status]());
}

export function announce(text) {
  if (text)
    setText(document.getElementById("announcement"), text);
}
