"""Runs the benchmarks beside the servers that they need, and prints their results as tables."""

import argparse
import os
import sys
import tempfile
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[1] / "tools/loopback"))
import pictures  # noqa: E402
import prefix  # noqa: E402
from certificates import Authority  # noqa: E402
from file_server import FileServer  # noqa: E402
from server import Reply, Server  # noqa: E402

ROOT = Path(__file__).parents[1]
DLL = prefix.BIN / "zelsyshelper.dll"
FAMILIES = "files cipher text body events download tree raise load size counts".split()
GROWTH = "read set enciphered events tree download text".split()
TITLES = ["path", "ours", "limit", "best alternative", "ours / limit", "ours / alternative", "goal", "met"]
LARGEST_DOWNLOAD = 1_000_000_000
LARGEST_DLL = 350_000
SECONDS = 900  # a family that takes longer hangs


class Results:
    def __init__(self):
        self.rows, self.details, self.counts, self.points = [], [], [], []

    def add(self, line):
        kind, *cells = line.split("\t")
        {"row": self.rows, "detail": self.details, "count": self.counts, "point": self.points}[kind].append(
            cells
        )


def run(results, program, *families, environment):
    result = prefix.run(prefix.BIN / program, *families, timeout=SECONDS, env=os.environ | environment)
    for line in result.stdout.splitlines():
        results.add(line)
    if result.returncode != 0:
        raise SystemExit(f"{program} {' '.join(families)} ended with {result.returncode}: {result.stderr}")


def measure_size(results):
    size = DLL.stat().st_size
    results.add(
        "\t".join(
            [
                "row",
                "size of the DLL, stripped",
                f"{size / 1000:.0f} KB",
                "",
                "",
                "",
                "",
                "under 350 KB",
                "yes" if size < LARGEST_DLL else "no",
            ]
        )
    )


def prepare_prefix(authority, port):
    prefix.trust(authority)
    prefix.set_proxy(port, Location="DE")  # a known country saves the lookup
    # Wine opens pipes of the computer "." only. With this computer name, the channel's client opens the pipe
    # at its first attempt, as on Windows.
    prefix.run(
        "reg.exe",
        "add",
        r"HKLM\System\CurrentControlSet\Control\ComputerName\ActiveComputerName",
        "/v",
        "ComputerName",
        "/d",
        ".",
        "/f",
        check=True,
    )


def measure(families):
    results = Results()
    # A file system in memory, if there is one: the speed of a disk would hide the differences.
    memory = Path("/dev/shm")
    with tempfile.TemporaryDirectory(dir=memory if memory.is_dir() else None) as name:
        folder = Path(name)
        authority = Authority(folder / "authority")
        certificate = authority.issue("statistics.quenlith.example")
        events, fresh = (Server(lambda *_: Reply(body=b"ok"), certificate) for _ in range(2))
        files = FileServer(folder / "content", LARGEST_DOWNLOAD)
        prepare_prefix(authority, events.port)
        environment = {
            "BENCH_FOLDER": prefix.windows_path(folder),
            "BENCH_PORT_EVENTS": str(events.port),
            "BENCH_PORT_FRESH": str(fresh.port),
            "BENCH_PORT_DOWNLOAD": str(files.port),
        }
        for family in families:
            begin = time.monotonic()
            if family == "size":
                measure_size(results)
            else:
                program = "load_bench.exe" if family == "load" else "bench.exe"
                run(results, program, family, environment=environment)
            print(f"{family}: {time.monotonic() - begin:.0f} s", file=sys.stderr, flush=True)
        for server in (events, fresh, files):
            server.close()
    return results


def markdown(titles, rows):
    lines = [titles, ["---"] * len(titles), *rows]
    return "".join("| " + " | ".join(cells) + " |\n" for cells in lines)


def aligned(titles, rows):
    widths = [max(map(len, column)) for column in zip(titles, *rows)]
    return "".join(
        "  ".join(cell.ljust(width) for cell, width in zip(cells, widths)).rstrip() + "\n"
        for cells in [titles, *rows]
    )


def write_document(parts):
    """Replaces these parts of the document between their marks. The rest is written by hand and stays."""
    path = ROOT / "docs/benchmarks.md"
    text = path.read_text(encoding="utf-8")
    for name, part in parts.items():
        begin, end = f"<!-- {name} -->\n", f"<!-- end of {name} -->\n"
        before, rest = text.split(begin)
        text = before + begin + part + end + rest.split(end)[1]
    path.write_text(text, encoding="utf-8")


def measure_growth():
    rows, shown = pictures.draw_growth(
        measure([f"growth-{name}" for name in GROWTH]).points, ROOT / "docs/growth"
    )
    print(aligned(pictures.GROWTH_TITLES, rows))
    write_document({"growth": markdown(pictures.GROWTH_TITLES, rows) + "\n" + "\n".join(shown)})


def write_results(results):
    pictures.draw_ratios(results.rows, ROOT / "docs/benchmarks.svg")
    write_document(
        {
            "machine": f"A virtual machine with {os.cpu_count()} processors, Wine under Linux.\n",
            "table": markdown(TITLES, results.rows),
            "contenders": markdown(["path", "contender", "median"], results.details),
            "counts": markdown(["call", "allocations", "calls", "which"], results.counts),
        }
    )


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench.sh")
    parser.add_argument(
        "--write", action="store_true", help="run all families and write the results into docs/benchmarks.md"
    )
    parser.add_argument(
        "--growth", action="store_true", help="measure how cost grows, and draw it for docs/benchmarks.md"
    )
    parser.add_argument("families", nargs="*", metavar="NAME", help=" ".join(FAMILIES))
    options = parser.parse_args()
    if unknown := set(options.families) - set(FAMILIES):
        parser.error(f"unknown: {' '.join(sorted(unknown))}")
    if options.families and (options.write or options.growth):
        parser.error("--write and --growth run all families")
    if options.growth:
        return measure_growth()
    results = measure(options.families or FAMILIES)
    for titles, rows in (
        (TITLES, results.rows),
        (["path", "contender", "median"], results.details),
        (["call", "allocations", "calls", "which"], results.counts),
    ):
        if rows:
            print(aligned(titles, rows))
    if options.write:
        write_results(results)


main()
