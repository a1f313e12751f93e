// What is known of the selected node. What stays the same keeps its elements, and so the focus and what is typed there.
import { adopt, make } from "./dom.js";
import { ageText, dbmText, durationText, modeText, rateText, speedText, stateText } from "./model.js";
import { Orders } from "./orders.js";
import { channelText } from "./wifi.js";

/** The facts of a node, pairs of texts, and its lists, pairs of a title and texts. */
function describeNode(graph, node) {
  const facts = [];
  const lists = [];
  const nameOf = (mac) => (graph.names.has(mac) && graph.names.get(mac) !== mac ? `${graph.names.get(mac)} ${mac}` : mac);
  const shortName = (mac) => graph.names.get(mac) || mac;
  const fact = (term, value) => value && facts.push([term, value]);
  if (node.kind === "device") {
    const { device, agent, backhaul } = node;
    fact("AL MAC", node.id);
    fact("State", [stateText({ device }), ageText(device.age)].filter(Boolean).join(", "));
    fact("meshd", device.meshd_version);
    if (graph.controller?.al_mac === node.id) fact("Controller", ["yes", ...graph.controller.other_controllers.map((mac) => `so is ${shortName(mac)}`)].join(", "));
    if (agent) fact("Agent", `${agent.state}, heard ${ageText(agent.heard)}`);
    if (backhaul) {
      fact("Backhaul", [`from ${shortName(backhaul.device)}`, dbmText(backhaul.signal), backhaul.sends ? `${rateText(backhaul.sends)} down` : "",
        backhaul.receives ? `${rateText(backhaul.receives)} up` : ""].filter(Boolean).join(", "));
    }
    fact("Reported by", device.reported_by.map(shortName).join(", "));
    if (device.truncated) fact("Complete", "no: it reported more than there was memory for");
    const cut = new Set(device.blocked.map((port) => port.mac));
    const bridge = (mac) => device.bridges.findIndex((macs) => macs.includes(mac)) + 1;
    lists.push(["Radios", node.radios.map((radio) => [radio.name, radio.bands.join(", "), radio.facts].filter(Boolean).join(", "))]);
    lists.push(["Clients", node.clients.map((one) => [one.name, one.client.ssid, dbmText(one.client.signal)].filter(Boolean).join(", "))]);
    lists.push(["Interfaces", device.interfaces.map((port) => [nameOf(port.mac), modeText(port.mode),
      bridge(port.mac) ? `bridge ${bridge(port.mac)}` : "", cut.has(port.mac) ? "blocked" : ""].filter(Boolean).join(", "))]);
    for (const { interface: port, macs } of device.hosts) lists.push([`Hosts behind ${shortName(port)}`, macs.map(nameOf)]);
  } else if (node.kind === "host") {
    fact("Behind", nameOf(node.behind));
    if (node.macs.length > 4) lists.push(["Addresses", node.macs.map(nameOf)]);
  } else if (node.kind === "client") {
    const { client } = node;
    const radio = graph.radios.find((one) => one.id === client.radio);
    fact("Address", client.mac);
    fact("Access point", [shortName(client.device), radio ? channelText(radio) : "", client.isLost ? "which is lost" : ""].filter(Boolean).join(", "));
    fact("Network", client.ssid);
    fact(client.interface ? "Interface" : "BSSID", [client.interface, client.bssid].filter(Boolean).join(", "));
    fact("Signal", dbmText(client.signal));
    fact("Sends to it", rateText(client.sends));
    fact("Receives", rateText(client.receives));
    const [down, up] = [client.downlink_traffic, client.uplink_traffic].map((rate) => rate ? speedText(+(rate / 1000).toFixed(1)) || "less than 0.1 Mb/s" : "none");
    if (client.downlink_traffic != null) fact("Traffic", `${down} down, ${up} up`);
    fact("Security", client.security);
    fact("Connected", durationText(client.connected));
    const { asked_to_move: asked, last_status: status, refusals } = client;
    const answer = status == null ? "" : status === 0 ? "agreed" : `refused with status ${status}`;
    if (asked != null) fact("Asked to move", [ageText(asked), answer, refusals > 1 ? `${refusals} refusals in a row` : ""].filter(Boolean).join(", "));
    const bsses = new Map(graph.radios.flatMap((one) => one.bss.map(({ bssid }) => [bssid, one])));
    lists.push(["Hears", (client.hears || []).map(({ bssid, signal }) => {
      const its = bsses.get(bssid);
      return `${its ? `${shortName(its.device)}, ${channelText(its)}` : bssid}: ${dbmText(signal)}`;
    })]);
  }
  lists.push(["Links", node.links.map((edge) => {
    const other = edge.from === node.id ? edge.to : edge.from;
    const end = graph.nodes.find((one) => one.id === other);
    return [`to ${end?.name || other}`, edge.label].filter(Boolean).join(": ");
  })]);
  return { facts, lists: lists.filter(([, items]) => items.length) };
}

export class DetailsView {
  constructor(section, onClose) {
    this.section = section;
    this.title = make("h2");
    this.title.tabIndex = -1;
    const close = make("button", "Close");
    close.addEventListener("click", onClose);
    section.addEventListener("keydown", (event) => event.key === "Escape" && !event.target.closest("form") && onClose());
    const head = make("header");
    head.append(this.title, close);
    this.facts = make("dl");
    this.orders = new Orders();
    this.forms = make("div");
    this.forms.setAttribute("aria-live", "off"); // but for the results
    this.lists = make("div");
    this.parts = [head, this.facts, this.forms, this.lists];
  }

  /** Shows the node of the graph with this id, or nothing. Returns that node. */
  show(graph, id, isAllowed) {
    const node = graph?.nodes.find((one) => one.id === id);
    // A client that moves may be nowhere for a moment.
    const isInUse = this.node?.id === id && this.forms.querySelector("[aria-busy=true], :focus");
    if (!node && isInUse) return this.node;
    const isOther = node?.id !== this.node?.id;
    this.node = node;
    if (isOther) {
      this.orders.leave();
      for (const part of [this.facts, this.forms, this.lists]) part.replaceChildren();
    }
    if (!node) {
      this.section.replaceChildren();
      return node;
    }
    if (this.title.textContent !== node.name) this.title.textContent = node.name;
    const { facts, lists } = describeNode(graph, node);
    const [terms, parts] = [make("dl"), make("div")];
    for (const [term, value] of facts) terms.append(make("dt", term), make("dd", value));
    for (const [title, items] of lists) {
      const list = make("ul");
      list.append(...items.map((item) => make("li", item)));
      parts.append(make("h3", title), list);
    }
    adopt(this.facts, terms);
    adopt(this.lists, parts);
    const forms = this.orders.elements(graph, node, isAllowed);
    for (const form of [...this.forms.children]) if (!forms.includes(form)) form.remove();
    forms.forEach((form, index) => form !== this.forms.children[index] && this.forms.insertBefore(form, this.forms.children[index] || null));
    if (!this.section.firstChild) this.section.append(...this.parts);
    return node;
  }

  focus() {
    this.title.focus();
  }
}
