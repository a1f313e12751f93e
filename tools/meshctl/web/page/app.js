// The page: takes the topology from the page itself or follows the server, and shows it.
import { DetailsView } from "./details.js";
import { make } from "./dom.js";
import { buildGraph, eventText } from "./model.js";
import { MapView, deviceShapes, draw } from "./map.js";
import { RulerView } from "./ruler.js";
import { TableView } from "./table.js";

const MOST_EVENTS = 100;
const ANSWERS = ["radios", "clients", "controller", "topology"];
const LEGEND = [["edge ok", 3, "Ethernet"], ["edge wifi", 3, "Wi-Fi"], ["edge other", 3, "other"], ["edge poor", 3, "poor"],
  ["edge unknown", 2, "not confirmed"], ["edge blocked", 2, "blocked"]];
const ROLES = [["controller", "controller"], ["access-point", "access point"]];

const byId = (id) => document.getElementById(id);

class Page {
  constructor() {
    this.map = new MapView(byId("map"), (id) => this.select(id), () => byId("legend").offsetHeight + 12);
    this.ruler = new RulerView(byId("radios-view"));
    // From a long table, the keyboard would have far to go.
    this.table = new TableView(byId("table-view"), (id) => this.select(id, document.activeElement));
    this.details = new DetailsView(byId("details"), () => this.select(null));
    addEventListener("hashchange", () => this.showDetails()); // there is the right to give orders
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
    const explain = (text, ...shapes) => {
      const item = byId("legend").appendChild(make("li"));
      item.append(draw("svg", { "aria-hidden": "true" }), text);
      item.firstChild.append(...shapes);
      return item;
    };
    this.roles = ROLES.map(([role, text]) => {
      const symbol = draw("g", { class: `symbol ${role}`, transform: "translate(15 6) scale(.55)" });
      symbol.append(...deviceShapes());
      return [role, explain(text, symbol)];
    });
    for (const [className, width, text] of LEGEND) explain(text, draw("path", { class: className, "stroke-width": width, d: "M1 6H25" }));
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
    this.graph = buildGraph(this.answers);
    // Events name devices that are gone, and new ones before the topology has them.
    for (const { id, label, band, bss } of this.graph.radios) for (const mac of [id, ...bss.map(({ bssid }) => bssid)]) this.names.set(mac, [label, band].filter(Boolean).join(", "));
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
    for (const [role, item] of this.roles) item.hidden = !graph.nodes.some((node) => node.classes.includes(role));
    if (!byId("map-view").hidden) this.map.show(graph);
    else this.table.show(graph);
    this.showDetails();
  }

  /** Shows the details of a node, or none. From `opener`, the focus goes there, and then back. */
  select(id, opener = null) {
    const last = { id: this.selected, opener: this.opener };
    this.selected = id;
    this.opener = opener;
    this.map.select(id);
    const covered = this.coveredByDetails();
    this.showDetails();
    if (id && this.coveredByDetails()) this.map.reveal(id, this.coveredByDetails());
    else if (covered && this.map.isFitted) this.map.fit();
    if (id && opener) this.details.focus();
    else if (!id && last.opener) (last.opener.isConnected ? last.opener : this.table.buttonOf(last.id))?.focus();
  }

  /** On a telephone, the details lie over the lower part of the map; how many pixels of it. */
  coveredByDetails() {
    const details = byId("details");
    if (getComputedStyle(details).position !== "fixed" || !details.firstChild) return 0;
    return Math.max(0, byId("map").getBoundingClientRect().bottom - details.getBoundingClientRect().top);
  }

  /** Without details and events, the map takes the whole page. */
  showDetails() {
    const node = this.details.show(this.graph, this.selected, this.isAllowed);
    if (this.graph) this.ruler.show(this.graph.radios, new Set(node?.kind === "client" ? [node.client.radio] : (node?.radios || []).map((radio) => radio.id)));
    document.body.classList.toggle("alone", !node && byId("events-view").hidden && byId("radios-view").hidden);
  }

  /** Takes what the server says of itself and of the daemon. */
  takeState({ answers, reason, actions }) {
    this.setState(answers ? "live" : "away", answers ? "live" : reason);
    this.isAllowed = actions;
    this.showDetails();
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

  /**
   * The browser reopens the stream by itself, and the server then sends everything again. A hidden page has none, since
   * browsers open only six connections to a server, for all its pages together, and orders need some of them.
   */
  follow() {
    clearTimeout(this.retry);
    if (!this.stream) this.setState("waiting", "connecting");
    this.stream?.close();
    if (document.hidden) return;
    const stream = this.stream = new EventSource("events");
    stream.addEventListener("open", () => this.clearEvents());
    stream.addEventListener("error", () => {
      this.setState("away", "the server is gone; trying again");
      // After an answer that is no stream the browser gives up.
      if (stream.readyState === EventSource.CLOSED) this.retry = setTimeout(() => this.follow(), 3000);
    });
    stream.addEventListener("state", ({ data }) => this.takeState(JSON.parse(data)));
    for (const kind of ANSWERS) stream.addEventListener(kind, ({ data }) => this.take(kind, JSON.parse(data)));
    stream.addEventListener("mesh", ({ data }) => this.addEvent(JSON.parse(data)));
  }
}

const page = new Page();
if (byId("topology")) {
  byId("events-view").hidden = true;
  for (const kind of ANSWERS) if (byId(kind)) page.take(kind, JSON.parse(byId(kind).textContent));
  page.setState("saved", "as saved in this file");
} else {
  page.follow();
  document.addEventListener("visibilitychange", () => page.follow());
}
