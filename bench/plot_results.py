#!/usr/bin/env python3
"""Draws the conversion benchmark's results as an SVG bar chart.

Reads the results file that conversion_bench writes (JSON) and draws, for
every conversion and corpus, one bar per backend: input MB/s. memcpy, the
bandwidth reference, is far off the scale of the conversions and is left
out of the bars; its median is given in the title. Standard library only.

Usage: plot_results.py RESULTS.json OUT.svg
"""

import json
import statistics
import sys
from xml.sax.saxutils import escape

COLOURS = {
    "kelulib": "#1f77b4",
    "kelulib flat": "#6baed6",
    "ICU ucnv": "#d62728",
    "ICU u_str": "#ff9896",
    "iconv": "#2ca02c",
}
BACKENDS = list(COLOURS)

BAR = 9          # width of one bar
GAP = 6          # between the groups of one conversion
PANEL_GAP = 34   # between conversions
LEFT = 64
TOP = 70
PLOT_HEIGHT = 300
BOTTOM = 90


def groups_of(results):
    """[(conversion, [(corpus, {backend: MB/s})])] in the file's order."""
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
        corpora[-1][1][r["backend"]] = r["mb_per_s"]
    return conversions


def nice_ceiling(value):
    step = 500
    return max(step, int((value + step - 1) // step) * step)


def draw(data):
    conversions = groups_of(data["results"])
    memcpy = [r["mb_per_s"] for r in data["results"] if r["backend"] == "memcpy"]
    top_value = nice_ceiling(max(v for _, corpora in conversions
                                 for _, bars in corpora for v in bars.values()))
    x = LEFT
    shapes = []
    for conversion, corpora in conversions:
        start = x
        for corpus, bars in corpora:
            group_start = x
            for backend in BACKENDS:
                if backend not in bars:
                    continue
                value = bars[backend]
                height = PLOT_HEIGHT * value / top_value
                shapes.append(
                    f'<rect x="{x}" y="{TOP + PLOT_HEIGHT - height:.1f}" width="{BAR - 1}" '
                    f'height="{height:.1f}" fill="{COLOURS[backend]}">'
                    f"<title>{escape(conversion)}, {escape(corpus)}, {escape(backend)}: "
                    f"{value:.0f} MB/s</title></rect>")
                x += BAR
            shapes.append(f'<text x="{(group_start + x) / 2:.1f}" y="{TOP + PLOT_HEIGHT + 12}" '
                          f'font-size="9" text-anchor="middle">{escape(corpus)}</text>')
            x += GAP
        middle = (start + x - GAP) / 2
        shapes.append(f'<text x="{middle:.1f}" y="{TOP + PLOT_HEIGHT + 26}" font-size="10" '
                      f'text-anchor="end" transform="rotate(-30 {middle:.1f} '
                      f'{TOP + PLOT_HEIGHT + 26})">{escape(conversion)}</text>')
        x += PANEL_GAP
    width = x + 20
    height = TOP + PLOT_HEIGHT + BOTTOM
    axis = []
    for k in range(6):
        value = top_value * k / 5
        y = TOP + PLOT_HEIGHT - PLOT_HEIGHT * k / 5
        axis.append(f'<line x1="{LEFT - 4}" y1="{y:.1f}" x2="{width - 20}" y2="{y:.1f}" '
                    f'stroke="#ddd"/><text x="{LEFT - 6}" y="{y + 3:.1f}" font-size="9" '
                    f'text-anchor="end">{value:.0f}</text>')
    legend = []
    lx = LEFT
    for backend in BACKENDS:
        legend.append(f'<rect x="{lx}" y="{TOP - 22}" width="10" height="10" '
                      f'fill="{COLOURS[backend]}"/><text x="{lx + 14}" y="{TOP - 13}" '
                      f'font-size="10">{escape(backend)}</text>')
        lx += 100
    title = (f"Input MB/s per backend, conversion and corpus ({escape(data['cpu'])}, "
             f"{escape(data['date'])}); memcpy of the same input: median "
             f"{statistics.median(memcpy):.0f} MB/s" if memcpy else "")
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
        f'font-family="sans-serif">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
        f'<text x="{LEFT}" y="20" font-size="12">{title}</text>',
        f'<text x="14" y="{TOP + PLOT_HEIGHT / 2}" font-size="10" text-anchor="middle" '
        f'transform="rotate(-90 14 {TOP + PLOT_HEIGHT / 2})">MB/s</text>',
        *axis, *legend, *shapes, "</svg>", ""])


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
