// The map: an SVG that can be moved, zoomed, and walked through with the arrow keys.
import { place } from "./layout.js";
import { placeLabels, textWidth } from "./labels.js";

const SVG = "http://www.w3.org/2000/svg";
const RADIUS = { device: 15, switch: 9, host: 5, client: 6 };
const [HALO, RING] = [9, 5]; // around the selected node, and around ours
const FONT = { device: [600, 13], switch: [400, 11], host: [400, 11], client: [400, 11], edge: [400, 11] }; // weight and pixels
const ZOOM = { least: 0.05, most: 4, step: 1.3, fitted: 1.5 };
const SIZE = { least: 0.45, most: 1.1 }; // of the nodes, which shrink less than the map
const MARGIN = 28;
const FULL = 30; // nodes from which there is room for the names of devices only
const CROWD = 100; // nodes from which names are small
const STRETCH = { least: 0.75, most: 1.7 };
const FAR = 0.5; // scale below which only links that need attention are labelled, and in a crowd no mere addresses
const WAVES = "M0 6.6v.01M-3.6 2.4a5 5 0 0 1 7.2 0M-7.2 -1.4a10.4 10.4 0 0 1 14.4 0"; // of a device with radios
const HEXAGON = "M17 0 8.5 14.7H-8.5L-17 0-8.5-14.7H8.5Z"; // a controller
const EDGE_PLACES = [0.5, 0.4, 0.6, 0.3, 0.7];

/** An element of SVG with these attributes; `text` is its text. */
export function draw(name, attributes = {}, text = undefined) {
  const element = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  if (text !== undefined) element.textContent = text;
  return element;
}

/** The shapes of a device, of which the style shows those of its roles. */
export const deviceShapes = () => [draw("circle", { class: "shape", r: RADIUS.device }), draw("path", { class: "shape hexagon", d: HEXAGON }),
  draw("path", { class: "waves", d: WAVES })];

const shorten = (text) => (text.length > 24 ? `${text.slice(0, 23)}…` : text);
/** What can stand for a name, the best first: of an address, its end. */
const textsOf = (name) => (/^([0-9A-F]{2}:){5}[0-9A-F]{2}$/.test(name) ? [name, `…${name.slice(9)}`] : [shorten(name)]);
const sizeAt = (scale) => Math.min(Math.max(scale, SIZE.least), SIZE.most);

export class MapView {
  /** `reserved` gives the pixels at the bottom where something lies over the map. */
  constructor(svg, onSelect, reserved) {
    this.reserved = reserved;
    this.svg = svg;
    this.onSelect = onSelect;
    this.layout = { shape: "", places: new Map() };
    this.view = { x: 0, y: 0, scale: 1 };
    this.isFitted = true; // until somebody moves it
    this.isTall = false;
    this.stretch = 1;
    this.elements = new Map();
    this.drawn = new Map(); // what each node was drawn behind
    this.family = getComputedStyle(svg).fontFamily;
    this.world = svg.appendChild(draw("g"));
    this.edgeLayer = this.world.appendChild(draw("g", { "aria-hidden": "true" }));
    this.nodeLayer = this.world.appendChild(draw("g"));
    this.labelLayer = this.world.appendChild(draw("g", { "aria-hidden": "true" }));
    this.listen();
  }

  show(graph) {
    const last = this.drawing;
    this.layout = place(graph, this.layout);
    this.drawing = [this.layout.shape, ...graph.nodes.map((node) => node.name)].join("\n");
    this.graph = graph;
    this.svg.classList.toggle("many", graph.nodes.length > CROWD);
    this.nodes = new Map(graph.nodes.map((node) => [node.id, node]));
    const seen = new Set();
    const pairs = new Map();
    for (const edge of graph.edges) {
      // Several links of the same two devices lie beside each other.
      const pair = [edge.from, edge.to].sort().join();
      const count = pairs.get(pair) || 0;
      pairs.set(pair, count + 1);
      edge.bend = Math.ceil(count / 2) * (count % 2 ? 56 : -56) * (edge.from < edge.to ? 1 : -1);
      this.showEdge(edge, seen);
    }
    const isFirst = this.drawn.size === 0;
    for (const node of graph.nodes) this.showNode(node, seen, isFirst);
    for (const [key, element] of this.elements) {
      if (!seen.has(key)) {
        element.remove();
        this.elements.delete(key);
      }
    }
    if (!this.nodes.has(this.current)) this.current = this.nodes.has(graph.self) ? graph.self : graph.nodes[0]?.id;
    this.mark();
    if (this.isFitted && this.drawing !== last) this.fit();
    else this.render();
  }

  element(key, seen, make) {
    seen.add(key);
    if (!this.elements.has(key)) this.elements.set(key, make());
    return this.elements.get(key);
  }

  label(key, seen, className) {
    const label = this.element(`label ${key}`, seen, () => this.labelLayer.appendChild(draw("text")));
    label.setAttribute("class", className);
    return label;
  }

  showEdge(edge, seen) {
    edge.line = this.element(`edge ${edge.id}`, seen, () => this.edgeLayer.appendChild(draw("path")));
    edge.line.setAttribute("class", edge.classes.filter(Boolean).join(" "));
    edge.line.setAttribute("stroke-width", edge.width);
    if (edge.label) edge.text = this.label(`edge ${edge.id}`, seen, ["edge-label", ...edge.classes.slice(1)].filter(Boolean).join(" "));
  }

  showNode(node, seen, isFirst) {
    const radius = RADIUS[node.kind];
    node.group = this.element(`node ${node.id}`, seen, () => {
      const made = this.nodeLayer.appendChild(draw("g", { role: "button", tabindex: -1 }));
      made.dataset.id = node.id;
      const body = made.appendChild(draw("g"));
      body.append(draw("circle", { class: "halo", r: radius + HALO }));
      if (node.kind === "device") body.append(...deviceShapes());
      else if (node.kind !== "switch") body.append(draw("circle", { class: "shape", r: radius }));
      else body.append(draw("rect", { class: "shape", x: -radius, y: -radius, width: 2 * radius, height: 2 * radius, rx: 2 }));
      if (node.id === this.graph.self) body.append(draw("circle", { class: "ring", r: radius + RING }));
      made.append(draw("title"));
      return made;
    });
    const place = node.behind || "";
    const isNew = !isFirst && this.drawn.get(node.id) !== place; // also if it moved
    this.drawn.set(node.id, place);
    node.group.setAttribute("class", ["node", ...node.classes, isNew ? "new" : ""].filter(Boolean).join(" "));
    node.group.setAttribute("aria-label", node.description);
    node.group.querySelector("title").textContent = node.description;
    node.text = this.label(`node ${node.id}`, seen, ["name", ...node.classes].filter(Boolean).join(" "));
  }

  /** Where a node is on the screen, but for the shift. The map is turned and stretched to the form of the screen. */
  at(node, scale = this.view.scale) {
    const [x, y] = this.isTall ? [node.y, node.x] : [node.x, node.y];
    return { x: x * scale * this.stretch, y: y * scale };
  }

  font(kind) {
    const [weight, most] = FONT[kind];
    const size = this.graph.nodes.length > CROWD ? Math.min(most, 11) : most;
    return { size, font: `${weight} ${size}px ${this.family}` };
  }

  /** -1 if the text of a host belongs to the left of it, away from its device, else 1. */
  side(node) {
    return this.at(node).x < this.at(this.nodes.get(node.behind)).x ? -1 : 1;
  }

  render() {
    const { scale } = this.view;
    const size = sizeAt(scale);
    for (const node of this.graph.nodes) {
      const { x, y } = this.at(node);
      node.group.setAttribute("transform", `translate(${x.toFixed(1)} ${y.toFixed(1)})`);
      node.group.firstChild.setAttribute("transform", `scale(${size.toFixed(3)})`);
    }
    for (const edge of this.graph.edges) {
      const [from, to] = [this.at(this.nodes.get(edge.from)), this.at(this.nodes.get(edge.to))];
      const distance = Math.hypot(to.x - from.x, to.y - from.y) || 1;
      const bend = edge.bend * scale;
      const middle = { x: (from.x + to.x) / 2 - (bend * (to.y - from.y)) / distance, y: (from.y + to.y) / 2 + (bend * (to.x - from.x)) / distance };
      edge.point = (t) => ({ x: (1 - t) ** 2 * from.x + 2 * t * (1 - t) * middle.x + t * t * to.x, y: (1 - t) ** 2 * from.y + 2 * t * (1 - t) * middle.y + t * t * to.y });
      edge.line.setAttribute("d", `M${from.x} ${from.y}Q${middle.x} ${middle.y} ${to.x} ${to.y}`);
    }
    this.renderLabels();
    this.apply();
  }

  renderLabels() {
    const size = sizeAt(this.view.scale);
    const weight = (node) => (node.id === this.selected || node.id === this.current ? 1000 : 0) + (node.id === this.graph.self ? 500 : 0) +
      ({ device: 100, client: 20, host: 10, switch: 0 })[node.kind] + node.links.length;
    const isCrowd = this.graph.nodes.length > CROWD;
    const obstacles = this.graph.nodes.filter((node) => !isCrowd || !node.behind).map((node) => {
      const radius = RADIUS[node.kind] * size + 1;
      return { ...this.at(node), w: radius, h: radius };
    });
    const labels = this.graph.nodes.map((node) => {
      const { x, y } = this.at(node);
      const { size: high, font } = this.font(node.kind);
      const ring = node.id === this.selected ? HALO : node.id === this.graph.self ? RING : 0;
      const away = (RADIUS[node.kind] + ring) * size + 3;
      const down = away + high * 0.65;
      const beside = (side) => (w) => ({ x: x + side * (away + w + 2), y });
      const below = () => ({ x, y: y + down });
      const above = () => ({ x, y: y - down });
      const side = node.behind ? this.side(node) : 1;
      const aslant = (dx, dy) => (w) => ({ x: x + dx * (away * 0.7 + w), y: y + dy * (away * 0.7 + high * 0.4) });
      const slants = [aslant(1, 1), aslant(-1, 1), aslant(1, -1), aslant(-1, -1)];
      const isNeeded = node.id === this.selected;
      const isNoise = isCrowd && !isNeeded && this.view.scale < FAR && node.name === node.macs?.[0];
      const spots = isNoise ? [] : node.behind ? [beside(side), below, above, beside(-side)] : [below, above, beside(1), beside(-1), ...slants];
      return { element: node.text, texts: textsOf(node.name), font, size: high, spots, weight: weight(node), isNeeded };
    });
    for (const edge of this.graph.edges) {
      if (!edge.text) continue;
      if (this.view.scale < FAR && edge.state === "ok") {
        edge.text.classList.add("hidden");
        continue;
      }
      const { size: high, font } = this.font("edge");
      labels.push({ element: edge.text, texts: [edge.label], font, size: high, spots: EDGE_PLACES.map((t) => () => edge.point(t)), weight: 50 });
    }
    // Of the whole map, no name is cut off by the border.
    const [left, right] = this.isFitted ? [-this.view.x, this.svg.getBoundingClientRect().width - this.view.x] : [-Infinity, Infinity];
    placeLabels(labels.sort((a, b) => b.weight - a.weight), obstacles, left, right);
  }

  select(id) {
    this.selected = id;
    if (id) this.current = id;
    if (!this.graph) return;
    this.mark();
    this.renderLabels();
  }

  mark() {
    for (const element of this.nodeLayer.children) {
      element.classList.toggle("selected", element.dataset.id === this.selected);
      element.setAttribute("tabindex", element.dataset.id === this.current ? 0 : -1);
      element.setAttribute("aria-pressed", element.dataset.id === this.selected);
    }
  }

  focus(id) {
    this.current = id;
    this.mark();
    this.renderLabels();
    this.elements.get(`node ${id}`).focus({ preventScroll: true });
    this.reveal(id);
  }

  /** Moves the map so that a node is seen, also if its lowest pixels are covered. */
  reveal(id, covered = 0) {
    if (!this.nodes?.has(id)) return;
    const { x, y } = this.at(this.nodes.get(id));
    const { width, height } = this.svg.getBoundingClientRect();
    const into = (value, most) => Math.min(Math.max(value, 2 * MARGIN), most - 2 * MARGIN) - value;
    this.move(into(x + this.view.x, width), into(y + this.view.y, height - covered));
  }

  /** The node next to the current one in a direction: near, and not far off to the side. */
  next(dx, dy) {
    const here = this.at(this.nodes.get(this.current));
    const cost = (node) => {
      const there = this.at(node);
      const along = (there.x - here.x) * dx + (there.y - here.y) * dy;
      const aside = Math.abs((there.x - here.x) * dy) + Math.abs((there.y - here.y) * dx);
      return along > 1 ? along + 2 * aside : Infinity;
    };
    return this.graph.nodes.reduce((best, node) => (cost(node) < (best ? cost(best) : Infinity) ? node : best), null);
  }

  // ---- What is seen of it

  apply() {
    this.world.setAttribute("transform", `translate(${this.view.x.toFixed(1)} ${this.view.y.toFixed(1)})`);
  }

  move(dx, dy) {
    this.view.x += dx;
    this.view.y += dy;
    this.apply();
  }

  zoom(factor, at = undefined) {
    if (!this.graph) return;
    const { width, height } = this.svg.getBoundingClientRect();
    const [x, y] = at || [width / 2, height / 2];
    const scale = Math.min(Math.max(this.view.scale * factor, ZOOM.least), ZOOM.most);
    const change = scale / this.view.scale;
    this.view = { scale, x: x - (x - this.view.x) * change, y: y - (y - this.view.y) * change };
    this.isFitted = false;
    this.render();
  }

  /** What the nodes and their names take at a scale. */
  extent(scale) {
    const isFull = this.graph.nodes.length > FULL;
    const box = { left: Infinity, right: -Infinity, top: Infinity, bottom: -Infinity };
    const size = sizeAt(scale);
    for (const node of this.graph.nodes) {
      const { x, y } = this.at(node, scale);
      const radius = (RADIUS[node.kind] + 5) * size;
      const width = textWidth(textsOf(node.name).at(-1), this.font(node.kind).font);
      const side = node.behind ? this.side(node) : 0;
      if (side && isFull) continue;
      const [before, after] = side === 0 ? [width / 2, width / 2] : side < 0 ? [width + radius, 0] : [0, width + radius];
      box.left = Math.min(box.left, x - Math.max(radius, before));
      box.right = Math.max(box.right, x + Math.max(radius, after));
      box.top = Math.min(box.top, y - radius);
      box.bottom = Math.max(box.bottom, y + radius + (side ? 0 : this.font(node.kind).size + 4));
    }
    return box;
  }

  /** Shows the whole map, as large as it can be, above the legend. */
  fit() {
    this.isFitted = true;
    const { width, height } = this.svg.getBoundingClientRect();
    if (!this.graph?.nodes.length || !width || !height) return;
    const room = { width: width - 2 * MARGIN, height: height - 2 * MARGIN - this.reserved() };
    this.isTall = height > 1.2 * width;
    const largest = () => {
      const fits = (scale) => {
        const { left, right, top, bottom } = this.extent(scale);
        return right - left <= room.width && bottom - top <= room.height;
      };
      let [least, most] = fits(ZOOM.fitted) ? [ZOOM.fitted, ZOOM.fitted] : [ZOOM.least, ZOOM.fitted];
      while (most - least > 0.005) {
        const middle = (least + most) / 2;
        [least, most] = fits(middle) ? [middle, most] : [least, middle];
      }
      return least;
    };
    // The stretch with which the map takes the most room.
    let best = { area: 0 };
    for (this.stretch = STRETCH.least; this.stretch <= STRETCH.most; this.stretch += 0.1) {
      const scale = largest();
      const area = scale * scale * this.stretch;
      if (area > best.area * 1.001) best = { area, scale, stretch: this.stretch };
    }
    this.stretch = best.stretch;
    const { left, right, top, bottom } = this.extent(best.scale);
    this.view = { scale: best.scale, x: width / 2 - (left + right) / 2, y: MARGIN + room.height / 2 - (top + bottom) / 2 };
    this.render();
  }

  listen() {
    const pointers = new Map();
    let moved = 0;
    const spread = () => {
      const [a, b] = [...pointers.values()];
      return Math.hypot(a.x - b.x, a.y - b.y);
    };
    this.svg.addEventListener("pointerdown", (event) => {
      pointers.set(event.pointerId, { x: event.clientX, y: event.clientY });
      moved = 0;
    });
    this.svg.addEventListener("pointermove", (event) => {
      const last = pointers.get(event.pointerId);
      if (!last) return;
      const before = pointers.size === 2 ? spread() : 0;
      const [dx, dy] = [event.clientX - last.x, event.clientY - last.y];
      moved += Math.abs(dx) + Math.abs(dy);
      pointers.set(event.pointerId, { x: event.clientX, y: event.clientY });
      if (moved < 4) return;
      if (!this.svg.hasPointerCapture(event.pointerId)) this.svg.setPointerCapture(event.pointerId);
      this.svg.classList.add("dragging");
      this.isFitted = false;
      this.move(dx / pointers.size, dy / pointers.size);
      if (before) {
        const box = this.svg.getBoundingClientRect();
        const [a, b] = [...pointers.values()];
        this.zoom(spread() / before, [(a.x + b.x) / 2 - box.x, (a.y + b.y) / 2 - box.y]);
      }
    });
    for (const end of ["pointerup", "pointercancel"]) {
      this.svg.addEventListener(end, (event) => {
        pointers.delete(event.pointerId);
        this.svg.classList.remove("dragging");
      });
    }
    this.svg.addEventListener("click", (event) => {
      if (moved < 4) this.onSelect(event.target.closest(".node")?.dataset.id || null);
    });
    this.svg.addEventListener("wheel", (event) => {
      event.preventDefault();
      const box = this.svg.getBoundingClientRect();
      this.zoom(2 ** (-event.deltaY / (event.deltaMode ? 12 : 400)), [event.clientX - box.x, event.clientY - box.y]);
    }, { passive: false });
    this.svg.addEventListener("focusin", (event) => {
      const id = event.target.closest(".node")?.dataset.id;
      if (id && id !== this.current) {
        this.current = id;
        this.mark();
        this.renderLabels();
      }
    });
    this.svg.addEventListener("keydown", (event) => {
      const directions = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
      if (event.ctrlKey || event.altKey || event.metaKey) return;
      if (directions[event.key]) {
        const node = this.next(...directions[event.key]);
        if (node) this.focus(node.id);
      } else if (event.key === "Enter" || event.key === " ") this.onSelect(this.current);
      else if (event.key === "Escape") this.onSelect(null);
      else if (event.key === "+" || event.key === "=") this.zoom(ZOOM.step);
      else if (event.key === "-") this.zoom(1 / ZOOM.step);
      else if (event.key === "0") this.fit();
      else return;
      event.preventDefault();
    });
    new ResizeObserver(() => this.isFitted && this.fit()).observe(this.svg);
  }
}
