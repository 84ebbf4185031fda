// The short-term loudness of the last minutes as a curve, with the target and its tolerance.

import {fractionOf, isNumber, luScaleOf, make, setText, withSign} from "./meter.js";
import {makeDrawing, makeHidden, makeSvg, placeLabels} from "./plot.js";

// The number of points of a full history, and the height of the drawing in its own units.
const POINTS = 600;
const HEIGHT = 200;

function heightOf(scale, lu) {
  return HEIGHT * (1 - fractionOf(scale, lu));
}

// The path of the values, with gaps where there are none. The newest value is at the right.
function pathOf(values, scale, target) {
  const first = POINTS - values.length;
  let path = "";
  let isDrawing = false;
  values.forEach((value, i) => {
    if (isNumber(value))
      path += `${isDrawing ? "L" : "M"}${first + i} ${heightOf(scale, value - target).toFixed(1)}` +
              (isDrawing ? "" : "h0.1");
    isDrawing = isNumber(value);
  });
  return path;
}

// The values whose flag equals `isSet`, and null elsewhere.
function valuesWhere(values, flags, isSet) {
  return values.map((value, i) => flags[i] === isSet ? value : null);
}

function noChangeOf({Step, NoChange}) {
  const steps = NoChange.filter(Boolean).length;
  return steps === 0 ? ""
    : `Dotted: ${steps * Step}\u00a0s without change: no blocks, or a steady tone.`;
}

function summaryOf(values) {
  const numbers = values.filter(isNumber);
  if (numbers.length === 0)
    return "No short-term loudness in the last 20 minutes";
  return `Lowest ${Math.min(...numbers).toFixed(1)} LKFS, highest ` +
         `${Math.max(...numbers).toFixed(1)} LKFS, last ${numbers.at(-1).toFixed(1)} LKFS`;
}

export class HistoryCurve {
  #zone = makeSvg("rect", {class: "curve-zone", x: 0, width: POINTS});
  #target = makeSvg("path", {class: "curve-target"});
  #curve = makeSvg("path", {class: "curve"});
  #unchanged = makeSvg("path", {class: "curve-unchanged"});
  #labels = makeHidden("div", "curve-labels");
  #times = makeHidden("div", "curve-times");
  #summary = make("p");
  #noChange = make("p");
  #scale = null;

  constructor() {
    const drawing = makeDrawing(POINTS, HEIGHT);
    drawing.append(this.#zone, this.#target, this.#curve, this.#unchanged);
    this.#times.append(make("span"), make("span"));
    const plot = make("div", "plot");
    plot.append(this.#labels, drawing);
    const caption = make("figcaption");
    caption.append(this.#summary, this.#noChange);
    this.element = make("figure");
    this.element.append(plot, this.#times, caption);
  }

  // Takes the document of one cluster with its history.
  show(cluster) {
    this.#showTimes("20 min ago", "now");
    const scale = luScaleOf(cluster);
    const {ShortTerm: values, NoChange: isUnchanged} = cluster.History;
    this.#showScale(scale);
    const top = heightOf(scale, cluster.Tolerance);
    this.#zone.setAttribute("y", top);
    this.#zone.setAttribute("height", heightOf(scale, -cluster.Tolerance) - top);
    this.#target.setAttribute("d", `M0 ${heightOf(scale, 0)}H${POINTS}`);
    for (const [path, isSet] of [[this.#curve, false], [this.#unchanged, true]])
      path.setAttribute("d", pathOf(valuesWhere(values, isUnchanged, isSet), scale, cluster.Target));
    setText(this.#summary, summaryOf(values));
    setText(this.#noChange, noChangeOf(cluster.History));
  }

  // Without a connection, the curve stays and its end is no longer now.
  endWithConnection() {
    this.#showTimes("20 min before", "connection lost");
  }

  #showTimes(...texts) {
    texts.forEach((text, i) => setText(this.#times.children[i], text));
  }

  #showScale(scale) {
    if (scale === this.#scale)
      return;
    this.#scale = scale;
    placeLabels(this.#labels, "top", scale, scale.ticks, (tick) => withSign(tick, 0));
  }
}
