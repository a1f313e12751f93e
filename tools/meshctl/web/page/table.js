// The same as the map in tables. Rows keep their elements, so what has the focus keeps it.
import { ageText, dbmText, rateText, speedText, stateText } from "./model.js";

const number = (value) => (value === null || value === undefined ? "" : String(value));

const DEVICES = {
  caption: "Devices",
  columns: ["Name", "AL MAC", "State", "Last answer", "meshd", "Interfaces", "Links", "Hosts"],
  numeric: new Set([5, 6, 7]),
  rows: (graph) => graph.nodes.filter((node) => node.kind === "device").map((node) => ({
    id: node.id,
    select: node.id,
    state: node.device.state,
    cells: [node.name, node.id, stateText(node.device), ageText(node.device.age), node.device.meshd_version || "",
      number(node.device.interfaces.length), number(node.links.length), number(node.hosts)],
  })),
};

const LINKS = {
  caption: "Links",
  columns: ["From", "Interface", "To", "Interface", "Medium", "Speed", "Available", "Sent", "Errors", "State"],
  numeric: new Set([5, 6, 7, 8]),
  rows: (graph) => graph.edges.filter((edge) => !edge.isHost).map((edge) => {
    const [near, far] = edge.ports;
    const name = (mac) => (mac ? graph.names.get(mac) || mac : "");
    const sent = edge.told.find((link) => link.from === near.al_mac)?.transmitter;
    return {
      id: edge.id,
      select: near.al_mac,
      state: edge.state,
      cells: [name(near.al_mac), name(near.interface), far ? name(far.al_mac) : "switch", far ? name(far.interface) : "",
        edge.medium, speedText(edge.speed), edge.availability === null ? "" : `${edge.availability} %`,
        number(sent?.transmitted_packets), number(sent?.packet_errors), edge.state === "ok" ? "" : edge.state],
    };
  }),
};

const RADIOS = {
  caption: "Radios",
  columns: ["Name", "Band", "Channel", "Width", "Busy", "Noise", "Power", "Networks", "Clients"],
  numeric: new Set([2, 4, 5, 6, 8]),
  rows: (graph) => graph.radios.map((radio) => ({
    id: radio.name,
    select: graph.self,
    state: "",
    cells: [radio.name, radio.band || radio.bands.join(", "), number(radio.channel), radio.width, radio.utilization === null ? "" : `${radio.utilization} %`,
      radio.noise === null ? "" : dbmText(radio.noise), radio.channel_info?.max_power ? dbmText(radio.channel_info.max_power) : "",
      radio.interfaces.map((one) => one.ssid).filter(Boolean).join(", "), String(radio.clients)],
  })),
};

const CLIENTS = {
  caption: "Wi-Fi peers",
  columns: ["Name", "Address", "Role of our interface", "Interface", "Network", "Signal", "We send", "We receive", "Security"],
  numeric: new Set([5]),
  rows: (graph) => graph.clients.map((client) => ({
    id: `${client.interface} ${client.mac}`,
    select: `client ${client.mac}`,
    state: "",
    cells: [client.name || graph.names.get(client.mac) || client.mac, client.mac, client.role, client.interface, client.ssid,
      (client.average_signal ?? client.signal) === null ? "" : dbmText(client.average_signal ?? client.signal), rateText(client.send_rate),
      rateText(client.receive_rate), client.security || ""],
  })),
};

class Table {
  constructor(kind, onSelect) {
    this.kind = kind;
    this.onSelect = onSelect;
    this.rows = new Map();
    this.element = document.createElement("div");
    this.element.className = "scroll";
    const table = this.element.appendChild(document.createElement("table"));
    table.createCaption().textContent = kind.caption;
    const head = table.createTHead().insertRow();
    kind.columns.forEach((column, index) => {
      const cell = head.appendChild(document.createElement("th"));
      cell.scope = "col";
      cell.textContent = column;
      cell.classList.toggle("number", kind.numeric.has(index));
    });
    this.body = table.createTBody();
  }

  show(graph) {
    const rows = this.kind.rows(graph);
    this.element.hidden = rows.length === 0;
    const wanted = new Set(rows.map((row) => row.id));
    for (const [id, element] of this.rows) {
      if (!wanted.has(id)) {
        element.remove();
        this.rows.delete(id);
      }
    }
    rows.forEach((row, index) => {
      if (!this.rows.has(row.id)) this.rows.set(row.id, this.makeRow(row));
      const element = this.rows.get(row.id);
      if (this.body.rows[index] !== element) this.body.insertBefore(element, this.body.rows[index] || null);
      element.className = row.state;
      row.cells.forEach((text, column) => {
        const cell = column === 0 ? element.querySelector("button") : element.cells[column];
        if (cell.textContent !== text) cell.textContent = text;
      });
    });
  }

  makeRow(row) {
    const element = document.createElement("tr");
    const head = element.appendChild(document.createElement("th"));
    head.scope = "row";
    head.appendChild(document.createElement("button")).addEventListener("click", () => this.onSelect(row.select));
    for (let column = 1; column < row.cells.length; ++column) {
      element.insertCell().className = this.kind.numeric.has(column) ? "number" : "";
    }
    return element;
  }
}

export class TableView {
  constructor(section, onSelect) {
    this.tables = [DEVICES, LINKS, RADIOS, CLIENTS].map((kind) => new Table(kind, onSelect));
    section.append(...this.tables.map((table) => table.element));
  }

  show(graph) {
    for (const table of this.tables) table.show(graph);
  }
}
