// Which texts of the map are shown, and where: as many as fit without covering each other or a node.

const CELL = 80; // pixels
const GAP = 3; // pixels between texts

/** Boxes on the screen: x and y of the middle, and half of width and height. */
class Room {
  constructor() {
    this.cells = new Map();
  }

  *near({ x, y, w, h }) {
    for (let column = Math.floor((x - w) / CELL); column <= Math.floor((x + w) / CELL); ++column) {
      for (let row = Math.floor((y - h) / CELL); row <= Math.floor((y + h) / CELL); ++row) yield `${column} ${row}`;
    }
  }

  isFree(box) {
    for (const key of this.near(box)) {
      for (const other of this.cells.get(key) || []) {
        if (Math.abs(box.x - other.x) < box.w + other.w && Math.abs(box.y - other.y) < box.h + other.h) return false;
      }
    }
    return true;
  }

  take(box) {
    for (const key of this.near(box)) {
      if (!this.cells.has(key)) this.cells.set(key, []);
      this.cells.get(key).push(box);
    }
  }
}

const context = document.createElement("canvas").getContext("2d");
const widths = new Map();

export function textWidth(text, font) {
  const key = `${font} ${text}`;
  if (!widths.has(key)) {
    context.font = font;
    widths.set(key, context.measureText(text).width);
  }
  return widths.get(key);
}

/**
 * Places labels, the important ones first: objects with `element`, `texts` from best to shortest, `font`, `size` in
 * pixels, `spots` (functions of half of the width that give the middle) and `isNeeded` for one that must be shown.
 * `obstacles` are boxes. All is within `left` and `right`.
 */
export function placeLabels(labels, obstacles, left, right) {
  const room = new Room();
  for (const box of obstacles) room.take(box);
  const find = (label) => {
    for (const text of label.texts) {
      const w = textWidth(text, label.font) / 2;
      for (const spot of label.spots) {
        const box = { ...spot(w), w: w + GAP, h: label.size * 0.6 };
        if (box.x - w >= left && box.x + w <= right && room.isFree(box)) return { box, text };
      }
    }
    if (!label.isNeeded) return null;
    const text = label.texts[0];
    const w = textWidth(text, label.font) / 2;
    return { text, box: { ...label.spots[0](w), w, h: label.size * 0.6 } };
  };
  for (const label of labels) {
    const found = find(label);
    label.element.classList.toggle("hidden", !found);
    if (!found) continue;
    room.take(found.box);
    label.element.setAttribute("x", found.box.x.toFixed(1));
    label.element.setAttribute("y", (found.box.y + label.size * 0.36).toFixed(1));
    if (label.element.textContent !== found.text) label.element.textContent = found.text;
  }
}
