// Parts of which the drawings are made. They fill the width that they are given: shapes are
// stretched, labels stand beside them in percent.

import {fractionOf, make} from "./meter.js";

const SVG = "http://www.w3.org/2000/svg";

export function makeSvg(tag, attributes) {
  const element = document.createElementNS(SVG, tag);
  for (const [name, value] of Object.entries(attributes))
    element.setAttribute(name, value);
  return element;
}

// A drawing of so many units. What it shows stands in the text below it too.
export function makeDrawing(width, height) {
  return makeSvg("svg", {
    viewBox: `0 0 ${width} ${height}`, preserveAspectRatio: "none", "aria-hidden": "true",
  });
}

export function makeHidden(tag, classes) {
  const element = make(tag, classes);
  element.setAttribute("aria-hidden", "true");
  return element;
}

// The labels of the values along an edge: "left" counts from the left, "top" from the bottom up. In
// the farther half they are marked, so that they can stand on the other side of their places.
export function placeLabels(element, edge, scale, values, textOf) {
  element.replaceChildren(...values.map((value) => {
    const label = make("span", "", textOf(value));
    const fraction = fractionOf(scale, value);
    label.style[edge] = `${100 * (edge === "top" ? 1 - fraction : fraction)}%`;
    label.classList.toggle("far", fraction > 0.5);
    return label;
  }));
}
