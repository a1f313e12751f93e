// The channels of the radios, on a ruler for each band.
import { draw } from "./map.js";

const WIDTH = 300;
const LANE = 20;
/** Frequencies in MHz, and channels at `zero` + 5 * channel. */
const BANDS = {
  "2.4 GHz": { from: 2398, to: 2498, zero: 2407, ticks: [1, 6, 11] },
  "5 GHz": { from: 5145, to: 5905, zero: 5000, ticks: [36, 64, 100, 132] },
  "6 GHz": { from: 5925, to: 7125, zero: 5950, ticks: [1, 65, 129, 193] },
};

export class RulerView {
  constructor(section) {
    this.section = section;
  }

  show(radios) {
    const bands = Object.keys(BANDS).filter((band) => radios.some((radio) => radio.band === band));
    const rulers = bands.map((band) => this.ruler(band, radios.filter((radio) => radio.band === band)));
    this.section.hidden = radios.length === 0;
    this.section.querySelector("div").replaceChildren(...rulers, ...radios.filter((radio) => !BANDS[radio.band]).map((radio) => {
      const line = document.createElement("p");
      line.textContent = radio.text;
      return line;
    }));
  }

  ruler(band, radios) {
    const { from, to, zero, ticks } = BANDS[band];
    const at = (frequency) => ((frequency - from) / (to - from)) * WIDTH;
    const height = radios.length * LANE;
    const svg = draw("svg", { viewBox: `0 -2 ${WIDTH} ${height + 20}`, role: "img", "aria-label": `${band}: ${radios.map((radio) => radio.text).join("; ")}` });
    svg.append(draw("path", { class: "axis", d: `M0 ${height}H${WIDTH}` }));
    svg.append(draw("text", { class: "band", x: WIDTH, y: height + 14 }, band));
    for (const channel of ticks) {
      const x = at(zero + 5 * channel);
      svg.append(draw("path", { class: "axis", d: `M${x} ${height}v3` }), draw("text", { class: "tick", x, y: height + 14 }, channel));
    }
    radios.forEach((radio, lane) => {
      const title = draw("title", {}, radio.text);
      for (const [low, high] of radio.ranges) {
        const bar = draw("rect", { class: "channel", x: at(low), y: lane * LANE, width: at(high) - at(low), height: LANE - 4, rx: 2 });
        bar.append(title.cloneNode(true));
        svg.append(bar);
      }
      const [low] = radio.ranges[0] || [from];
      const [, high] = radio.ranges.at(-1) || [from, from];
      // Beside the bar, on the side with more room.
      const isBefore = at(low) > WIDTH - at(high);
      svg.append(draw("text", { class: isBefore ? "ends" : "begins", x: isBefore ? at(low) - 5 : at(high) + 5, y: lane * LANE + 12 }, `${radio.name}: ch. ${radio.channel}, ${radio.width}`));
    });
    return svg;
  }
}
