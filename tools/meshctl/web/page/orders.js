// Forms for what a controller can be told to do: to move a client to another access point, or a radio to another channel.
import { make } from "./dom.js";
import { dbmText } from "./model.js";
import { BANDS, channelText } from "./wifi.js";

/** The right to give orders, which is in the address that the server printed; empty if there is none. */
const findToken = () => /[#&]token=([0-9a-f]{32})(&|$)/i.exec(location.hash)?.[1] || "";

/** Gives an order. Resolves, when it has ended, to whether it succeeded, the seconds that it took, and what came of it. */
async function give(path, parameters) {
  try {
    const response = await fetch(`${path}?${new URLSearchParams(parameters)}`, { method: "POST", headers: { "X-Mesh-Token": findToken() } });
    if (!response.ok) return { success: false, text: (await response.text()).trim() };
    return await response.json();
  } catch {
    return { success: false, text: "The server does not answer." };
  }
}

/** Sets a value that is only offered: what somebody has entered stays. */
function offer(control, value) {
  if (control.value === (control.dataset.offered ?? control.value)) control.value = value;
  control.dataset.offered = value;
}

/** A label on a line of its own, for the control after it. */
function heading(text, control, id) {
  control.id = id.replaceAll(" ", "-");
  return Object.assign(make("label", text, "head"), { htmlFor: control.id });
}

/** A form that gives an order, and says beside its button what came of it. */
class OrderForm {
  constructor(label, button, doing, done) {
    this.element = make("form", "", "order");
    this.element.setAttribute("aria-label", label);
    this.button = make("button", button);
    this.result = make("p");
    this.result.setAttribute("role", "status");
    this.element.addEventListener("submit", async (event) => {
      event.preventDefault();
      if (this.isBusy) return;
      this.setBusy(true);
      this.say(doing);
      const { success, took, text } = await give(...this.order());
      this.setBusy(false);
      this.isUnseen = !this.element.isConnected;
      this.say(success ? `${done} in ${(took / 1000).toFixed(1)} s` : text || "It failed.", success);
    });
  }

  get isInUse() {
    return this.isBusy || this.element.contains(document.activeElement);
  }

  setBusy(isBusy) {
    this.isBusy = isBusy;
    const hadFocus = this.button === document.activeElement || this.isLeft;
    this.button.disabled = isBusy;
    this.element.setAttribute("aria-busy", isBusy);
    // A disabled button cannot have the focus.
    this.isLeft = isBusy && hadFocus;
    if (!isBusy && hadFocus && document.activeElement === document.body) this.button.focus();
  }

  say(text, isWell = true) {
    this.result.textContent = text;
    this.result.classList.toggle("failed", !isWell);
  }
}

class MoveForm extends OrderForm {
  constructor(node) {
    super(`Move ${node.name}`, "Move", "moving…", "moved");
    this.client = node.client.mac;
    this.target = make("select");
    this.open = Object.assign(make("input"), { type: "checkbox" });
    const open = make("label");
    open.append(this.open, "Other access points still accept it");
    this.element.append(heading("Move to", this.target, "target"), this.target, open, this.button, this.result);
  }

  order() {
    return ["steer", { client: this.client, bssid: this.target.value, ...(this.open.checked ? { open: 1 } : {}) }];
  }

  /** The other access points of its network: those that it hears, then those of other devices. False if there are none. */
  update(graph, { client }) {
    const heard = new Map((client.hears || []).map(({ bssid, signal }) => [bssid, signal]));
    const rank = ({ bssid, radio }) => heard.get(bssid) ?? (radio.device === client.device ? -2000 : -1000);
    const choices = graph.radios.filter((radio) => radio.isManaged)
      .flatMap((radio) => radio.bss.filter((bss) => bss.ssid === client.ssid && bss.bssid !== client.bssid).map(({ bssid }) => ({ bssid, radio })))
      .sort((a, b) => rank(b) - rank(a))
      .map(({ bssid, radio }) => [bssid, [radio.label, channelText(radio) || bssid, dbmText(heard.get(bssid))].filter(Boolean).join(", ")]);
    const shown = JSON.stringify(choices);
    // One that is perhaps open stays as it is.
    if (shown !== this.shown && document.activeElement !== this.target) {
      this.shown = shown;
      const { value } = this.target;
      this.target.replaceChildren(...choices.map(([bssid, text]) => Object.assign(make("option", text), { value: bssid })));
      if (choices.some(([bssid]) => bssid === value)) this.target.value = value;
    }
    return client.isManaged && choices.length > 0;
  }
}

class ChannelForm extends OrderForm {
  constructor(radio, name) {
    super(`Change the ${name} channel`, "Change", "changing…", "changed");
    this.radio = radio.id;
    const { usual, widths } = BANDS[radio.band];
    const list = Object.assign(make("datalist"), { id: `channels-${radio.id}`.replaceAll(" ", "-") });
    list.append(...usual.map((channel) => Object.assign(make("option"), { value: channel })));
    this.channel = Object.assign(make("input"), { type: "number", min: 1, max: 233, required: true });
    this.channel.setAttribute("list", list.id);
    this.width = Object.assign(make("select"), { ariaLabel: "Width" });
    this.width.append(...widths.map((width) => Object.assign(make("option", `${width} MHz`), { value: width })));
    this.element.append(heading(`${name} channel`, this.channel, `channel-${radio.id}`), this.channel, list, this.width, this.button, this.result);
  }

  order() {
    return ["channel", { radio: this.radio, channel: this.channel.value, width: this.width.value }];
  }

  /** False if the radio is on no channel. */
  update({ channel, width }) {
    if (channel === null) return false;
    offer(this.channel, String(channel));
    offer(this.width, String(Number.parseInt(width, 10) || 20));
    return true;
  }
}

/** The forms of the selected node, which keep their elements while that is selected. */
export class Orders {
  constructor() {
    this.forms = new Map();
  }

  /** Forgets the forms of other nodes, but for those whose result nobody has seen yet. */
  leave() {
    for (const [key, form] of this.forms) if (!form.isBusy && !form.isUnseen) this.forms.delete(key);
  }

  /** The elements for a node of the graph; `isAllowed` by the server. */
  elements(graph, node, isAllowed) {
    if (!isAllowed || !graph.controller || !findToken()) return [];
    const update = (key, start, ...facts) => {
      if (!this.forms.has(key)) this.forms.set(key, start());
      const form = this.forms.get(key);
      form.isUnseen = false;
      return form.update(...facts) || form.isInUse ? [form.element] : [];
    };
    if (node.kind === "client") return update(`client ${node.client.mac}`, () => new MoveForm(node), graph, node);
    const radios = (node.radios || []).filter((radio) => radio.isManaged);
    return radios.flatMap((radio) => {
      const key = `radio ${radio.id}`;
      if (!this.forms.has(key) && !BANDS[radio.band]) return [];
      const isOne = radios.filter((other) => other.band === radio.band).length === 1;
      return update(key, () => new ChannelForm(radio, isOne ? radio.band : `${radio.id}, ${radio.band}`), radio);
    });
  }
}
