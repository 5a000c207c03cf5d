"""Puts random single-line faults into a copy of the product and runs the tests; see scripts/mutate.sh.

A fault counts as noticed if a program of its folder fails, or else a fuzzer, another program or the soak.
A fault that does not compile does not count: another is drawn. Faults in equivalent.txt change no
behaviour and are set apart.
"""

import argparse
import contextlib
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time
from collections import Counter
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).parents[2]
COPY = ROOT / "build/mutate"
EQUIVALENT = Path(__file__).with_name("equivalent.txt")
BUILD = ["cmake", "--build", "--preset", "windows", "--target"]
SCRIPTS = {"events_test": [], "shell_test": [], "host_test": ["update_service"]}  # with the targets to build
EVENTS, DOWNLOADS = "stat_test|events_test", "http_test|job_test|download_test"
# The test programs of each folder. Folders with few of their own also run those of the DLL's exports.
PROGRAMS = {
    "corelog": "corelog_test|pure_test",
    "fs": "fs_test|exports_test|stat_test",
    "http": DOWNLOADS,
    "io": DOWNLOADS,
    "ipc": "ipc_test",
    "modules": "exports_test|gcc_runtime_test|delayed_imports_test|shell_test|download_test|events_test",
    "service": "service_test|host_test",
    "shell": "com_test|shell_test",
    "sys": f"ipc_test|xferlib_test|{DOWNLOADS}",
    "text": "fs_test|exports_test|stat_test",
    "thread": f"thread_test|ipc_test|{DOWNLOADS}",
    "ui": EVENTS,
    "win32": "win32_test|fs_test|exports_test|corelog_test|stat_test",
    "xferlib": f"xferlib_test|{EVENTS}",
}
FUZZERS = {
    "text/utf16": ["utf16"],
    "text/escape": ["escape"],
    "text/utf8": ["utf16", "escape"],
    "text/expand": ["expand"],
    "text/format": ["expand"],
    "fs/config": ["config"],
    "fs/fx_config": ["config", "cipher"],
    "fs/cipher": ["cipher"],
    "ui/common/stat/adv_type": ["adv_type"],
    "ipc/message": ["message"],
    "shell/extension": ["extension"],
}
OPERATORS = {
    "comparison": [(r" == ", " != "), (r" != ", " == ")],
    "boundary": [(r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > ")],
    "boolean": [
        (r" && ", " || "),
        (r" \|\| ", " && "),
        (r"\btrue\b", "false"),
        (r"\bfalse\b", "true"),
        (r"([(& |])!(?=[\w(])", r"\1"),
    ],
    # Numbers from 100 on are doubled: most are time-outs and capacities, where adding 1 has no effect.
    "constant": [
        (
            r"(?<![\w.'\"\\])(\d+)(?![\w.'\"])",
            lambda found: str(int(found[1]) + (int(found[1]) if int(found[1]) >= 100 else 1)),
        ),
        (r" \+ ", " - "),
        (r" - ", " + "),
    ],
    "dropped lock": [(r"^(\s*)(?:const )?(?:std::\w+_(?:guard|lock)|(?:sys::)?CsGuard)\b.*;$", r"\1;")],
    "dropped statement": [
        (
            r"^(\s*)(?!return\b|using\b|throw\b|delete\b|static_assert\b|break\b|continue\b)"
            r"[\w.:>()\[\]*-]+(?:\(.*\)|(?: [-+|&]?= | ?\+\+).*|\+\+);$",
            r"\1;",
        )
    ],
}


@dataclass
class Fault:
    path: str
    number: int
    kind: str
    old: str
    new: str
    occurrence: int  # of this line in its file

    def __str__(self):
        return f"{self.path}:{self.number}: {self.old.strip()}  ->  {self.new.strip()}"

    def key(self):
        return f"{self.path}#{self.occurrence}: {self.old.strip()} -> {self.new.strip()}"


def code_of(line):
    """Returns the line without its comment; empty for a line that has no statement or reserves memory."""
    if re.match(r"\s*(//|/\*|\* |#|asm\b|\"|$)", line) or re.search(r"= (default|delete);|\.reserve\(", line):
        return ""
    return line.split(" //")[0]


def faults_of(path):
    lines = (COPY / path).read_text(encoding="utf-8").split("\n")
    occurrences = Counter()
    for number, line in enumerate(lines, 1):
        code = code_of(line)
        occurrences[line.strip()] += 1
        for kind, pairs in OPERATORS.items():
            for pattern, replacement in pairs:
                for found in re.finditer(pattern, code):
                    changed = (
                        code[: found.start()] + found.expand(replacement)
                        if isinstance(replacement, str)
                        else code[: found.start()] + replacement(found)
                    )
                    changed += code[found.end() :]
                    yield Fault(path, number, kind, line, changed, occurrences[line.strip()])


def run(command, seconds):
    """Runs a command in the copy. Returns its output, empty after a time-out, and whether it succeeded."""
    with subprocess.Popen(
        command,
        cwd=COPY,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        errors="replace",
        start_new_session=True,
    ) as process:
        try:
            output = process.communicate(timeout=seconds)[0]
            return output, process.returncode == 0
        except subprocess.TimeoutExpired:
            return "", False
        finally:  # also after an interruption; without effect on processes that have ended
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)


def tracked():
    listed = subprocess.run(
        ["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True, text=True
    ).stdout
    return [file for file in listed.split("\0") if file and (ROOT / file).is_file()]


def prepare():
    """Copies the tracked files that differ, and builds them without faults. In the copy, warnings are not
    errors, and a test that hangs fails after 120 seconds."""
    for stale in (COPY / "tests/fuzz/corpus").glob("*/*"):
        if not (ROOT / stale.relative_to(COPY)).exists():
            stale.unlink()
    for file in tracked():
        content = (ROOT / file).read_bytes()
        if file == "cmake/compiler.cmake":
            content = content.replace(b" -Werror", b"")
        if file == "tests/CMakeLists.txt":
            content = re.sub(rb"TIMEOUT \d+", b"TIMEOUT 120", content)
        target = COPY / file
        target.parent.mkdir(parents=True, exist_ok=True)
        if not target.exists() or target.read_bytes() != content:
            target.write_bytes(content)
            shutil.copymode(ROOT / file, target)
    for preset, targets in ("windows", ["all"]), ("fuzz", ["all"]):
        for command in ["cmake", "--preset", preset], [
            "cmake",
            "--build",
            "--preset",
            preset,
            "--target",
            *targets,
        ]:
            output, good = run(command, 3600)
            if not good:
                raise SystemExit(f"mutate: the copy does not build:\n{output[-2000:]}")


def first_failure(pattern):
    output, good = run(["ctest", "--preset", "windows", "--stop-on-failure", *pattern], 900)
    failed = re.findall(r"^\s*\d+ - (\w+)", output, re.M)
    return "" if good else (failed or ["ctest"])[0]


def fuzz(names):
    # Otherwise the inputs that an earlier fault has produced would help find this one.
    shutil.rmtree(COPY / "build/fuzz/corpus", ignore_errors=True)
    return run(["scripts/fuzz.sh", "10", *names], 600)[1]


def soak():
    parts = ["sweep", "eight_processes", "kill_hand_over"]
    return run([sys.executable, "tests/soak/soak.py", "--short", *parts], 900)[1]


def noticed_by(fault, quick):
    """Returns the program that notices the fault in the copy, "" if none does, None if the build fails."""
    names = PROGRAMS[fault.path.split("/")[0]].split("|")
    targets = [target for name in names for target in SCRIPTS.get(name, [name])]
    if not run([*BUILD, "zelsyshelper", "zelsyshelper-host", "sends_at_end", *targets], 900)[1]:
        return None
    own = f"^({'|'.join(names)})$"
    if name := first_failure(["-R", own]):
        return name
    fuzzers = [name for prefix, names in FUZZERS.items() if fault.path.startswith(prefix) for name in names]
    if fuzzers and not fuzz(fuzzers):
        return "fuzzers"
    if quick:
        return ""
    if not run([*BUILD, "all"], 900)[1]:
        return None
    if name := first_failure(["-E", f"{own}|^(project|package|demo)_test$"]):
        return name
    return "" if soak() else "soak"


def check_without_fault():
    """Exits if a program fails without a fault: it would seem to notice each fault."""
    name = first_failure(["-E", "^(project|package|demo)_test$"])
    if name or not fuzz(sorted({name for names in FUZZERS.values() for name in names})) or not soak():
        raise SystemExit(f"mutate: {name or 'a fuzzer or the soak'} fails without a fault")


def try_fault(fault, quick):
    """Returns the result of `noticed_by` with the fault in the copy. Removes the fault afterwards."""
    path = COPY / fault.path
    lines = path.read_text(encoding="utf-8").split("\n")
    original = lines[fault.number - 1]
    try:
        lines[fault.number - 1] = fault.new
        path.write_text("\n".join(lines), encoding="utf-8")
        return noticed_by(fault, quick)
    finally:
        lines[fault.number - 1] = original
        path.write_text("\n".join(lines), encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate.sh")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--count", type=int, default=20)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("folders", nargs="*", metavar="FOLDER", default=[], help=" ".join(PROGRAMS))
    options = parser.parse_args()
    folders = options.folders or list(PROGRAMS)
    if unknown := set(folders) - set(PROGRAMS):
        parser.error(f"no folder of the product: {' '.join(sorted(unknown))}")

    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))  # so that the fault is removed
    prepare()
    check_without_fault()
    equivalent = {
        line.split("  #")[0].strip() for line in EQUIVALENT.read_text(encoding="utf-8").splitlines()
    }
    sources = [file for file in tracked() if file.split("/")[0] in folders and file.endswith((".cpp", ".h"))]
    # A folder first, then a kind, then a place, so that small folders and rare kinds are drawn too.
    places = {folder: {kind: [] for kind in OPERATORS} for folder in folders}
    for file in sources:
        for fault in faults_of(file):
            places[file.split("/")[0]][fault.kind].append(fault)
    chance = random.Random(options.seed)
    noticed, apart, survivors = 0, 0, []
    while noticed + len(survivors) < options.count and any(any(kinds.values()) for kinds in places.values()):
        kinds = places[chance.choice([folder for folder in folders if any(places[folder].values())])]
        faults = kinds[chance.choice([kind for kind, faults in kinds.items() if faults])]
        fault = faults.pop(chance.randrange(len(faults)))
        if fault.key() in equivalent:
            apart += 1
            continue
        begin = time.monotonic()
        name = try_fault(fault, options.quick)
        if name is None:
            continue
        if name:
            noticed += 1
        else:
            survivors.append(fault)
        print(
            f"{name or 'SURVIVES':22} {time.monotonic() - begin:4.0f} s  {fault.kind:18} {fault}", flush=True
        )
    print("\nSurvivors:" if survivors else "")
    for fault in survivors:
        print(fault)
    by_folder = Counter(fault.path.split("/")[0] for fault in survivors)
    print("by folder:", ", ".join(f"{name} {count}" for name, count in sorted(by_folder.items())) or "none")
    kind = ", by the programs of their folders and the fuzzers" if options.quick else ""
    print(f"{apart} equivalent ones set apart; {noticed} noticed of {noticed + len(survivors)}{kind}")
    prepare()
    check_without_fault()  # a program that now fails without a fault makes the results doubtful


if __name__ == "__main__":
    main()
