// A stream of the gate's events: open while the page can be seen, and only then, so that a tab in
// the background costs nothing here or there.

// There is an event at least once a second.
const LONGEST_SILENCE_MS = 3000;
const RETRY_AFTER_MS = 1000;

// Readers who prefer less motion see the figures once a second.
const CALM_PERIOD_MS = 900;
const calm = matchMedia("(prefers-reduced-motion: reduce)");

export class Stream {
  #path;
  #onDocument;
  #onStatus;
  #source = null;
  #timer = 0;
  #status = "";
  #shown = 0;

  // `onDocument` takes each document; `onStatus` takes "connecting", "live", "lost" and "resting"
  // when that changes. What was shown before is not current unless it is "live".
  constructor(path, onDocument, onStatus) {
    this.#path = path;
    this.#onDocument = onDocument;
    this.#onStatus = onStatus;
    document.addEventListener("visibilitychange", () => this.#attend());
    this.#attend();
  }

  #attend() {
    this.#close();
    this.#tell(document.hidden ? "resting" : "connecting");
    if (!document.hidden)
      this.#open();
  }

  #open() {
    this.#source = new EventSource(this.#path);
    this.#source.onmessage = (event) => this.#take(event.data);
    this.#source.onerror = () => this.#lose();
    this.#expectAnEvent();
  }

  #close() {
    clearTimeout(this.#timer);
    this.#source?.close();
    this.#source = null;
  }

  #take(text) {
    this.#expectAnEvent();
    const now = performance.now();
    if (this.#status === "live" && calm.matches && now - this.#shown < CALM_PERIOD_MS)
      return;
    this.#shown = now;
    this.#tell("live");
    this.#onDocument(JSON.parse(text));
  }

  #expectAnEvent() {
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => this.#lose(), LONGEST_SILENCE_MS);
  }

  // A browser does not try again by itself after every error, so this does.
  #lose() {
    this.#close();
    this.#tell("lost");
    this.#timer = setTimeout(() => this.#open(), RETRY_AFTER_MS);
  }

  #tell(status) {
    if (status === this.#status)
      return;
    this.#status = status;
    this.#onStatus(status);
  }
}
