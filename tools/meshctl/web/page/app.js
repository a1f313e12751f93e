// The page: takes the topology from the page itself or follows the server, and shows it.
import { ageText, buildGraph, dbmText, eventText, modeText, rateText, stateText } from "./model.js";
import { MapView, draw } from "./map.js";
import { RulerView } from "./ruler.js";
import { TableView } from "./table.js";

const MOST_EVENTS = 100;
const ANSWERS = ["topology", "radios", "clients"];
const LEGEND = [["edge ok", 3, "Ethernet"], ["edge wifi", 3, "Wi-Fi"], ["edge other", 3, "other"], ["edge poor", 3, "poor"],
  ["edge unknown", 2, "not confirmed"], ["edge blocked", 2, "blocked"]];

const byId = (id) => document.getElementById(id);

/** An element with this text; texts of others come into the page in no other way. */
function make(name, text = "", className = "") {
  const element = document.createElement(name);
  element.textContent = text;
  if (className) element.className = className;
  return element;
}

class Page {
  constructor() {
    const onSelect = (id) => this.select(id);
    this.map = new MapView(byId("map"), onSelect, () => byId("legend").offsetHeight + 12);
    this.ruler = new RulerView(byId("radios-view"));
    this.table = new TableView(byId("table-view"), onSelect);
    this.tabs = [byId("map-tab"), byId("table-tab")];
    for (const tab of this.tabs) tab.addEventListener("click", () => this.open(tab));
    document.querySelector("[role=tablist]").addEventListener("keydown", (event) => {
      if (event.key !== "ArrowLeft" && event.key !== "ArrowRight") return;
      const other = this.tabs[this.tabs[0] === document.activeElement ? 1 : 0];
      this.open(other);
      other.focus();
    });
    byId("zoom-in").addEventListener("click", () => this.map.zoom(1.3));
    byId("zoom-out").addEventListener("click", () => this.map.zoom(1 / 1.3));
    byId("zoom-fit").addEventListener("click", () => this.map.fit());
    for (const [className, width, text] of LEGEND) {
      const item = byId("legend").appendChild(make("li"));
      item.append(draw("svg", { "aria-hidden": "true" }), text);
      item.firstChild.append(draw("path", { class: className, "stroke-width": width, d: "M1 6H25" }));
    }
    this.names = new Map();
    this.answers = {};
    this.clearEvents();
  }

  open(tab) {
    for (const one of this.tabs) {
      one.setAttribute("aria-selected", one === tab);
      one.tabIndex = one === tab ? 0 : -1;
      byId(one.getAttribute("aria-controls")).hidden = one !== tab;
    }
    document.body.classList.toggle("table", tab === this.tabs[1]);
    this.show();
  }

  /** Takes an answer of the daemon; those about Wi-Fi mean something beside a topology only. */
  take(kind, answer) {
    this.answers[kind] = answer;
    if (!this.answers.topology) return;
    this.graph = buildGraph(this.answers.topology, this.answers.radios, this.answers.clients);
    // Events name devices that are gone, and new ones before the topology has them.
    for (const [mac, name] of this.graph.names) if (name !== mac) this.names.set(mac, name);
    for (const show of this.events) show();
    this.show();
  }

  show() {
    const graph = this.graph;
    if (!graph) return;
    const count = (kind) => graph.nodes.filter((node) => node.kind === kind).length;
    const some = (number, what) => `${number} ${what}${number === 1 ? "" : "s"}`;
    const hosts = graph.nodes.reduce((sum, node) => sum + (node.hosts || 0), 0);
    document.title = `Mesh of ${graph.names.get(graph.self) || graph.name}`;
    byId("title").textContent = document.title;
    byId("summary").textContent = [some(count("device"), "device"), some(graph.edges.filter((edge) => !edge.isHost).length, "link"),
      some(hosts, "host"), count("client") ? some(count("client"), "client") : ""].filter(Boolean).join(", ");
    const radios = JSON.stringify(graph.radios);
    if (radios !== this.radios) this.ruler.show(graph.radios);
    this.radios = radios;
    if (!byId("map-view").hidden) this.map.show(graph);
    else this.table.show(graph);
    this.showDetails();
  }

  select(id) {
    this.selected = id;
    this.map.select(id);
    this.showDetails();
  }

  /** Without details and events, the map takes the whole page. */
  showDetails() {
    const node = this.graph?.nodes.find((one) => one.id === this.selected);
    const content = node ? this.detailsOf(node) : [];
    const holder = document.createElement("div");
    holder.append(...content);
    // A screen reader would read it again.
    if (byId("details").textContent !== holder.textContent) byId("details").replaceChildren(...content);
    document.body.classList.toggle("alone", !node && byId("events-view").hidden && byId("radios-view").hidden);
  }

  detailsOf(node) {
    const facts = [];
    const sections = [];
    const nameOf = (mac) => (this.graph.names.has(mac) && this.graph.names.get(mac) !== mac ? `${this.graph.names.get(mac)} ${mac}` : mac);
    const list = (title, items) => items.length && sections.push(make("h3", title), this.list(items));
    if (node.kind === "device") {
      const device = node.device;
      facts.push(["AL MAC", node.id], ["State", [stateText(device), ageText(device.age)].filter(Boolean).join(", ")]);
      if (device.meshd_version) facts.push(["meshd", device.meshd_version]);
      if (device.reported_by.length) facts.push(["Reported by", device.reported_by.map((mac) => this.graph.names.get(mac) || mac).join(", ")]);
      const cut = new Set(device.blocked.map((port) => port.mac));
      const bridge = (mac) => device.bridges.findIndex((macs) => macs.includes(mac)) + 1;
      list("Interfaces", device.interfaces.map((port) => [nameOf(port.mac), modeText(port.mode),
        bridge(port.mac) ? `bridge ${bridge(port.mac)}` : "", cut.has(port.mac) ? "blocked" : ""].filter(Boolean).join(", ")));
      if (device.truncated) facts.push(["Complete", "no: it reported more than there was memory for"]);
      for (const { interface: port, macs } of device.hosts) list(`Hosts behind ${this.graph.names.get(port) || port}`, macs.map(nameOf));
    } else if (node.kind === "host") {
      facts.push(["Behind", nameOf(node.behind)]);
      if (node.macs.length > 4) list("Addresses", node.macs.map(nameOf));
    }
    if (node.kind === "client") {
      const client = node.client;
      const signal = client.average_signal ?? client.signal;
      facts.push(["Address", client.mac], ["Network", client.ssid], ["Interface", `${client.interface}, ${client.bssid}`]);
      if (signal !== null) facts.push(["Signal", dbmText(signal)]);
      if (client.send_rate) facts.push(["Sends to it", rateText(client.send_rate)]);
      if (client.receive_rate) facts.push(["Receives", rateText(client.receive_rate)]);
      if (client.security) facts.push(["Security", client.security]);
      if (client.connected !== null) facts.push(["Connected", ageText(client.connected).replace(" ago", "")]);
    }
    list("Links", node.links.map((edge) => {
      const other = edge.from === node.id ? edge.to : edge.from;
      const end = this.graph.nodes.find((one) => one.id === other);
      return [`to ${end?.name || other}`, edge.label].filter(Boolean).join(": ");
    }));
    const head = make("header");
    const close = make("button", "Close");
    close.addEventListener("click", () => this.select(null));
    head.append(make("h2", node.name), close);
    const definitions = make("dl");
    for (const [term, value] of facts) definitions.append(make("dt", term), make("dd", value));
    return [head, definitions, ...sections];
  }

  list(items) {
    const element = make("ul");
    element.append(...items.map((item) => make("li", item)));
    return element;
  }

  setState(state, text) {
    byId("state").dataset.state = state;
    if (byId("state").textContent !== text) byId("state").textContent = text;
  }

  clearEvents() {
    this.events = []; // functions that write the texts
    byId("events").replaceChildren(make("li", "None yet.", "empty"));
  }

  addEvent({ time, event, data }) {
    const list = byId("events");
    list.querySelector(".empty")?.remove();
    const item = make("li");
    const clock = make("time", new Date(time).toLocaleTimeString([], { hour12: false }));
    clock.dateTime = time;
    const text = make("span", "", event.endsWith("_LOST") ? "lost" : "");
    const show = () => {
      const words = eventText(event, data, this.names);
      if (text.textContent !== words) text.textContent = words;
    };
    show();
    item.append(clock, text);
    list.prepend(item);
    this.events.unshift(show);
    while (list.children.length > MOST_EVENTS) list.lastChild.remove();
    this.events.splice(MOST_EVENTS);
  }

  /** The browser reopens the stream by itself, and the server then sends everything again. */
  follow() {
    const stream = new EventSource("events");
    this.setState("waiting", "connecting");
    stream.addEventListener("open", () => this.clearEvents());
    stream.addEventListener("error", () => {
      this.setState("away", "the server is gone; trying again");
      // After an answer that is no stream the browser gives up.
      if (stream.readyState === EventSource.CLOSED) setTimeout(() => this.follow(), 3000);
    });
    stream.addEventListener("state", ({ data }) => {
      const { answers, reason } = JSON.parse(data);
      this.setState(answers ? "live" : "away", answers ? "live" : reason);
    });
    for (const kind of ANSWERS) stream.addEventListener(kind, ({ data }) => this.take(kind, JSON.parse(data)));
    stream.addEventListener("mesh", ({ data }) => this.addEvent(JSON.parse(data)));
  }
}

const page = new Page();
if (byId("topology")) {
  byId("events-view").hidden = true;
  for (const kind of ["radios", "clients", "topology"]) if (byId(kind)) page.take(kind, JSON.parse(byId(kind).textContent));
  page.setState("saved", "as saved in this file");
} else {
  page.follow();
}
