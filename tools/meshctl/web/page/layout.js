// Where the nodes of a graph are drawn.
import "./d3-force.js";

const LENGTH = { device: 150, switch: 90, host: 46, client: 80 };
const TICKS = { fresh: 260, changed: 120 };
const CALM = 8; // hosts and clients that may come or move while all else stays in place
const NEAR = 400; // what so far away has no say in where they go
const MANY = 150; // nodes from which fewer steps have to do

/** Around the first device, ring by ring, each subtree in a sector as wide as its number of leaves. */
function seed(graph, neighbors) {
  const root = graph.nodes.find((node) => node.id === graph.self) || graph.nodes[0];
  const places = new Map();
  const children = new Map();
  const depth = new Map([[root.id, 0]]);
  const order = [root.id];
  for (const id of order) {
    children.set(id, neighbors.get(id).filter((other) => !depth.has(other) && depth.set(other, depth.get(id) + 1)));
    order.push(...children.get(id));
  }
  const leaves = new Map();
  for (const id of [...order].reverse()) {
    leaves.set(id, children.get(id).reduce((sum, child) => sum + leaves.get(child), 0) || 1);
  }
  const sectors = new Map([[root.id, [0, 2 * Math.PI]]]);
  for (const id of order) {
    const [begin, end] = sectors.get(id);
    const angle = (begin + end) / 2;
    const radius = depth.get(id) * 120;
    places.set(id, { x: radius * Math.cos(angle) * 1.3, y: radius * Math.sin(angle) });
    let next = begin;
    for (const child of children.get(id)) {
      const width = ((end - begin) * leaves.get(child)) / leaves.get(id);
      sectors.set(child, [next, next + width]);
      next += width;
    }
  }
  // Devices without a link stand apart, in a row.
  const lonely = graph.nodes.filter((node) => !places.has(node.id));
  lonely.forEach((node, index) => places.set(node.id, { x: 130 * (index - lonely.length / 2), y: 220 }));
  return places;
}

/** The direction in which there is the most room between points around a center. */
function freeDirection(center, points) {
  const angles = points.map(({ x, y }) => Math.atan2(y - center.y, x - center.x)).sort((a, b) => a - b);
  const gaps = angles.map((angle, index) => ({ angle, gap: (angles[index + 1] ?? angles[0] + 2 * Math.PI) - angle }));
  const widest = gaps.reduce((best, one) => (one.gap > best.gap ? one : best), { angle: 0, gap: 0 });
  return widest.angle + widest.gap / 2;
}

/**
 * Gives each node x and y. Nodes that had a place in `old` keep about that, and exactly that if no device or link comes
 * or goes, so the map is calm while figures change and clients move. The same graph gets the same places.
 */
export function place(graph, old) {
  const neighbors = new Map(graph.nodes.map((node) => [node.id, []]));
  for (const edge of graph.edges) {
    neighbors.get(edge.from).push(edge.to);
    neighbors.get(edge.to).push(edge.from);
  }
  const idsOf = (parts) => parts.map((part) => part.id).sort().join("\n");
  const isLeaf = (node) => node.behind !== undefined;
  const shape = idsOf([...graph.nodes, ...graph.edges]);
  const frame = idsOf([...graph.nodes.filter((node) => !isLeaf(node)), ...graph.edges.filter((edge) => !edge.isHost)]);
  const stayed = graph.nodes.filter((node) => old.places.has(node.id) && old.places.get(node.id).behind === node.behind);
  const isFresh = 2 * stayed.length < graph.nodes.length;
  const isCalm = frame === old.frame && graph.nodes.length - stayed.length <= CALM;
  if (!isFresh) for (const node of stayed) Object.assign(node, old.places.get(node.id));
  if (shape === old.shape) return old;
  if (isCalm) for (const node of stayed) [node.fx, node.fy] = [node.x, node.y];
  const seeds = isFresh ? seed(graph, neighbors) : null;
  const byId = new Map(graph.nodes.map((node) => [node.id, node]));
  const around = (id) => neighbors.get(id).map((other) => byId.get(other)).filter((other) => other.x !== undefined);
  graph.nodes.forEach((node, index) => {
    if (node.x !== undefined) return;
    const near = seeds?.get(node.id) || around(node.id)[0] || { x: 0, y: 0 };
    // Not all at one point, from which no force would part them.
    const angle = near.id ? freeDirection(near, around(near.id)) : index;
    node.x = near.x + (seeds ? 0 : 40 * Math.cos(angle));
    node.y = near.y + (seeds ? 0 : 40 * Math.sin(angle));
  });

  const kinds = new Map(graph.nodes.map((node) => [node.id, node.kind]));
  const length = (edge) => LENGTH[kinds.get(edge.to.id)] || LENGTH.device;
  const moving = graph.nodes.filter((node) => node.fx === undefined);
  const nodes = isCalm ? graph.nodes.filter((node) => moving.some((one) => Math.hypot(node.x - one.x, node.y - one.y) < NEAR)) : graph.nodes;
  const present = new Set(nodes.map((node) => node.id));
  const edges = graph.edges.filter((edge) => present.has(edge.from) && present.has(edge.to));
  const simulation = globalThis.d3.forceSimulation(nodes)
    .alpha(isFresh ? 1 : 0.35)
    .alphaDecay(1 - 0.001 ** (1 / (isFresh ? TICKS.fresh : TICKS.changed)))
    .force("link", globalThis.d3.forceLink(edges.map(({ from, to }) => ({ source: from, target: to, to: { id: to } })))
      .id((node) => node.id).distance(length).strength((edge) => (["host", "client"].includes(kinds.get(edge.to.id)) ? 0.9 : 0.6)))
    .force("charge", globalThis.d3.forceManyBody().strength((node) => ({ device: -620, switch: -320, host: -90, client: -140 })[node.kind]).distanceMax(900))
    .force("apart", globalThis.d3.forceCollide((node) => ({ device: 52, switch: 30, host: 20, client: 26 })[node.kind]))
    .force("x", globalThis.d3.forceX().strength(0.025))
    .force("y", globalThis.d3.forceY().strength(0.04))
    .stop();
  simulation.tick(Math.round((isFresh ? TICKS.fresh : TICKS.changed) * (nodes.length > MANY ? 0.6 : 1)));
  return { shape, frame, places: new Map(graph.nodes.map(({ id, x, y, behind }) => [id, { x, y, behind }])) };
}
