// The page of one cluster.

import {Control, isControlEnabled} from "./control.js";
import {Histogram} from "./histogram.js";
import {HistoryCurve} from "./history.js";
import {announce, isNumber, make, Meter, setText, showStatus, StateChanges} from "./meter.js";
import {Stream} from "./stream.js";

const name = decodeURIComponent(location.pathname.split("/").pop());
const detailsPath = `/api/clusters/${encodeURIComponent(name)}`;

const meter = new Meter(name, make("h2", "", "Meter"));
const curve = new HistoryCurve();
const histogram = new Histogram();
const changes = new StateChanges();

const CONFIGURATION = [
  ["Standard", (cluster) => cluster.Standard],
  ["Mode", (cluster) => cluster.Mode],
  ["Alarm", (cluster) => cluster.Alarm],
  ["Integrated over", (cluster) => secondsText(cluster.IntegratedWindow)],
  ["Range over", (cluster) => secondsText(cluster.RangeWindow)],
];

function secondsText(seconds) {
  return isNumber(seconds) ? `${seconds} s` : "not known yet";
}

const configurationTexts = CONFIGURATION.map(([label]) => {
  const row = make("div", "figure");
  const text = make("dd");
  row.append(make("dt", "", label), text);
  document.getElementById("configuration").append(row);
  return text;
});

function showConfiguration(cluster) {
  CONFIGURATION.forEach(([, textOf], i) => setText(configurationTexts[i],
                                                   textOf(cluster) ?? "none"));
}

function noteItem({Time, Text}) {
  const item = make("li");
  const time = make("time", "", `${Time.slice(0, 19).replace("T", " ")} UTC`);
  time.dateTime = Time;
  item.append(time, " ", Text);
  return item;
}

// History, histogram and acknowledgements are not part of the events. They are fetched again after
// each step of the history, and at once when a command was acknowledged.
class Details {
  #isFetching = false;
  #fetched = -Infinity;
  #step = 0;
  #answers = null;

  attend(cluster) {
    const isDue = performance.now() - this.#fetched >= this.#step;
    if (!this.#isFetching && (isDue || cluster.Answers !== this.#answers))
      this.#fetch();
  }

  async #fetch() {
    this.#isFetching = true;
    this.#fetched = performance.now();
    try {
      const reply = await fetch(detailsPath);
      if (reply.ok)
        this.#show(await reply.json());
    } catch {
      // The stream notices a lost connection and reports it.
    } finally {
      this.#isFetching = false;
    }
  }

  #show(cluster) {
    this.#step = 1000 * cluster.History.Step;
    curve.show(cluster);
    histogram.show(cluster);
    if (cluster.Answers === this.#answers)
      return;
    this.#answers = cluster.Answers;
    document.getElementById("notes").replaceChildren(...cluster.Notes.reverse().map(noteItem));
  }
}

const details = new Details();

function show(cluster) {
  meter.show(cluster);
  showConfiguration(cluster);
  announce(changes.take([cluster]));
  details.attend(cluster);
}

// An EventSource does not report why it was refused, so this requests the cluster itself. If there
// is no such cluster, hides the content of the page.
async function tellIfUnknown() {
  const reply = await fetch(detailsPath).catch(() => null);
  if (reply?.status !== 404)
    return;
  setText(document.getElementById("connection"), `No cluster ${name} publishes on this board.`);
  document.querySelector("main").hidden = true;
}

function showConnection(status) {
  showStatus(status);
  if (status === "live") {
    document.querySelector("main").hidden = false;
    return;
  }
  meter.clear();
  if (status !== "lost")
    return;
  curve.endWithConnection();
  tellIfUnknown();
}

async function offerControl() {
  if (!await isControlEnabled())
    return;
  const section = document.getElementById("control");
  section.append(new Control(detailsPath).element);
  section.hidden = false;
}

document.title = `Loudness of cluster ${name}`;
document.getElementById("name").textContent = name;
document.getElementById("cluster").append(meter.element);
document.getElementById("history").append(curve.element);
document.getElementById("histogram").append(histogram.element);
offerControl();
new Stream(`/api/stream?cluster=${encodeURIComponent(name)}`, show, showConnection);
