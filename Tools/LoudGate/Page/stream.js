// A stream of the gate's events. It is open only while the page is visible, so that a tab in the
// background costs neither side anything.

// The gate sends an event at least once a second.
const LONGEST_SILENCE_MS = 3000;
const RETRY_AFTER_MS = 1000;

// Readers who prefer reduced motion get new figures about once a second.
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

  // `onDocument` takes each document. `onStatus` takes "connecting", "live", "lost" or "resting" at
  // each change. Figures shown before are current only while the status is "live".
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

  // Reconnects itself, because a browser does not retry after every error.
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
