#!/usr/bin/env python3
"""report.py DOCUMENT IMAGES RESULTS...: fills the marked regions of a page with what benchmark programs have measured.

A region stands between `<!-- begin: NAME -->` and `<!-- end: NAME -->`, and stays as it is if nothing was measured for it.
RESULTS are files of `--benchmark_out`. A benchmark that is named "table/row/column" is a cell of a table; all others are
there for the ratios, whose names and targets are in the file's context. A value is the median of the repetitions, and its
spread half the distance of their quartiles, as a part of the median.

A row that spreads by more than half tells of the machine's other work and not of the library: it is left out of table and
picture, and the line below names it. Pictures need matplotlib.
"""

import json
import pathlib
import re
import statistics
import sys

LARGEST_SPREAD = 0.5
PLOTTED_TABLE = "dispatch"
SECONDS_PER_UNIT = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1}


def median_and_spread(values):
    if len(values) == 1:
        return values[0], 0.0
    low, median, high = statistics.quantiles(values, n=4, method="inclusive")
    return median, (high - low) / 2 / median


class Results:
    """What one program has measured."""

    def __init__(self, path):
        whole = json.loads(pathlib.Path(path).read_text())
        self.context = whole["context"]
        self.program = pathlib.Path(self.context["executable"]).name.replace("_benchmark", "")
        self.qt = self.context["qt"]
        runs = [run for run in whole["benchmarks"] if run["run_type"] == "iteration" and not run.get("error_occurred")]
        if not runs:
            raise ValueError(f"{path}: no results of a benchmark")
        runs.sort(key=lambda run: run["family_index"])  # that is the order in which they stand in the program
        self.seconds = {}
        self.calls = {}
        for run in runs:
            # Without what Google Benchmark appends.
            name = re.sub("/((iterations|min_time|repeats|threads):[^/]*|manual_time|process_time|real_time)", "", run["run_name"])
            self.seconds.setdefault(name, []).append(run["real_time"] * SECONDS_PER_UNIT[run["time_unit"]])
            if "calls" in run:
                self.calls[name] = run["calls"]

    def tables(self):
        """{table: {row: {column: name of the benchmark}}}"""
        tables = {}
        for name in self.seconds:
            parts = name.split("/")
            if len(parts) == 3:
                tables.setdefault(parts[0], {}).setdefault(parts[1], {})[parts[2]] = name
        return tables

    def value(self, name):
        return median_and_spread(self.seconds[name])

    def row_spread(self, row):
        return max(self.value(name)[1] for name in row.values())

    def steady_rows(self, rows):
        return {name: row for name, row in rows.items() if self.row_spread(row) <= LARGEST_SPREAD}


def percents(part):
    return f"{part * 100:.0f} %"


def rounded(value):
    """Three digits that count, and no more than three behind the point."""
    for limit, digits in ((0.1, 3), (1, 3), (10, 2), (100, 1)):
        if value < limit:
            return f"{value:.{digits}f}"
    return f"{value:.0f}"


def markdown(heading, rows, left_out):
    """A table; heading and rows are lists of cells. left_out is [(name, spread)]."""
    numbers = len(heading) - sum(word in ("what", "beside") for word in heading) - (heading[0] != "what")
    rule = "|" + "---|" * (len(heading) - numbers) + "---:|" * numbers
    lines = ["| " + " | ".join(heading) + " |", rule] if rows else []
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    if left_out:
        names = ", ".join(f"{name} ({percents(spread)})" for name, spread in left_out)
        lines += ([""] if rows else []) + [f"Left out, with a spread above {percents(LARGEST_SPREAD)}: {names}."]
    return "".join(line + "\n" for line in lines)


def table_text(results, rows):
    steady = results.steady_rows(rows)
    left_out = [(name, results.row_spread(row)) for name, row in rows.items() if name not in steady]
    columns = list(dict.fromkeys(column for row in rows.values() for column in row))
    largest = max((results.value(name)[0] for row in steady.values() for name in row.values()), default=0)
    unit, per_second = ("ns", 1e9) if largest < 1e-7 else ("µs", 1e6) if largest < 1e-3 else ("ms", 1e3)
    counted = any(name in results.calls for row in rows.values() for name in row.values())
    lines = []
    for name, row in steady.items():
        cells = [rounded(results.value(row[column])[0] * per_second) if column in row else "" for column in columns]
        calls = [f"{results.calls[cell]:.0f}" for cell in row.values() if cell in results.calls][-1:] or [""]
        lines.append([name] + cells + (calls if counted else []) + [percents(results.row_spread(row))])
    return markdown([unit] + columns + (["calls"] if counted else []) + ["spread"], lines, left_out)


def ratios_text(results):
    rows, left_out = [], []
    for key in sorted(results.context):
        parts = str(results.context[key]).split("|")
        if key.startswith("ratio ") and len(parts) == 5:
            what, ours, peer, target, apart = parts
            if any(name not in results.seconds for name in (ours, peer, apart) if name):
                continue  # left out by a filter
            (time, our_spread), (peer_time, peer_spread) = results.value(ours), results.value(peer)
            spread = our_spread + peer_spread
            name, _, beside = what.partition(" / ")
            if spread > LARGEST_SPREAD:
                left_out.append((what, spread))
                continue
            ratio = (time - (results.value(apart)[0] if apart else 0)) / peer_time
            rows.append([name, beside, f"{float(target):g}" if float(target) else "", f"{ratio:.2f}", percents(spread)])
        if key.startswith("figure ") and len(parts) == 4:
            what, value, limit, unit = parts
            with_unit = (lambda text: f"{float(text):.0f} {unit}") if unit else (lambda text: f"{float(text):.2f}")
            rows.append([what, "", with_unit(limit) if float(limit) else "", with_unit(value), ""])
    return markdown(["what", "beside", "target", "measured", "spread"], rows, left_out)


def plot(results, rows, path):
    """How many callables a second each library runs, by number of workers. The texts take the colour of the page, light or
    dark, and can be read where the picture is shrunk to the width of a telephone."""
    import matplotlib

    matplotlib.use("svg")
    import matplotlib.pyplot as pyplot

    text_colour = "#123456"  # a mark, in place of which the page's own colour is put
    colours = ["#d9483b", "#3b7dd9", "#2f9e68", "#a868d8", "#b98a00", "#808890"]
    markers = "osD^vX"
    pyplot.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "brn_mesh_kernel", "font.size": 15, "text.color": text_colour,
                            "axes.edgecolor": text_colour, "axes.labelcolor": text_colour,
                            "xtick.color": text_colour, "ytick.color": text_colour})
    figure, axes = pyplot.subplots(figsize=(6.4, 5.4), dpi=100)
    steady = results.steady_rows(rows)
    for index, (name, row) in enumerate(rows.items()):  # a library keeps its colour whoever is left out
        if name not in steady:
            continue
        axes.plot([int(column.split()[0]) for column in row], [1 / results.value(cell)[0] for cell in row.values()], label=name,
                  color=colours[index % 6], marker=markers[index % 6], linewidth=3 if index == 0 else 2)
    workers = sorted({int(column.split()[0]) for row in steady.values() for column in row})
    axes.set_xscale("log", base=2)
    axes.set_yscale("log")
    axes.set_xticks(workers, [str(count) for count in workers])
    axes.yaxis.set_major_formatter(lambda value, _: f"{value / 1e6:g} M" if value >= 1e6 else f"{value / 1e3:g} k")
    axes.set_xlabel("workers")
    axes.set_title(f"callables a second, Qt {results.qt}", loc="left", fontsize=16)
    axes.grid(True, which="major", color=text_colour, alpha=0.2)
    axes.minorticks_off()
    for side in ("top", "right"):
        axes.spines[side].set_visible(False)
    figure.legend(loc="lower center", ncols=2, frameon=False)
    figure.tight_layout(rect=(0, 0.05 + 0.055 * ((len(steady) + 1) // 2), 1, 1))
    figure.savefig(path, transparent=True, metadata={"Date": None, "Creator": None})
    pyplot.close(figure)
    style = ("<style>svg { color: #24292f; font-family: sans-serif }\n"
             "@media (prefers-color-scheme: dark) { svg { color: #d8dee4 } }</style>\n")
    svg = path.read_text().replace(text_colour, "currentColor")
    svg = re.sub(r"<text style=\"font:", "<text fill=\"currentColor\" style=\"font:", svg)
    svg = re.sub(r"(font: [^;\"]*?px) [^;\"]*", r"\1 sans-serif", svg)  # the reader's machine has other fonts
    path.write_text(re.sub(r"(<svg [^>]*>)", lambda match: match.group(1) + "\n" + style, svg, count=1))


def machine_text(everything):
    versions = " and ".join(dict.fromkeys("Qt " + results.qt for results in everything))
    context = everything[0].context
    cpu = pathlib.Path("/proc/cpuinfo")
    model = re.search(r"^model name\s*: (.*)$", cpu.read_text() if cpu.exists() else "", re.MULTILINE)
    cores = f"{context['num_cpus']} cores" + (f" of {' '.join(model.group(1).split())}" if model else "")
    return f"{cores}; {context['compiler']}; {versions}.\n"


def regions_of(everything, images, image_link):
    """{region: text}; draws the pictures that the texts show."""
    regions = {"machine": machine_text(everything)}
    for results in everything:
        major = results.qt.split(".")[0]
        for table, rows in results.tables().items():
            picture = ""
            if table == PLOTTED_TABLE and results.steady_rows(rows):
                file = f"{table}-qt{major}.svg"
                plot(results, rows, images / file)
                picture = f"![Callables a second by number of workers, Qt {major}]({image_link}/{file})\n\n"
            regions[f"{table}, Qt {major}"] = picture + table_text(results, rows)
        ratios = ratios_text(results)
        if ratios:
            regions["ratios, " + results.program] = ratios
    return regions


def fill(document, regions):
    text = document.read_text()
    for name in re.findall("^<!-- begin: (.*) -->$", text, re.MULTILINE):
        if f"<!-- end: {name} -->" not in text:
            raise ValueError(f"{document}: the region \"{name}\" has no end")
        if name not in regions:
            print(f"No results for \"{name}\", which stays as it is")
    for name, content in regions.items():
        begin, end = f"<!-- begin: {name} -->\n", f"<!-- end: {name} -->"
        if begin not in text:
            print(f"No place for \"{name}\"")
            continue
        before, rest = text.split(begin, 1)
        text = before + begin + content + end + rest.split(end, 1)[1]
    document.write_text(text)


def main():
    if len(sys.argv) < 4:
        sys.exit(f"usage: {sys.argv[0]} DOCUMENT IMAGES RESULTS...")
    document, images = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    images.mkdir(parents=True, exist_ok=True)
    try:
        everything = [Results(path) for path in sys.argv[3:]]
        link = images.resolve().relative_to(document.resolve().parent).as_posix()
        fill(document, regions_of(everything, images, link))
    except (OSError, ValueError, KeyError) as error:
        sys.exit(f"{sys.argv[0]}: {error}")


if __name__ == "__main__":
    main()
