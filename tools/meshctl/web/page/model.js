// What is drawn and listed, made of the JSON of meshctl(1).
import { isAccessPoint, listPeers, listRadios } from "./wifi.js";

const MEDIA = { ETHERNET: "Ethernet", WLAN: "Wi-Fi", PLC: "Powerline", MOCA: "MoCA" };
const STATES = { answered: "answered", heard_of: "heard of", unreachable: "unreachable" };
const POOR = 50; // percent of availability below which a link is called poor
const WEAK = -75; // dBm below which a client is called poor
const MOST_HOSTS = 4; // behind one interface that are drawn one by one

/** "AC_5_GHZ" as "AC 5 GHz", "GIGABIT_ETHERNET" as "Gigabit Ethernet". */
export const modeText = (mode) => mode.split("_").map((word) => (word === "GHZ" ? "GHz" : word.length > 3 ? word[0] + word.slice(1).toLowerCase() : word)).join(" ");

/** "866 Mb/s", "2.5 Gb/s"; empty if the rate is not known. */
export function speedText(rate) {
  return !rate ? "" : rate < 1000 ? `${rate} Mb/s` : `${+(rate / 1000).toFixed(1)} Gb/s`;
}

/** "−61 dBm"; empty if it is not known. */
export const dbmText = (dbm) => (dbm === null || dbm === undefined ? "" : `${dbm < 0 ? "−" : ""}${Math.abs(dbm)} dBm`);

/** Empty if it is not known. */
export function durationText(seconds) {
  if (seconds === null || seconds === undefined) return "";
  return seconds < 120 ? `${seconds} s` : seconds < 7200 ? `${Math.round(seconds / 60)} min` : `${Math.round(seconds / 3600)} h`;
}

export const ageText = (seconds) => (durationText(seconds) ? `${durationText(seconds)} ago` : "");

const least = (values) => {
  const known = values.filter((value) => value !== undefined && value !== null);
  return known.length ? Math.min(...known) : null;
};

/** "866 Mb/s, ac, 80 MHz, 2 streams" of a rate of meshctl(1). */
export function rateText(rate) {
  if (!rate) return "";
  return [speedText(Math.round(rate.rate / 1000)), rate.mode || "", rate.channel_width || "", rate.streams > 1 ? `${rate.streams} streams` : ""]
    .filter(Boolean).join(", ");
}

/** An agent of the controller that the topology does not have (any more), as a device of it. */
const deviceOf = (agent) => ({
  al_mac: agent.al_mac, self: false, name: agent.name, state: agent.state === "lost" ? "unreachable" : "heard_of", age: agent.heard,
  meshd_version: null, interfaces: [], blocked: [], bridges: [], hosts: [], reported_by: [], truncated: false,
});

/**
 * The graph of a topology: `nodes` with id, kind (device, switch, host or client), name, classes and a description; `edges` with
 * id, the ids of their ends, medium, speed, state (ok, poor, unknown or blocked), label and the links that tell of them.
 */
export function buildGraph({ topology, radios: ownRadios, clients: ownClients, controller }) {
  const agents = new Map((controller?.agents || []).map((agent) => [agent.al_mac, agent]));
  const devices = new Map(topology.nodes.map((node) => [node.al_mac, node]));
  for (const [mac, agent] of agents) if (!devices.has(mac)) devices.set(mac, deviceOf(agent));
  const names = new Map();
  const interfaces = new Map();
  for (const node of devices.values()) {
    names.set(node.al_mac, node.name || agents.get(node.al_mac)?.name || node.al_mac);
    for (const port of node.interfaces) {
      interfaces.set(port.mac, port);
      if (port.name) names.set(port.mac, port.name);
    }
    for (const { macs, names: given } of node.hosts) macs.forEach((mac, index) => given?.[index] && names.set(mac, given[index]));
  }
  const blocked = new Map(topology.nodes.map((node) => [node.al_mac, new Set(node.blocked.map((port) => port.mac))]));
  const links = new Map();
  for (const link of topology.links) {
    const key = `${link.from} ${link.from_interface}`;
    links.set(key, [...(links.get(key) || []), link]);
  }
  const nodes = [];
  const edges = [];
  const radios = listRadios(ownRadios, controller, topology.al_mac, names);
  const peers = listPeers(ownClients, controller, radios, topology.al_mac);
  const served = new Map(peers.filter((peer) => isAccessPoint(peer.role)).map((peer) => [peer.mac, peer]));
  // Devices of the mesh, which use an access point as their backhaul, are no clients.
  const stations = new Map([...served].filter(([mac, peer]) => !peer.backhaul_of && !interfaces.has(mac)));
  for (const client of stations.values()) if (client.name) names.set(client.mac, client.name);

  const controllers = new Set(controller ? [controller.al_mac, ...controller.other_controllers] : []);
  for (const node of devices.values()) {
    const its = radios.filter((radio) => radio.device === node.al_mac);
    const roles = [controllers.has(node.al_mac) ? "controller" : "", its.length ? "access-point" : ""];
    nodes.push({
      id: node.al_mac,
      kind: "device",
      name: names.get(node.al_mac),
      classes: ["device", node.state, node.self ? "self" : "", node.blocked.length ? "has-blocked" : "", ...roles],
      device: node,
      agent: agents.get(node.al_mac) || null,
      roles: roles.filter(Boolean).map((role) => role.replace("-", " ")),
      backhaul: peers.find((peer) => peer.backhaul_of === node.al_mac) || null,
      radios: its,
      links: [],
      clients: [],
      hosts: node.hosts.reduce((count, one) => count + one.macs.filter((mac) => !served.has(mac)).length, 0),
    });
  }
  const drawn = new Map(nodes.map((node) => [node.id, node]));

  // The edge of two ports, or of a port and a switch.
  const connect = (id, from, to, ports) => {
    const told = ports.flatMap((port) => links.get(`${port.al_mac} ${port.interface}`) || [])
      .filter((link) => ports.length < 2 || ports.some((port) => port.al_mac === link.to));
    const sent = told.map((link) => link.transmitter).filter(Boolean);
    const type = ports.map((port) => interfaces.get(port.interface)?.type).find(Boolean);
    const medium = MEDIA[type] || type || "";
    const speed = least(sent.map((one) => one.phy_rate).filter(Boolean));
    const availability = least(sent.map((one) => one.link_availability));
    const isCut = ports.some((port) => blocked.get(port.al_mac)?.has(port.interface));
    const isUnknown = ports.some((port) => !port.interface || devices.get(port.al_mac)?.state !== "answered");
    const isPoor = sent.length > 0 && availability < POOR;
    const state = isCut ? "blocked" : isUnknown ? "unknown" : isPoor ? "poor" : "ok";
    const rcpi = told.map((link) => link.receiver?.rcpi).find((value) => value !== undefined && value <= 220);
    const parts = [isCut ? "blocked" : "", medium === "Ethernet" ? "" : medium, speedText(speed),
      isPoor ? `${availability} % available` : "", rcpi === undefined ? "" : dbmText(rcpi / 2 - 110)];
    edges.push({
      id, from, to, medium, speed, availability, state, told, ports,
      label: parts.filter(Boolean).join(" · "),
      classes: ["edge", medium === "Wi-Fi" ? "wifi" : medium && medium !== "Ethernet" ? "other" : "", state],
      width: !speed ? 1.5 : speed >= 10000 ? 4 : speed >= 2500 ? 3.4 : speed >= 1000 ? 2.8 : speed >= 300 ? 2.2 : 1.6,
    });
    for (const end of [from, to]) drawn.get(end)?.links.push(edges.at(-1));
  };

  for (const segment of topology.segments || []) {
    const ports = segment.ports.filter((port) => devices.has(port.al_mac));
    const key = ports.map((port) => `${port.al_mac} ${port.interface}`).join(" ");
    if (!segment.switch) {
      if (ports.length === 2) connect(key, ports[0].al_mac, ports[1].al_mac, ports);
      continue;
    }
    const id = `switch ${ports[0]?.al_mac} ${ports[0]?.interface}`;
    const hub = { id, kind: "switch", name: "switch", classes: ["switch"], links: [], ports };
    nodes.push(hub);
    drawn.set(id, hub);
    for (const port of ports) connect(`${id} ${port.al_mac} ${port.interface}`, port.al_mac, id, [port]);
  }

  for (const node of topology.nodes) {
    for (const { interface: port, macs: all } of node.hosts) {
      const macs = all.filter((mac) => !served.has(mac));
      const add = (id, name) => {
        nodes.push({ id, kind: "host", name, classes: ["host"], links: [], behind: node.al_mac, macs });
        edges.push({ id: `${id} -`, from: node.al_mac, to: id, state: "ok", label: "", classes: ["edge", "host"], width: 1.2, told: [], ports: [], isHost: true });
      };
      if (macs.length > MOST_HOSTS) add(`hosts ${node.al_mac} ${port}`, `${macs.length} hosts`);
      else for (const mac of macs) add(`host ${node.al_mac} ${port} ${mac}`, names.get(mac) || mac);
    }
  }
  // A backhaul of which the devices themselves have not told.
  for (const { backhaul_of: mac, device, bssid, mac: station, sends, signal, isLost } of peers) {
    if (!drawn.has(mac) || edges.some(({ from, to }) => (from === mac && to === device) || (from === device && to === mac))) continue;
    const [speed, state] = [sends ? Math.round(sends.rate / 1000) : null, isLost ? "unknown" : "ok"];
    edges.push({
      id: `backhaul ${station}`, from: device, to: mac, medium: "Wi-Fi", speed, availability: null, state, told: [],
      ports: [{ al_mac: device, interface: bssid }, { al_mac: mac, interface: station }],
      label: ["Wi-Fi", speedText(speed), dbmText(signal)].filter(Boolean).join(" · "), classes: ["edge", "wifi", state], width: 2.2,
    });
    for (const end of [device, mac]) drawn.get(end)?.links.push(edges.at(-1));
  }
  for (const client of stations.values()) {
    const id = `client ${client.mac}`;
    const { signal, device } = client;
    const state = client.isLost ? "unknown" : signal !== null && signal < WEAK ? "poor" : "ok";
    const classes = ["edge", "wifi", "leaf", state];
    edges.push({ id: `${id} ${device}`, from: device, to: id, state, label: dbmText(signal), classes, width: 1.4, told: [], ports: [], isHost: true });
    nodes.push({ id, kind: "client", name: names.get(client.mac) || client.mac, classes: ["client"], links: [], behind: device, macs: [client.mac], client });
    drawn.get(device)?.clients.push(nodes.at(-1));
  }
  for (const node of nodes) node.description = describe(node, names);
  return { name: topology.name, self: topology.al_mac, nodes, edges, names, interfaces, devices, radios, peers, controller };
}

/** What a screen reader says of a node. */
function describe(node, names) {
  if (node.kind === "client") {
    const { ssid, device, signal } = node.client;
    return [`client ${node.name}`, ssid, `at ${names.get(device) || device}`, dbmText(signal)].filter(Boolean).join(", ");
  }
  if (node.kind === "host") return node.macs.length > MOST_HOSTS ? node.name : `host ${node.name}`;
  const links = node.links.length === 1 ? "1 link" : `${node.links.length} links`;
  if (node.kind === "switch") return `switch, ${links}`;
  const { device } = node;
  const some = (number, what) => (number ? `${number} ${what}${number === 1 ? "" : "s"}` : "");
  return [`device ${node.name}`, ...node.roles, stateText(node), links, some(node.hosts, "host"), some(node.clients.length, "client"),
    some(device.blocked.length, "blocked interface")].filter(Boolean).join(", ");
}

/** Of a device; for the agent of a controller, also in which state that is, unless all is well. */
export function stateText({ device, agent }) {
  return (device.self ? "this node" : STATES[device.state] || device.state) + (agent && agent.state !== "joined" ? `, agent ${agent.state}` : "");
}

const EVENTS = {
  NEIGHBOR_FOUND: "found neighbor", NEIGHBOR_LOST: "lost neighbor", DEVICE_FOUND: "found device", DEVICE_LOST: "lost device",
  CONTROLLER_FOUND: "found controller", CONTROLLER_LOST: "lost controller", SECOND_CONTROLLER: "second controller:",
  AGENT_FOUND: "found agent", AGENT_LOST: "lost agent", CHANNEL_CHANGED: "new channel:", ORDER_DONE: "done:", ORDER_FAILED: "failed:",
  ORDER_OBEYED: "obeyed:", ORDER_REFUSED: "refused:",
};

/** The text of an event of meshd(8), in words and with the names of addresses. Unknown ones are shown as they are. */
export function eventText(event, data, names) {
  const named = data.replace(/\b(?:[0-9A-F]{2}:){5}[0-9A-F]{2}\b/g, (mac) => names.get(mac) || mac);
  const [mac, port] = data.split(" ");
  if (event === "CLIENT_JOINED" || event === "CLIENT_LEFT") {
    return `${names.get(mac) || mac} ${event === "CLIENT_LEFT" ? "left" : "joined"} ${names.get(port) || port || ""}`.trim();
  }
  if (event.startsWith("NEIGHBOR") && port) return `${EVENTS[event]} ${names.get(mac) || mac} on ${data.slice(mac.length + 1)}`;
  return `${EVENTS[event] || event} ${named}`;
}
