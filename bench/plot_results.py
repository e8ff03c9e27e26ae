#!/usr/bin/env python3
"""Draws the conversion benchmark's results as an SVG chart.

Reads the results file that conversion_bench writes (JSON) and draws one
panel per conversion, the two directions of a character set side by side.
In a panel, each corpus has one horizontal bar per backend: its median input
MB/s on a logarithmic axis shared by all panels, so that the slow CJK corpora
stay readable next to English and panels compare with each other. memcpy of
the same input is drawn too (grey), as the bandwidth reference. Our bars
carry their ratio to the best peer of that corpus ("4.3x ICU ucnv"). Where
the file records the spread of the rounds (mb_per_s_spread: min, q1, q3,
max), a whisker over each bar's end shows it: a line from the slowest to the
fastest round and a box over the middle half. Standard library only.

Usage: plot_results.py RESULTS.json OUT.svg
"""

import json
import math
import sys
from xml.sax.saxutils import escape

COLOURS = {
    "kelulib": "#1f77b4",
    "kelulib flat": "#6baed6",
    "ICU ucnv": "#d62728",
    "ICU u_str": "#ff9896",
    "iconv": "#2ca02c",
    "simdutf": "#9467bd",
    "memcpy": "#b0b0b0",
}
BACKENDS = list(COLOURS)
OURS = {"kelulib", "kelulib flat"}

BAR = 11            # height of one bar
BAR_GAP = 1         # between the bars of a corpus
CORPUS_GAP = 7      # between corpora
PANEL_WIDTH = 470   # the plotting area of a panel
LABEL_WIDTH = 96    # corpus and backend names left of the bars
PANEL_TITLE = 30    # above the bars
PANEL_AXIS = 32     # below the bars: tick labels and the unit
PANEL_GAP_X = 40
PANEL_GAP_Y = 18
MARGIN = 20
HEADER = 92         # title, subtitle, legend


def conversions_of(results):
    """[(conversion, [(corpus, {backend: result})])] in the file's order."""
    conversions = []
    index = {}
    for r in results:
        if r["backend"] not in COLOURS:
            continue
        conversion = r["conversion"]
        if conversion not in index:
            index[conversion] = len(conversions)
            conversions.append((conversion, []))
        corpora = conversions[index[conversion]][1]
        if not corpora or corpora[-1][0] != r["corpus"]:
            corpora.append((r["corpus"], {}))
        corpora[-1][1][r["backend"]] = r
    return conversions


def panel_rows(conversions):
    """The panels two by two: "X -> UTF-16" beside "UTF-16 -> X"."""
    rows = []
    for i in range(0, len(conversions), 2):
        rows.append(conversions[i:i + 2])
    return rows


def axis_range(results):
    """From the 1, 2 or 5 times a power of ten below every value (spread
    included) to the one above."""
    values = []
    for r in results:
        if r["backend"] not in COLOURS:
            continue
        values.append(r["mb_per_s"])
        values.extend(v for v in r.get("mb_per_s_spread", {}).values())
    values = [v for v in values if v > 0]
    steps = [step * 10 ** power for power in range(-3, 10) for step in (1, 2, 5)]
    return (max(s for s in steps if s <= min(values)), min(s for s in steps if s >= max(values)))


class Axis:
    """Input MB/s to x positions on a logarithmic scale."""

    def __init__(self, low, high, left):
        self.low, self.high, self.left = low, high, left

    def x(self, value):
        value = min(max(value, self.low), self.high)
        share = math.log10(value / self.low) / math.log10(self.high / self.low)
        return self.left + PANEL_WIDTH * share

    def ticks(self):
        """(value, major) for 1, 2, 5 times each power of ten in range."""
        decade = 10 ** math.floor(math.log10(self.low))
        while decade <= self.high:
            for step in (1, 2, 5):
                value = decade * step
                if self.low <= value <= self.high:
                    yield value, step == 1
            decade *= 10


def number(value):
    return f"{value / 1000:g}k" if value >= 1000 else f"{value:g}"


def panel_height(corpora):
    bars = sum(len(backends) for _, backends in corpora)
    return (PANEL_TITLE + bars * (BAR + BAR_GAP) + (len(corpora) - 1) * CORPUS_GAP
            + PANEL_AXIS)


def draw_panel(conversion, corpora, axis, top, shapes):
    """The bars of one conversion; `axis.left` is the panel's plotting edge."""
    left = axis.left
    bottom = top + panel_height(corpora) - PANEL_AXIS
    shapes.append(f'<text x="{left - LABEL_WIDTH}" y="{top + 16}" font-size="13" '
                  f'font-weight="bold">{escape(conversion)}</text>')
    for value, major in axis.ticks():
        x = axis.x(value)
        shapes.append(f'<line x1="{x:.1f}" y1="{top + PANEL_TITLE - 4}" x2="{x:.1f}" '
                      f'y2="{bottom}" stroke="{"#cfcfcf" if major else "#ececec"}"/>')
        shapes.append(f'<text x="{x:.1f}" y="{bottom + 13}" font-size="9" '
                      f'text-anchor="middle" fill="#555">{number(value)}</text>')
    shapes.append(f'<text x="{left + PANEL_WIDTH}" y="{bottom + 25}" font-size="9" '
                  f'text-anchor="end" fill="#555">input MB/s</text>')
    y = top + PANEL_TITLE
    for corpus, backends in corpora:
        group_top = y
        for backend in BACKENDS:
            if backend not in backends:
                continue
            r = backends[backend]
            end = axis.x(r["mb_per_s"])
            tip = (f"{conversion}, {corpus}, {backend}: median {r['mb_per_s']:.0f} MB/s"
                   + spread_text(r))
            shapes.append(f'<rect x="{left}" y="{y}" width="{max(end - left, 1):.1f}" '
                          f'height="{BAR}" fill="{COLOURS[backend]}">'
                          f'<title>{escape(tip)}</title></rect>')
            shapes.append(f'<text x="{left - 4}" y="{y + BAR - 2}" font-size="9" '
                          f'text-anchor="end" fill="#333">{escape(backend)}</text>')
            label_x = draw_spread(r, axis, y, shapes) + 4
            if backend in OURS and "ratio_to_best_peer" in r:
                shapes.append(f'<text x="{max(label_x, end + 4):.1f}" y="{y + BAR - 2}" '
                              f'font-size="9" font-weight="bold">'
                              f'{r["ratio_to_best_peer"]:.2f}x {escape(r["best_peer"])}</text>')
            y += BAR + BAR_GAP
        shapes.append(f'<text x="{left - LABEL_WIDTH}" y="{(group_top + y) / 2 + 4:.1f}" '
                      f'font-size="12" font-weight="bold">{escape(corpus)}</text>')
        y += CORPUS_GAP
    shapes.append(f'<line x1="{left}" y1="{top + PANEL_TITLE - 4}" x2="{left}" y2="{bottom}" '
                  f'stroke="#333"/>')


def spread_text(r):
    spread = r.get("mb_per_s_spread")
    if not spread:
        return ""
    return (f"; rounds {spread['min']:.0f} to {spread['max']:.0f}, "
            f"middle half {spread['q1']:.0f} to {spread['q3']:.0f}")


def draw_spread(r, axis, y, shapes):
    """The whisker of the rounds over a bar; returns where it ends."""
    spread = r.get("mb_per_s_spread")
    if not spread:
        return axis.x(r["mb_per_s"])
    middle = y + BAR / 2
    low, high = axis.x(spread["min"]), axis.x(spread["max"])
    q1, q3 = axis.x(spread["q1"]), axis.x(spread["q3"])
    shapes.append(f'<line x1="{low:.1f}" y1="{middle}" x2="{high:.1f}" y2="{middle}" '
                  f'stroke="black" stroke-width="1"/>')
    shapes.append(f'<rect x="{q1:.1f}" y="{y + 3}" width="{max(q3 - q1, 1):.1f}" '
                  f'height="{BAR - 6}" fill="none" stroke="black" stroke-width="1"/>')
    return high


def draw(data):
    results = data["results"]
    conversions = conversions_of(results)
    rows = panel_rows(conversions)
    low, high = axis_range(results)
    has_spread = any("mb_per_s_spread" in r for r in results)
    column_width = LABEL_WIDTH + PANEL_WIDTH + 120
    width = MARGIN * 2 + 2 * column_width + PANEL_GAP_X
    shapes = []
    top = HEADER
    for row in rows:
        row_height = max(panel_height(corpora) for _, corpora in row)
        for column, (conversion, corpora) in enumerate(row):
            left = MARGIN + LABEL_WIDTH + column * (column_width + PANEL_GAP_X)
            draw_panel(conversion, corpora, Axis(low, high, left), top, shapes)
        top += row_height + PANEL_GAP_Y
    height = top + MARGIN
    title = "Conversion throughput: input MB/s, logarithmic axis (higher is faster)"
    rounds = data.get("rounds", "?")
    subtitle = (f"Median of {rounds} interleaved rounds per backend; "
                + ("whiskers: slowest to fastest round, box: the middle half of the rounds. "
                   if has_spread else "this file records no spread of the rounds. ")
                + f"Ratios: ours to the fastest peer on that corpus. "
                f"{data.get('cpu', '')} ({data.get('cpu_flags', '')}"
                + (f"; simdutf kernel {data['simdutf_kernel']}" if "simdutf_kernel" in data else "")
                + f"), {data.get('date', '')}.")
    legend = []
    x = MARGIN
    for backend in BACKENDS:
        legend.append(f'<rect x="{x}" y="{HEADER - 26}" width="12" height="12" '
                      f'fill="{COLOURS[backend]}"/><text x="{x + 16}" y="{HEADER - 16}" '
                      f'font-size="11">{escape(backend)}</text>')
        x += 24 + 7 * len(backend)
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
        f'viewBox="0 0 {width} {height}" font-family="sans-serif">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
        f'<text x="{MARGIN}" y="26" font-size="16" font-weight="bold">{escape(title)}</text>',
        f'<text x="{MARGIN}" y="46" font-size="11" fill="#333">{escape(subtitle)}</text>',
        *legend, *shapes, "</svg>", ""])


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__.strip().split("\n")[-1])
    with open(sys.argv[1], encoding="utf-8") as f:
        data = json.load(f)
    with open(sys.argv[2], "w", encoding="utf-8") as f:
        f.write(draw(data))
    print(f"chart written to {sys.argv[2]}")


if __name__ == "__main__":
    main()
