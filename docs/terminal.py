#!/usr/bin/python3
# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Usage: docs/terminal.py <SESSION >PICTURE.svg
Draws what a terminal shows, as SVG in which text stays text. Lines that begin with "$ " are what a
person types. The test Tool.showing does what docs/explain.svg says and compares the output."""
import html
import sys

COLUMN, ROW, MARGIN = 8, 19, 14

lines = sys.stdin.read().splitlines()
width = 2 * MARGIN + COLUMN * max(map(len, lines))
height = 2 * MARGIN + ROW * len(lines)
print(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}">')
print("<title>What stbconfig explain prints</title>")
print("<style>text{font:13.3px monospace;fill:#d8dee9;white-space:pre}"
      ".typed{fill:#a3d9a5;font-weight:bold}.answer{fill:#ffd580}</style>")
print(f'<rect width="{width}" height="{height}" rx="8" fill="#22272e"/>')
for number, line in enumerate(lines, start=1):
    kind = "typed" if line.startswith("$ ") else "answer" if line.startswith("->") else ""
    print(f'<text x="{MARGIN}" y="{MARGIN + ROW * number - 5}"'
          f'{kind and f" class={chr(34)}{kind}{chr(34)}"}>{html.escape(line, quote=False)}</text>')
print("</svg>")
