// Commands to a cluster, shown only if the gate takes commands.

import {make, setText} from "./meter.js";

const ORDERS = [
  ["Start", "Start"],
  ["Pause", "Pause"],
  ["Play", "Play"],
  ["Stop", "Stop"],
  ["Reset", "Reset"],
  ["ReportingOn", "Reporting on"],
  ["ReportingOff", "Reporting off"],
];

const WARNING = "LoudGate takes the place of the main board's application server. " +
                "Reporting is switched for all clusters of the board.";

// The outcome of an order, or the reason why it was refused.
async function textOf(reply) {
  const isJson = reply.headers.get("Content-Type") === "application/json";
  return isJson ? (await reply.json()).Text : (await reply.text()).trim();
}

// The name under which a password manager keeps the token.
function makeName() {
  const name = make("input");
  name.autocomplete = "username";
  name.value = "LoudGate";
  name.hidden = true;
  return name;
}

// The field of the token. The token is kept nowhere else and is gone with the page.
function makeTokenField() {
  const label = make("label", "token", "Token ");
  const field = make("input");
  field.type = "password";
  field.required = true;
  field.autocomplete = "current-password";
  label.append(field);
  return {label, field};
}

export class Control {
  #path;
  #field;
  #buttons;
  #result = make("p", "result");
  #isBusy = false;

  // `path` is the URL to which orders to the cluster are posted.
  constructor(path) {
    this.#path = path;
    const {label, field} = makeTokenField();
    this.#field = field;
    this.#buttons = ORDERS.map(([order, text]) => this.#makeButton(order, text));
    const row = make("div", "buttons");
    row.append(...this.#buttons);
    this.#result.setAttribute("role", "status");
    this.element = make("form");
    this.element.addEventListener("submit", (event) => event.preventDefault());
    this.element.append(make("p", "hint", WARNING), makeName(), label, row, this.#result);
  }

  #makeButton(order, text) {
    const button = make("button", "", text);
    button.type = "button";
    button.dataset.order = order;
    button.addEventListener("click", () => this.#give(order));
    return button;
  }

  async #give(order) {
    if (this.#isBusy || !this.#field.reportValidity())
      return;
    this.#setBusy(true);
    setText(this.#result, `${order} ...`);
    setText(this.#result, await this.#post(order));
    this.#setBusy(false);
  }

  async #post(order) {
    try {
      return await textOf(await fetch(this.#path, {
        method: "POST",
        headers: {
          "Authorization": `Bearer ${this.#field.value}`,
          "Content-Type": "application/json",
        },
        body: JSON.stringify({Command: order}),
      }));
    } catch {
      return `${order}: the gate does not answer`;
    }
  }

  // A disabled button would lose the focus.
  #setBusy(isBusy) {
    for (const button of this.#buttons)
      button.setAttribute("aria-disabled", String(isBusy));
    this.#isBusy = isBusy;
  }
}

// Whether the gate takes commands.
export async function isControlEnabled() {
  const reply = await fetch("/api/control").catch(() => null);
  return Boolean(reply?.ok && (await reply.json()).Enabled);
}
