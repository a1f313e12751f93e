// The channels of the radios, on a ruler for each band. Radios on the same channel share a lane.
import { textWidth } from "./labels.js";
import { draw } from "./map.js";
import { BANDS, channelText } from "./wifi.js";

const RULER = 300; // pixels
const LANE = { few: 20, many: 15 }; // pixels
const MOST_LANES = 8; // that are high
const MOST_NAMES = 6; // of a lane, that are read out
const MOST_LINES = 3; // for radios without a channel
const BESIDE = 5; // pixels between a bar and its text

const count = (radios) => `${radios.length} radios`;
const named = (radios) => radios.map((radio) => radio.label).join(", ");

/** What a lane says, the best first; the width of the channel can be seen. */
function laneTexts(radios, marked) {
  const [{ channel, width }] = radios;
  const channels = [`ch. ${channel}, ${width}`, `ch. ${channel}`];
  const mark = radios.length > 1 && radios.find((radio) => marked.has(radio.id));
  const whose = radios.length === 1 ? [named(radios), `${radios[0].label.slice(0, 9)}…`]
    : [named(radios), ...(mark ? [`${mark.label} + ${radios.length - 1}`] : []), count(radios), `${radios.length}`];
  return whose.flatMap((who) => channels.map((text) => `${who}: ${text}`));
}

/** What a screen reader says of a lane. */
function describeLane(radios) {
  if (radios.length === 1) return radios[0].text;
  return `${[`channel ${radios[0].channel}`, radios[0].width].filter(Boolean).join(", ")}: ${radios.length > MOST_NAMES ? count(radios) : named(radios)}`;
}

export class RulerView {
  constructor(section) {
    this.section = section;
    this.family = getComputedStyle(section).fontFamily;
  }

  /** Radios of listRadios(); those whose ids are in `marked` stand out. */
  show(radios, marked) {
    const shown = JSON.stringify([radios.map((radio) => [radio.text, radio.band, radio.ranges]), [...marked]]);
    if (shown === this.shown) return;
    this.shown = shown;
    this.section.hidden = radios.length === 0;
    const on = (radio) => BANDS[radio.band] && radio.ranges.length > 0;
    const rulers = Object.keys(BANDS).map((band) => [band, radios.filter((radio) => radio.band === band && on(radio))])
      .filter(([, its]) => its.length).map(([band, its]) => this.ruler(band, its, marked));
    const rest = radios.filter((radio) => !on(radio));
    const lines = rest.length > MOST_LINES ? [`${count(rest)} without a channel`] : rest.map((radio) => radio.text);
    const holder = this.section.querySelector("div");
    holder.replaceChildren(...rulers, ...lines.map((text) => Object.assign(document.createElement("p"), { textContent: text })));
    // The keyboard scrolls what has the focus.
    if (holder.scrollHeight > holder.clientHeight) holder.tabIndex = 0;
    else holder.removeAttribute("tabindex");
  }

  ruler(band, radios, marked) {
    const { from, to, zero, ticks } = BANDS[band];
    const at = (frequency) => ((frequency - from) / (to - from)) * RULER;
    const lanes = new Map();
    for (const radio of radios) {
      const key = `${radio.ranges} ${radio.channel}`;
      lanes.set(key, [...(lanes.get(key) || []), radio]);
    }
    const sorted = [...lanes.values()].sort(([{ ranges: [a] }], [{ ranges: [b] }]) => a[0] - b[0] || a[1] - b[1]);
    const high = sorted.length > MOST_LANES ? LANE.many : LANE.few;
    const height = sorted.length * high;
    const isSome = radios.some((radio) => marked.has(radio.id));
    const label = `${band}: ${sorted.map(describeLane).join("; ")}`;
    const svg = draw("svg", { class: isSome ? "some" : "", viewBox: `0 -2 ${RULER} ${height + 20}`, role: "img", "aria-label": label });
    svg.append(draw("path", { class: "axis", d: `M0 ${height}H${RULER}` }));
    svg.append(draw("text", { class: "band", x: RULER, y: height + 14 }, band));
    for (const channel of ticks) {
      const x = at(zero + 5 * channel);
      svg.append(draw("path", { class: "axis", d: `M${x} ${height}v3` }), draw("text", { class: "tick", x, y: height + 14 }, channel));
    }
    sorted.forEach((its, index) => svg.append(this.lane(its, marked, at, index * high, high)));
    return svg;
  }

  lane(radios, marked, at, y, high) {
    const isMarked = radios.some((radio) => marked.has(radio.id));
    const group = draw("g", { class: isMarked ? "lane marked" : "lane" });
    group.append(draw("title", {}, radios.length === 1 ? radios[0].text : `${channelText(radios[0])}: ${named(radios)}`));
    const { ranges } = radios[0];
    for (const [low, top] of ranges) group.append(draw("rect", { class: "channel", x: at(low), y, width: at(top) - at(low), height: high - 4, rx: 2 }));
    // Beside the bar, on the side with more room.
    const [before, after] = [at(ranges[0][0]) - BESIDE, at(ranges.at(-1)[1]) + BESIDE];
    const isBefore = before > RULER - after;
    const texts = laneTexts(radios, marked);
    const font = `${isMarked ? 700 : 400} 10.5px ${this.family}`;
    const text = texts.find((one) => textWidth(one, font) <= Math.max(before, RULER - after)) || texts.at(-1);
    group.append(draw("text", { class: isBefore ? "ends" : "begins", x: isBefore ? before : after, y: y + high / 2 + 2 }, text));
    return group;
  }
}
