// The distribution of the momentary readings of the last minutes, with the gates of ITU-R BS.1770.

import {fractionOf, isNumber, make, setText} from "./meter.js";
import {makeDrawing, makeHidden, makeSvg, placeLabels} from "./plot.js";

// Readings have steps of 0.1 LKFS; a bar covers five of them.
const STEPS_PER_LU = 10;
const STEPS_PER_BAR = 5;

// The size of the drawing in its own units.
const WIDTH = 600;
const HEIGHT = 200;
const BAR_FILLED = 0.8;

const LOWEST = -72;
const TICK_LU = 10;
const ROUND_LU = 5;

// Integer steps, so that a reading on the border of two bars always falls into the same one.
function stepOf(lkfs) {
  return Math.round(lkfs * STEPS_PER_LU);
}

// The readings of each bar, keyed by its first step: those counted in the gated loudness, and those
// that the relative gate leaves out.
function barsOf({Lowest, Counts, RelativeGate}) {
  const gate = isNumber(RelativeGate) ? stepOf(RelativeGate) : -Infinity;
  const bars = new Map();
  Counts.forEach((count, i) => {
    const step = stepOf(Lowest) + i;
    const start = STEPS_PER_BAR * Math.floor(step / STEPS_PER_BAR);
    const bar = bars.get(start) ?? {gated: 0, counted: 0};
    bar[step < gate ? "gated" : "counted"] += count;
    bars.set(start, bar);
  });
  return bars;
}

function scaleOf(histogram, cluster) {
  const loudest = histogram.Lowest + histogram.Counts.length / STEPS_PER_LU;
  const highest = Math.max(loudest, cluster.Target + cluster.Tolerance);
  return {low: LOWEST, high: ROUND_LU * (Math.floor(highest / ROUND_LU) + 1)};
}

function ticksOf({low, high}) {
  const ticks = [];
  for (let tick = TICK_LU * Math.ceil(low / TICK_LU); tick <= high; tick += TICK_LU)
    ticks.push(tick);
  return ticks;
}

function xOf(scale, lkfs) {
  return WIDTH * fractionOf(scale, lkfs);
}

// A rectangle as part of a path: one path is cheaper than a hundred elements.
function box(x, width, from, to) {
  return `M${x.toFixed(1)} ${from.toFixed(1)}h${width.toFixed(1)}V${to.toFixed(1)}` +
         `h${(-width).toFixed(1)}z`;
}

function lineAt(scale, lkfs) {
  return isNumber(lkfs) ? `M${xOf(scale, lkfs).toFixed(1)} 0V${HEIGHT}` : "";
}

function percentText(part, whole) {
  return `${(100 * part / whole).toFixed(1)}\u00a0%`;
}

function gatesText({AbsoluteGate, RelativeGate, Gated}) {
  const parts = [`Absolute gate ${AbsoluteGate.toFixed(1)} LKFS`];
  if (isNumber(RelativeGate))
    parts.push(`relative gate ${RelativeGate.toFixed(1)} LKFS`);
  parts.push(isNumber(Gated) ? `gated loudness ${Gated.toFixed(1)} LKFS` : "no gated loudness");
  return `${parts.join(", ")}.`;
}

function summaryOf(histogram) {
  if (histogram.Readings === 0)
    return "No momentary reading has come yet.";
  return `${gatesText(histogram)} ${percentText(histogram.BelowGate, histogram.Readings)} of ` +
         `${histogram.Readings} readings lie below the absolute gate.`;
}

export class Histogram {
  #zone = makeSvg("rect", {class: "curve-zone", y: 0, height: HEIGHT});
  #counted = makeSvg("path", {class: "bars-counted"});
  #gated = makeSvg("path", {class: "bars-gated"});
  #gates = makeSvg("path", {class: "gates"});
  #gateLabels = makeHidden("div", "gate-labels");
  #axis = makeHidden("div", "plot-axis");
  #summary = make("p");

  constructor() {
    const drawing = makeDrawing(WIDTH, HEIGHT);
    drawing.append(this.#zone, this.#gated, this.#counted, this.#gates);
    const plot = make("div", "plot histogram");
    plot.append(drawing, this.#gateLabels);
    const caption = make("figcaption");
    caption.append(this.#summary, make("p", "",
      "Momentary readings that LoudGate has received while the measurement ran, 20 minutes at " +
      "most, in steps of 0.5 LU. While no figure changes, only the first reading counts. Hollow " +
      "bars lie below the relative gate. The gates are those of these readings; the service " +
      "computes its figures over its own windows."));
    this.element = make("figure");
    this.element.append(plot, this.#axis, caption);
  }

  // Takes the document of one cluster with its histogram.
  show(cluster) {
    const histogram = cluster.Histogram;
    const scale = scaleOf(histogram, cluster);
    this.#showZone(scale, cluster);
    this.#showBars(scale, barsOf(histogram));
    this.#showGates(scale, histogram);
    placeLabels(this.#axis, "left", scale, ticksOf(scale), String);
    setText(this.#summary, summaryOf(histogram));
  }

  #showZone(scale, {Target, Tolerance}) {
    const left = xOf(scale, Target - Tolerance);
    this.#zone.setAttribute("x", left);
    this.#zone.setAttribute("width", xOf(scale, Target + Tolerance) - left);
  }

  // The highest bar fills the height below the labels.
  #showBars(scale, bars) {
    const highest = Math.max(1, ...[...bars.values()].map((bar) => bar.gated + bar.counted));
    const yOf = (count) => HEIGHT - 0.8 * HEIGHT * count / highest;
    const width = BAR_FILLED * STEPS_PER_BAR / STEPS_PER_LU * WIDTH / (scale.high - scale.low);
    const paths = {gated: "", counted: ""};
    for (const [start, {gated, counted}] of bars) {
      const x = xOf(scale, start / STEPS_PER_LU);
      if (counted > 0)
        paths.counted += box(x, width, yOf(0), yOf(counted));
      if (gated > 0)
        paths.gated += box(x, width, yOf(counted), yOf(counted + gated));
    }
    this.#counted.setAttribute("d", paths.counted);
    this.#gated.setAttribute("d", paths.gated);
  }

  #showGates(scale, {AbsoluteGate, RelativeGate}) {
    this.#gates.setAttribute("d", lineAt(scale, AbsoluteGate) + lineAt(scale, RelativeGate));
    const names = new Map([[AbsoluteGate, "absolute gate"]]);
    if (isNumber(RelativeGate))
      names.set(RelativeGate, "relative gate");
    placeLabels(this.#gateLabels, "left", scale, [...names.keys()], (lkfs) => names.get(lkfs));
  }
}
