"""Prints what the ports cost, one beside the other, for what the two results of scripts/bench both have.

usage: beside.py GTK.json QT.json
"""
import json
import sys

ROWS = {
    "small call of the page": "page call, small argument and result",
    "5 MiB to the application, ASCII": "page call, 5 MiB argument, ASCII",
    "5 MiB to the application, Chinese": "page call, 5 MiB argument, Chinese",
    "5 MiB to the page, ASCII": "page call, 5 MiB result, ASCII",
    "5 MiB to the page, Chinese": "page call, 5 MiB result, Chinese",
    "application's call, answered": "native-to-page call, answered",
    "start of a view": "view creation to the first page call",
    "memory of a further view": "memory of one more idle view, all processes",
}


def read(name):
    with open(name, encoding="utf-8") as file:
        return {row["benchmark"]: row for row in json.load(file)["benchmarks"]}


def shown(row):
    value = row["subject"]
    if row["unit"] == "us" and value >= 1000:
        return f"{value / 1000:.1f} ms"
    return f"{value:.1f} {row['unit']}"


gtk, qt = (read(name) for name in sys.argv[1:])
rows = [(title, gtk[name], qt[name]) for title, name in ROWS.items() if name in gtk and name in qt]
if rows:
    print(f"\n{'GTK beside Qt':<36}{'GTK':>10}{'of its engine':>16}{'Qt':>12}{'of its engine':>16}")
for title, left, right in rows:
    print(f"{title:<36}{shown(left):>10}{left['ratio']:>16.2f}{shown(right):>12}{right['ratio']:>16.2f}")
