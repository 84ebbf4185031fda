// The page of all clusters.

import {announce, make, Meter, showStatus, StateChanges} from "./meter.js";
import {Stream} from "./stream.js";

const list = document.getElementById("clusters");
const meters = new Map();
const changes = new StateChanges();

function makeMeter(name) {
  const link = make("a", "", name);
  link.href = `/cluster/${encodeURIComponent(name)}`;
  const title = make("h2");
  title.append(link);
  return new Meter(name, title);
}

function hasSameNames(clusters) {
  return clusters.length === meters.size && clusters.every(({Name}) => meters.has(Name));
}

// Removes the meters of clusters that are no longer listed, and puts the rest in the listed order.
function arrange(clusters) {
  const old = new Map(meters);
  meters.clear();
  for (const {Name} of clusters)
    meters.set(Name, old.get(Name) ?? makeMeter(Name));
  list.replaceChildren(...[...meters.values()].map((meter) => meter.element));
}

function show({Clusters: clusters}) {
  if (!hasSameNames(clusters))
    arrange(clusters);
  for (const cluster of clusters)
    meters.get(cluster.Name).show(cluster);
  document.getElementById("none").hidden = clusters.length > 0;
  announce(changes.take(clusters));
}

new Stream("/api/stream", show, (status) => {
  showStatus(status);
  if (status !== "live")
    meters.forEach((meter) => meter.clear());
});
