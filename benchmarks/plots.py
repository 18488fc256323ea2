# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Draws the two plots of the report, as small SVG files in which text stays text."""

import math

WIDTH, HEIGHT = 720, 320
LEFT, RIGHT, TOP, BOTTOM = 110, 12, 34, 46
COLOURS = ["#1f77b4", "#7f7f7f", "#ff7f0e", "#2ca02c", "#d62728", "#9467bd", "#8c564b"]


def text(x, y, words, anchor="middle", turn=""):
    return f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}"{turn}>{words}</text>'


def legend(names):
    """One coloured square for each name, above the plot."""
    step = (WIDTH - LEFT - RIGHT) / len(names)
    for number, (name, colour) in enumerate(zip(names, COLOURS)):
        x = LEFT + number * step
        yield f'<path fill="{colour}" d="M{x:.0f} 10h11v11h-11z"/>'
        yield text(x + 16, 20, name, "start")


def rows(ticks, place):
    """A thin line across the plot, and its number, at each tick of the vertical axis."""
    for tick in ticks:
        y = place(tick)
        yield f'<path class="row" d="M{LEFT} {y:.0f}H{WIDTH - RIGHT}"/>'
        yield text(LEFT - 6, y + 4, f"{tick:,}", "end")


def write(path, x_name, y_name, parts):
    middle = (TOP + HEIGHT - BOTTOM) / 2
    path.write_text("\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}">',
        "<style>text{font:12px sans-serif}.row{stroke:#ddd}.line{fill:none;stroke-width:2}</style>",
        f'<path fill="#fff" d="M0 0h{WIDTH}v{HEIGHT}H0z"/>',
        *parts,
        text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 8, x_name),
        text(14, middle, y_name, turn=f' transform="rotate(-90 14 {middle:.0f})"'),
        "</svg>", ""]), encoding="utf-8")


def bars(path, x_name, y_name, groups, series):
    """A group of bars for each of the groups, and in it one bar for each of the named series."""
    most = max(max(values) for values in series.values())
    step = 10 ** math.floor(math.log10(most)) // 5
    bottom = HEIGHT - BOTTOM

    def place(value):
        return bottom - value / most * (bottom - TOP)

    across = (WIDTH - LEFT - RIGHT) / len(groups)
    wide = 0.8 * across / len(series)
    parts = [*legend(series), *rows(range(0, int(most) + 1, step), place)]
    for number, (values, colour) in enumerate(zip(series.values(), COLOURS)):
        outline = "".join(f"M{LEFT + (group + 0.1) * across + number * wide:.1f} {bottom}"
                          f"V{place(value):.1f}h{wide:.1f}V{bottom}z"
                          for group, value in enumerate(values))
        parts.append(f'<path fill="{colour}" d="{outline}"/>')
    parts += [text(LEFT + (group + 0.5) * across, bottom + 18, name)
              for group, name in enumerate(groups)]
    write(path, x_name, y_name, parts)


def curves(path, x_name, y_name, sizes, series):
    """A line through the values of each named series, over the sizes; both axes are logarithmic."""
    every = [value for values in series.values() for value in values]
    low, high = math.floor(math.log10(min(every))), math.ceil(math.log10(max(every)))
    bottom = HEIGHT - BOTTOM

    def place(value):
        return bottom - (math.log10(value) - low) / (high - low) * (bottom - TOP)

    across = (WIDTH - LEFT - RIGHT) / len(sizes)
    parts = [*legend(series), *rows([10 ** power for power in range(low, high + 1)], place)]
    for values, colour in zip(series.values(), COLOURS):
        points = [(LEFT + (number + 0.5) * across, place(value)) for number, value in enumerate(values)]
        parts.append(f'<path class="line" stroke="{colour}" d="M'
                     + "L".join(f"{x:.1f} {y:.1f}" for x, y in points) + '"/>')
        parts += [f'<circle fill="{colour}" cx="{x:.1f}" cy="{y:.1f}" r="4"/>' for x, y in points]
    parts += [text(LEFT + (number + 0.5) * across, bottom + 18, f"{size:,}")
              for number, size in enumerate(sizes)]
    write(path, x_name, y_name, parts)
