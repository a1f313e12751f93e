// The radios and clients of the mesh: what this node knows of its own, and what a controller knows of all.

/** The bands of the ruler: frequencies in MHz, channels at `zero` + 5 * channel, and the channels that people use. */
const every = (step, first, last) => Array.from({ length: (last - first) / step + 1 }, (_, index) => first + step * index);
export const BANDS = {
  "2.4 GHz": { from: 2398, to: 2498, zero: 2407, ticks: [1, 6, 11], widths: [20, 40], usual: every(1, 1, 13) },
  "5 GHz": { from: 5145, to: 5905, zero: 5000, ticks: [36, 64, 100, 132], widths: [20, 40, 80, 160],
    usual: [...every(4, 36, 64), ...every(4, 100, 144), ...every(4, 149, 177)] },
  "6 GHz": { from: 5925, to: 7125, zero: 5950, ticks: [1, 65, 129, 193], widths: [20, 40, 80, 160], usual: every(16, 5, 229) },
};

const clientCount = (number) => `${number} client${number === 1 ? "" : "s"}`;
export const isAccessPoint = (role) => role === "AP" || role === "AP_VLAN";

/** What is known of an object: without the members that are null or empty. */
const known = (object) => Object.fromEntries(Object.entries(object).filter(([, value]) => value !== null && value !== ""));

/** The range in MHz around a primary channel. Wide channels of 5 and 6 GHz lie in a raster (IEEE 802.11-2020, Annex E). */
function rangeAround(band, channel, width) {
  const middle = BANDS[band].zero + 5 * channel;
  if (width <= 20) return [middle - 10, middle + 10];
  // On which side the other half is, nobody tells; there is more room in the middle of the band.
  if (band === "2.4 GHz") return channel <= 7 ? [middle - 10, middle + 30] : [middle - 30, middle + 10];
  const lowest = band === "6 GHz" ? 1 : channel < 149 ? 36 : 149;
  const begin = middle - 10 - 5 * ((channel - lowest) % (width / 5));
  return [begin, begin + width];
}

function radioOfAgent(agent, radio) {
  const clients = radio.bss.reduce((sum, bss) => sum + bss.clients.filter((one) => !one.backhaul_of).length, 0);
  const width = Number.parseInt(radio.channel_width, 10) || 20;
  return {
    id: radio.radio_id, device: agent.al_mac, name: "", band: radio.band, bands: [radio.band].filter(Boolean), channel: radio.channel,
    width: radio.channel_width || "", ranges: BANDS[radio.band] ? [rangeAround(radio.band, radio.channel, width)] : [],
    utilization: radio.utilization, noise: null, power: radio.power, dfs_state: null, clients, interfaces: [],
    bss: radio.bss.map(({ bssid, ssid }) => ({ bssid, ssid })), isManaged: agent.state !== "lost",
  };
}

function radioOfOurs(self, radio) {
  const { primary_freq: primary, primary_center: center, channel_width: width, secondary_center: second, max_power: power } = radio.channel_info || {};
  const half = (center && Number.parseInt(width, 10) / 2) || 10;
  return {
    id: radio.name, device: self, name: radio.name, band: radio.band, bands: radio.bands, channel: radio.channel, width: width || "",
    ranges: [center || primary, second].filter(Boolean).map((middle) => [middle / 1000 - half, middle / 1000 + half]).sort((a, b) => a[0] - b[0]),
    utilization: radio.utilization, noise: radio.noise, power: power ?? null, dfs_state: radio.dfs_state,
    clients: radio.interfaces.reduce((sum, one) => sum + (one.clients || 0), 0), interfaces: radio.interfaces.map((one) => one.name),
    bss: radio.interfaces.filter((one) => one.ssid).map(({ bssid, ssid }) => ({ bssid, ssid })), isManaged: false,
  };
}

/**
 * The radios of all devices, each once, those of the device `self` first; `names` are those of devices. Each has `ranges`
 * in MHz that it occupies, `clients` (a count), `bss` (with bssid and ssid), `label`, `facts` (a text) and `isManaged`,
 * which means that the controller can give it orders.
 */
export function listRadios(answer, controller, self, names) {
  const told = (controller?.agents || []).flatMap((agent) => agent.radios.map((radio) => radioOfAgent(agent, radio)));
  const ours = (answer?.radios || []).map((radio) => {
    const own = radioOfOurs(self, radio);
    const index = told.findIndex((one) => one.id === radio.radio_id);
    if (index < 0) return own;
    const [same] = told.splice(index, 1);
    const { id, bss, isManaged } = same;
    const { channel, width, ranges } = own; // null where it is off
    return { ...same, ...known(own), id, bss, isManaged, channel, width, ranges };
  });
  return [...ours, ...told].map((radio) => {
    const facts = [radio.channel !== null ? `channel ${radio.channel}` : radio.name ? "off" : "channel unknown", radio.width,
      radio.utilization === null ? "" : `${radio.utilization} % busy`, radio.dfs_state ? radio.dfs_state.toLowerCase().replaceAll("_", " ") : "",
      clientCount(radio.clients)].filter(Boolean).join(", ");
    const label = controller ? names.get(radio.device) || radio.device : radio.name;
    return { ...radio, label, facts, text: `${label}, ${facts}` };
  });
}

/** "5 GHz, channel 36". */
export const channelText = (radio) => [radio.band || radio.bands.join(", "), radio.channel === null ? "" : `channel ${radio.channel}`].filter(Boolean).join(", ");

function peersOfAgents(controller) {
  const peers = [];
  for (const agent of controller?.agents || []) {
    for (const radio of agent.radios) {
      for (const { bssid, ssid, clients } of radio.bss) {
        for (const client of clients) {
          peers.push({
            ...client, role: "AP", device: agent.al_mac, bssid, ssid, radio: radio.radio_id, interface: "", security: null,
            sends: client.downlink_rate ? { rate: 1000 * client.downlink_rate } : null,
            receives: client.uplink_rate ? { rate: 1000 * client.uplink_rate } : null,
            isLost: agent.state === "lost", isManaged: true,
          });
        }
      }
    }
  }
  return peers;
}

const peerOfOurs = (self, radios) => (client) => ({
  mac: client.mac, name: client.name, role: client.role, device: self, bssid: client.bssid, ssid: client.ssid, interface: client.interface,
  radio: radios.find((radio) => radio.device === self && radio.interfaces.includes(client.interface))?.id ?? null,
  signal: client.average_signal ?? client.signal, sends: client.send_rate, receives: client.receive_rate, security: client.security,
  connected: client.connected, backhaul_of: null, isLost: false,
});

/** Whether a client that two agents say they have is rather at the first: the one that it joined last, if it is there. */
const isRather = (one, other) => (one.isLost !== other.isLost ? other.isLost : (one.connected ?? Infinity) <= (other.connected ?? Infinity));

/**
 * What the radios of all devices talk to. Clients, and backhaul stations (`backhaul_of`), come once each: where they are
 * now, with the facts of all who know them. `sends` and `receives` are rates of meshctl(1), as the device of the
 * access point sees them, and `radio` is an id of listRadios(). With `isManaged`, the controller knows the client.
 */
export function listPeers(answer, controller, radios, self) {
  const stations = new Map();
  const others = [];
  for (const peer of peersOfAgents(controller)) {
    const same = stations.get(peer.mac);
    if (!same || isRather(peer, same)) stations.set(peer.mac, peer);
  }
  for (const peer of (answer?.clients || []).map(peerOfOurs(self, radios))) {
    const told = stations.get(peer.mac);
    if (!isAccessPoint(peer.role)) others.push(peer);
    // An access point may keep a client long after that went to another one.
    else if (!told || told.isLost || told.bssid === peer.bssid) stations.set(peer.mac, { ...told, ...known(peer) });
  }
  return [...stations.values(), ...others];
}
