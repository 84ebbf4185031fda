// Shared parts of the drawings. Drawings fill the available width: shapes are stretched, and labels
// are separate elements placed in percent.

import {fractionOf, make} from "./meter.js";

const SVG = "http://www.w3.org/2000/svg";

export function makeSvg(tag, attributes) {
  const element = document.createElementNS(SVG, tag);
  for (const [name, value] of Object.entries(attributes))
    element.setAttribute(name, value);
  return element;
}

// A drawing of `width` by `height` units. It is hidden from screen readers, because the text below
// it summarises it.
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

// Labels the values along an edge: "left" counts from the left, "top" from the bottom up. Labels in
// the farther half are marked, so that a style can put them on the other side of their positions.
export function placeLabels(element, edge, scale, values, textOf) {
  element.replaceChildren(...values.map((value) => {
    const label = make("span", "", textOf(value));
    const fraction = fractionOf(scale, value);
    label.style[edge] = `${100 * (edge === "top" ? 1 - fraction : fraction)}%`;
    label.classList.toggle("far", fraction > 0.5);
    return label;
  }));
}
