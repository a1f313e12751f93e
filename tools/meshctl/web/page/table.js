// The same as the map in tables. Rows keep their elements, so what has the focus keeps it.
import { ageText, dbmText, durationText, rateText, speedText, stateText } from "./model.js";
import { channelText, isAccessPoint } from "./wifi.js";

const number = (value) => (value === null || value === undefined ? "" : String(value));

const DEVICES = {
  caption: "Devices",
  columns: ["Name", "AL MAC", "Role", "State", "Last answer", "meshd", "Interfaces", "Links", "Hosts"],
  numeric: new Set([6, 7, 8]),
  rows: (graph) => graph.nodes.filter((node) => node.kind === "device").map((node) => ({
    id: node.id,
    select: node.id,
    state: node.device.state,
    cells: [node.name, node.id, node.roles.join(", "), stateText(node), ageText(node.device.age), node.device.meshd_version || "",
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
  columns: ["Device", "Radio", "Band", "Channel", "Width", "Busy", "Noise", "Power", "Networks", "Clients"],
  numeric: new Set([3, 5, 6, 7, 9]),
  rows: (graph) => graph.radios.map((radio) => ({
    id: `${radio.device} ${radio.id}`,
    select: radio.device,
    state: "",
    cells: [graph.names.get(radio.device), radio.name || radio.id, radio.bands.join(", "), number(radio.channel), radio.width,
      radio.utilization === null ? "" : `${radio.utilization} %`, dbmText(radio.noise), dbmText(radio.power),
      [...new Set(radio.bss.map((one) => one.ssid))].filter(Boolean).join(", "), String(radio.clients)],
  })),
};

const PEERS = {
  caption: "Wi-Fi clients and peers",
  columns: ["Name", "Address", "Device", "Its role", "Interface", "Network", "Signal", "Sends", "Receives", "Connected", "Security"],
  numeric: new Set([6]),
  rows: (graph) => {
    const radios = new Map(graph.radios.map((radio) => [radio.id, radio]));
    const drawn = new Set(graph.nodes.map((node) => node.id));
    return graph.peers.map((peer) => {
      const id = `client ${peer.mac}`;
      return {
        id: isAccessPoint(peer.role) ? peer.mac : `${peer.interface} ${peer.mac}`,
        select: drawn.has(id) ? id : peer.backhaul_of || peer.device,
        state: peer.isLost ? "unknown" : "",
        cells: [graph.names.get(peer.backhaul_of || peer.mac) || peer.name || peer.mac, peer.mac, graph.names.get(peer.device),
          peer.backhaul_of ? "AP, backhaul" : peer.role, peer.interface || (radios.has(peer.radio) ? channelText(radios.get(peer.radio)) : ""),
          peer.ssid, dbmText(peer.signal), rateText(peer.sends), rateText(peer.receives), durationText(peer.connected), peer.security || ""],
      };
    });
  },
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
      element.querySelector("button").dataset.select = row.select;
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
    const button = head.appendChild(document.createElement("button"));
    button.addEventListener("click", () => this.onSelect(button.dataset.select));
    for (let column = 1; column < row.cells.length; ++column) {
      element.insertCell().className = this.kind.numeric.has(column) ? "number" : "";
    }
    return element;
  }
}

export class TableView {
  constructor(section, onSelect) {
    this.section = section;
    this.tables = [DEVICES, LINKS, RADIOS, PEERS].map((kind) => new Table(kind, onSelect));
    section.append(...this.tables.map((table) => table.element));
  }

  show(graph) {
    for (const table of this.tables) table.show(graph);
  }

  /** That of the first row which leads to a node; null if there is none. */
  buttonOf(id) {
    return this.section.querySelector(`[data-select="${CSS.escape(id)}"]`);
  }
}
