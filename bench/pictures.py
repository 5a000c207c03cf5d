"""Draws the results of the benchmarks as SVG files, which docs/benchmarks.md shows."""

import math
import re
from collections import defaultdict

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams.update(
    {"svg.hashsalt": "zelsyshelper", "svg.fonttype": "none"}
)  # the same figures give the same bytes
from matplotlib import pyplot  # noqa: E402

GROWTH_TITLES = [
    "chart",
    "from",
    "to",
    "slope",
    "slope of the limit",
    "ratio at the start",
    "ratio at the end",
    "best alternative at the end",
]
MOST_BARS = 12  # times the limit; longer bars are cut


def save(figure, path):
    figure.savefig(path, metadata=dict.fromkeys(("Creator", "Date", "Format", "Type")), bbox_inches="tight")
    pyplot.close(figure)


def slope(points):
    """Returns the exponent of growth over the upper half of the sizes: 1 is linear, 2 is quadratic."""
    upper = sorted(points.items())[len(points) // 2 :]
    xs, ys = ([math.log(value) for value in axis] for axis in zip(*upper))
    middle_x, middle_y = sum(xs) / len(xs), sum(ys) / len(ys)
    return sum((x - middle_x) * (y - middle_y) for x, y in zip(xs, ys)) / sum((x - middle_x) ** 2 for x in xs)


def time_text(seconds):
    for unit, factor in ("s", 1), ("ms", 1e3), ("µs", 1e6), ("ns", 1e9):
        if seconds * factor >= 1:
            break
    return f"{seconds * factor:.3g} {unit}"


def draw_growth(points, folder):
    """Draws one chart for each name among `points`: rows of chart, size, contender and seconds. In each
    chart, the first contender is the library. The second is the limit or, without one, an alternative.

    Returns the cells of the table and the lines of the document that show the pictures."""
    folder.mkdir(exist_ok=True)
    charts = defaultdict(lambda: defaultdict(dict))
    for chart, size, contender, seconds in points:
        charts[chart][contender][int(size)] = float(seconds)
    rows, shown = [], []
    for chart, contenders in charts.items():
        subject, by = chart.rsplit(", by ", 1)
        figure, axes = pyplot.subplots(figsize=(6.4, 3.6))
        for (contender, times), style in zip(contenders.items(), ("o-", "s--", "^:", "v:", "x:")):
            axes.plot(*zip(*sorted(times.items())), style, label=contender, markersize=4)
        axes.set(xscale="log", yscale="log", title=subject, xlabel=by, ylabel="seconds")
        axes.legend(fontsize="small")
        axes.grid(alpha=0.3)
        name = re.sub(r"\W+", "-", chart).lower() + ".svg"
        save(figure, folder / name)
        shown.append(f"![{chart}]({folder.name}/{name})\n")

        (ours, limit, *others) = contenders.values()
        first, last = min(ours), max(ours)
        names = list(contenders)[2 if others else 1 :]
        best = min(
            (name for name in names if last in contenders[name]), key=lambda name: contenders[name][last]
        )
        rows.append(
            [
                chart,
                *(f"{size:,}: {time_text(ours[size])}" for size in (first, last)),
                *(f"{slope(times):.2f}" for times in (ours, limit)),
                *(f"{ours[size] / limit[size]:.2f}" for size in (first, last)),
                f"{time_text(contenders[best][last])} ({best})",
            ]
        )
    return rows, shown


def draw_ratios(rows, path):
    """Draws one bar for each row with a ratio: our time as a multiple of the limit's, or of the best
    alternative's if there is no limit."""
    bars = []
    for name, _, _, _, to_limit, to_alternative, *_ in rows:
        if ratios := to_limit or to_alternative:
            numbers = [float(number) for number in re.findall(r"[\d.]+", ratios)]
            bars.append((name, bool(to_limit), numbers[0], numbers[1:] or [numbers[0]] * 2))
    figure, axes = pyplot.subplots(figsize=(8, 0.3 * len(bars) + 1))
    for number, (name, is_limit, ratio, (least, most)) in enumerate(reversed(bars)):
        axes.barh(number, min(ratio, MOST_BARS), color="tab:blue" if is_limit else "tab:gray")
        axes.plot([min(least, MOST_BARS), min(most, MOST_BARS)], [number, number], color="black", linewidth=1)
        axes.text(
            min(max(ratio, most), MOST_BARS) * 1.03, number, f"{ratio:.2f}", va="center", fontsize="small"
        )
    axes.set_yticks(range(len(bars)), [name for name, *_ in reversed(bars)], fontsize="small")
    axes.axvline(1, color="tab:red", linewidth=1)
    axes.set(
        xscale="log",
        xlabel="our time / time of the limit (blue) or of the best alternative (gray)\n"
        "The black line is the spread of the rounds.",
    )
    save(figure, path)
