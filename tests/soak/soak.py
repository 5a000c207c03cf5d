"""Soak, storm and kill tests of the built library. docs/reliability.md lists the guarantees."""

import json
import os
import random
import re
import struct
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter, defaultdict
from pathlib import Path
from socket import SO_LINGER, SOL_SOCKET
from urllib.parse import parse_qs

ROOT = Path(__file__).parents[2]
sys.path[:0] = [str(ROOT / "tools/loopback"), str(ROOT / "tests/support")]
import prefix  # noqa: E402
import servers  # noqa: E402
from certificates import Authority  # noqa: E402
from server import Reply, Server  # noqa: E402

SHORT = "--short" in sys.argv
SEED = 20
STORM_SECONDS, SETS, EVENTS, KILLS = (15, 60, 500, 10) if SHORT else (600, 500, 10_000, 100)
PROGRAM, SWEEP = prefix.BIN / "soak_storm.exe", prefix.BIN / "soak_sweep.exe"
HOST = prefix.BIN / "zelsyshelper-host.exe"
OLD_LOG = prefix.LOG.with_name(prefix.LOG.name + ".1")
EXPORTS = {*(ROOT / "modules/zelsyshelper/src/zelsyshelper.def").read_text().split()[3:]}
KEYS = {b"k%d" % i for i in range(8)}
LINE = re.compile(r"\S+Z (\d+) (\d+) \d (\S+) \S+:\d+ (.*)")
PIPES = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "encoding": "utf-8"}
rows, broken = [], []


def row(what, figure):
    rows.append((what, figure))
    print(f"{what:50} {figure}", flush=True)


def promise(holds, text):
    if not holds:
        broken.append(text)
        print("BROKEN: " + text, flush=True)


def counts(counter):
    return ", ".join(f"{name}: {number}" for name, number in sorted(counter.items())) or "none"


def start(*arguments, program=PROGRAM, stdin=subprocess.DEVNULL):
    """Starts a program. Waits until soak_storm.exe reports that it is about to start its loop."""
    for _ in range(3):
        process = subprocess.Popen(prefix.command_of(program, *arguments), stdin=stdin, **PIPES)
        if program != PROGRAM or (line := process.stdout.readline()) == "ready\n":
            return process
        if prefix.START_FAILED not in (errors := process.stderr.read()):
            break
    promise(False, f"{arguments} did not start and exited with {process.wait()}: {line}{errors}")
    return process


def succeed(*arguments):
    result = prefix.host(*arguments)
    promise(result.returncode == 0, f"the next start failed: {result}")


def killed(longest, *arguments, **options):
    process = start(*arguments, **options)
    time.sleep(random.uniform(0, longest))
    process.kill()
    process.communicate()


def storm(folder, pem):
    prefix.set_log_level(3)
    with Server(servers.answer) as files, Server(lambda *_: Reply(body=b"ok"), pem) as host:
        prefix.set_proxy(host.port, Location="DE")
        arguments = "storm", folder / "storm", STORM_SECONDS, 16, SEED, files.port
        result = prefix.run(PROGRAM, *arguments, timeout=2 * STORM_SECONDS + 120)
    lines = [line.split() for line in result.stdout.splitlines()]
    called = [(line[1], int(line[2]), int(line[3]), line[4] == "1") for line in lines if line[:1] == ["call"]]
    calls = {name: sum(count for other, count, *_ in called if other == name) for name, *_ in called}
    wrong = {name: count for name, _, count, _ in called if count != 0}
    usage = [list(map(int, line[1:])) for line in lines if line[:1] == ["usage"]]
    whole = result.returncode == 0 and len(usage) == 2 and calls.keys() == EXPORTS and min(calls.values()) > 0
    promise(whole, f"the storm exited with {result.returncode}: {result.stdout[-500:]}")
    if not whole:
        return
    promise(not wrong, f"undocumented results: {wrong}")
    row("storm: threads, seconds, exports, seed", f"16, {STORM_SECONDS}, {len(calls)}, {SEED}")
    figures = f"{sum(calls.values())}; {min(calls.values())}, {max(calls.values())}"
    row("storm: calls; fewest, most of one export", figures)
    # Each call of a marked row keeps a store in memory, by contract: 384 bytes.
    kept = sum(count for _, count, _, leaves_store in called if leaves_store) * 3 // 8
    # Wine 10 leaks a third of a KiB in each connection with the service manager, whichever program opens it.
    system = sum(calls[name] for name in calls if "Service" in name) // 2
    allowed = {"handles": 48, "KiB of own blocks": 64 + kept, "KiB of memory": 8192 + kept + system}
    for (name, most), before, after in zip(allowed.items(), *usage):
        promise(after - before <= most, f"{name} grew from {before} to {after}, by more than {most}")
        row(f"storm: {name} before, after, allowed growth", f"{before}, {after}, {most}")


def sweep(folder, pem):
    prefix.set_log_level(7)
    with Server(servers.answer) as files, Server(lambda *_: Reply(body=b"ok"), pem) as host:
        prefix.set_proxy(host.port)
        result = prefix.run(SWEEP, folder / "sweep/own", files.port, int(not SHORT), timeout=900)
    swept = re.search(r"^swept (\d+) (\d+) (\d+)", result.stdout, re.MULTILINE)
    problems = "\n".join(line for line in result.stdout.splitlines() if line.startswith("problem"))
    promise(result.returncode == 0 and swept, f"the sweep exited with {result.returncode}:\n{problems}")
    if swept:
        row("sweep: cases, calls that failed, different functions", ", ".join(swept.groups()))


def value_of(number):
    return b"%d.%s.%d" % (number, b"x" * (number * 7 % 90), number)


def pairs(contents):
    """Returns the keys and values of a property file, without the zeros at its end."""
    return [line.partition(b"=")[::2] for line in contents.rstrip(b"\0").split(b"\n") if line]


OTHERS = {b"other%02d" % i: b"v" * (60 + i) for i in range(25)}  # less than a page, even with KEYS


def contents_of(keys):
    return b"".join(b"%s=%s\n" % item for item in sorted(keys.items()))


def is_sound(contents, own):
    """Returns true if each key of OTHERS is present once, unchanged, and no value of an own key is torn."""
    others = [(key, value) for key, value in pairs(contents) if key not in own]
    numbers = [(value, value.split(b".")[0]) for key, value in pairs(contents) if key in own]
    whole = (number.isdigit() and value == value_of(int(number)) for value, number in numbers)
    return others == sorted(OTHERS.items()) and all(whole)


def watch(path, is_over, seen, broken_states):
    """Inspects the file until the writers have ended. Under Linux, a read can overlap a write that is
    suspended half way. A broken state therefore counts only if it lasts for a second."""
    before, since, file = b"", 0, os.open(path, os.O_RDONLY)
    while not is_over():
        now = os.pread(file, 65536, 0)
        seen["looks"] += 1
        if now != before:
            before, since = now, time.monotonic()
        elif time.monotonic() - since > 1 and not is_sound(now, KEYS):
            broken_states.add(now)
    os.close(file)


def eight_processes(folder, _pem):
    path, seen, totals, broken_states = folder / "eight.cfg", Counter(), Counter(), set()
    path.write_bytes(contents_of(OTHERS | {key: value_of(0) for key in KEYS}))
    writers = [start("set", path, f"k{i}", SETS, stdin=subprocess.PIPE) for i in range(8)]
    for writer in writers:  # all are ready: closing stdin starts them
        writer.stdin.close()
    have_ended = lambda: all(writer.poll() is not None for writer in writers)  # noqa: E731
    watcher = threading.Thread(target=watch, args=(path, have_ended, seen, broken_states))
    watcher.start()
    for writer in writers:
        numbers = re.findall(r"set (\d+) (\d+) (\d+)", writer.stdout.read())
        promise(writer.wait() == 0 and len(numbers) == 1, "a writer failed")
        totals.update(dict(zip(("lost", "absent", "half"), map(int, *numbers))))
    watcher.join()
    promise(not totals.total() and not broken_states, f"{totals}, {broken_states}")
    expected = contents_of(OTHERS | {key: value_of(SETS) for key in KEYS})
    promise(path.read_bytes() == expected, "the last updates are lost")
    row("8 processes: updates; lost", f"{8 * SETS}; {totals['lost']}")
    row("8 processes: keys of others absent, values torn", f"{totals['absent']}, {totals['half']}")
    figures = f"{seen['looks']}; {len(broken_states)}"
    row("8 processes: inspections of the file from outside; broken states", figures)


# Replies of the statistics host to a post: the share in percent, and the outcome that the library must log.
CHAOS = {
    "200": (67.5, "ok"),
    "500": (15, "rejected"),
    "reset": (6, "curl"),
    "close": (4, "curl"),
    "short": (4, "curl"),
    "garbage": (3, "curl"),
    "stall": (0.2, "curl"),
    "late": (0.3, "ok"),
}


class Chaos:
    def __init__(self):
        self.arrivals, self.lock = defaultdict(list), threading.Lock()

    def answer(self, request, handler):
        event = int(json.loads(parse_qs(request.body.decode())["data"][0])["info"])
        with self.lock:
            attempt = len(self.arrivals[event])
            chance = random.Random(f"{SEED} {event} {attempt}")
            (kind,) = chance.choices(list(CHAOS), [weight for weight, _ in CHAOS.values()])
            self.arrivals[event].append(kind)
        if kind in ("200", "500"):
            return Reply(int(kind), b"body")
        if kind == "late":
            time.sleep(2)
            return Reply()
        if kind == "reset":
            handler.connection.setsockopt(SOL_SOCKET, SO_LINGER, struct.pack("ii", 1, 0))
        pieces = servers.RAW | {"stall": [b""] * 40, "reset": []}
        return servers.write_slowly(handler, pieces[kind])


def clear_log():
    for path in (prefix.LOG, OLD_LOG):
        path.unlink(missing_ok=True)


def logged():
    """Returns the logged outcomes of each event, and the number of malformed lines."""
    outcomes, current, odd = defaultdict(list), {}, 0
    for path in (OLD_LOG, prefix.LOG):
        for line in path.read_text(encoding="utf-8").splitlines() if path.exists() else ():
            if not (found := LINE.fullmatch(line)):
                odd += 1
            elif found[3] == "AppEventStat":
                outcomes[current.get(found[2])].append(found[4].removeprefix("stats::sendEvent").lstrip(": "))
            elif begun := re.search(r"^Event Name: .* Info: (\d+) App Id", found[4]):
                current[found[2]] = int(begun[1])
    return outcomes, odd


def chaotic_events(_folder, pem):
    chaos = Chaos()
    prefix.set_log_level(7)
    clear_log()
    with Server(chaos.answer, pem) as server:
        prefix.set_proxy(server.port, Location="DE")
        result = prefix.run(PROGRAM, "events", EVENTS, 16, timeout=900)
    outcomes, odd = logged()
    promise((result.returncode, odd) == (0, 0), f"exit code {result.returncode}, {odd} malformed lines")
    arrived, ends, codes = Counter(), Counter(), Counter()
    for event in range(1, EVENTS + 1):
        kinds, logged_ends = chaos.arrivals[event], outcomes[event]
        promise(len(logged_ends) == 1, f"event {event} has {len(logged_ends)} outcomes; {kinds}")
        outcome = logged_ends[0] if logged_ends else ""
        # The library sends again only after a status of 400 or above.
        is_due = len(kinds) <= 2 and kinds[:-1] in ([], ["500"])
        promise(is_due, f"event {event} was sent again: {kinds}; {outcome}")
        expected = CHAOS[kinds[-1]][1] if kinds else "curl"
        # A second attempt that does not arrive is logged with its transport code.
        is_lost = kinds == ["500"] and outcome.startswith("curl")
        promise(outcome.startswith(expected) or is_lost, f"event {event}: {kinds}, {outcome}")
        arrived[len(kinds)] += 1
        ends[outcome.partition(" ")[0].rstrip(":")] += 1
        if outcome.startswith("curl"):
            codes[f"{outcome.split()[1]} after {kinds[-1] if kinds else 'nothing'}"] += 1
    figures = f"{EVENTS}; {arrived[1]}, {arrived[2]}, {arrived[0]}"
    row("events: sent; arrived once, twice after 500, never", figures)
    row("events: logged as ok, rejected, no reply", f"{ends['ok']}, {ends['rejected']}, {ends['curl']}")
    row("events: transport codes of missing replies", counts(codes))


def kill_save(folder, _pem):
    path, states = folder / "save.cfg", Counter()
    for _ in range(KILLS):
        path.write_bytes(contents_of(OTHERS))
        killed(0.05, "set", path, "k1", 0)
        left = path.read_bytes()
        sound = is_sound(left, {b"k1"})
        states["zeros at the end" if left.endswith(b"\0") else "whole" if sound else "broken"] += 1
        promise(sound, f"broken after a kill in save: {left}")
        succeed("property", "set", path, "k1", value_of(1).decode())
        expected = contents_of(OTHERS | {b"k1": value_of(1)})
        promise(path.read_bytes() == expected, "the next start did not save its key")
    row("kill in save: the file afterwards", counts(states))


def kill_switches(_folder, _pem):
    path, states = prefix.SETTINGS / "soak-kill.fx", Counter()
    sizes = {sum(len(f"{i}=1\n") for i in range(count)): count for count in range(51)}
    for _ in range(KILLS):
        path.unlink(missing_ok=True)
        killed(0.05, "switches", "soak-kill")
        size = path.stat().st_size if path.exists() else 0
        count = sizes.get(size, 0)
        for name in {0, count - 1} if count else ():
            succeed("property", "check", path, name, "--enciphered")
        states["all switches" if count == 50 else "a part of them" if count else "none"] += 1
        promise(size in sizes, f"{size} bytes are left")
        succeed("switch", "on", "soak-kill", "after")
        now = path.stat().st_size
        promise(now == size + len("after=1\n"), f"next start: {now} bytes after {size}")
    path.unlink()
    row("kill in enableFx: what is left, always whole", counts(states))


def kill_download(folder, _pem):
    length, states = 30_000_000, Counter()
    content, path, server = servers.pattern(length), folder / "big.bin", Server(servers.answer)
    url, proxy = f"http://files.example/file/{length}/big.bin", f"127.0.0.1:{server.port}"
    arguments = "download", url, "--folder", folder, "--proxy", proxy
    for number in range(KILLS):
        path.unlink(missing_ok=True)
        killed(0.8, *arguments, program=HOST)
        left = path.read_bytes() if path.exists() else None
        whole = "whole" if left == content else "a part" if left else "empty"
        states["no file" if left is None else whole] += 1
        promise(left is None or content.startswith(left), "the file is no beginning of the original")
        if number % 5 == 0:
            succeed(*arguments)
            promise(path.read_bytes() == content, "the next start did not download the whole file")
    server.close()
    row("kill in a download: the file afterwards", counts(states))


def kill_hand_over(_folder, _pem):
    states, slowest = Counter(), 0
    line = "2020-01-01T00:00:00.000Z 1 1 7 tag file.cpp:1 " + "t" * 450 + "\n"
    before = line * (5_242_880 // len(line))
    prefix.set_proxy(1)  # no server listens on this port
    prefix.set_log_level(7)
    for _ in range(KILLS):
        clear_log()
        prefix.LOG.write_text(before)
        killed(0.06, "events", 0, 1, 30_000)
        new, old = prefix.LOG.read_text(), OLD_LOG.read_text() if OLD_LOG.exists() else None
        handed = not new.startswith(before)
        begun = "emptied" if handed else "copied" if old == before else "copy cut"
        states["not begun" if old is None else begun] += 1
        promise(not handed or old == before, "lines were lost in the hand-over")
        begin = time.monotonic()
        succeed("event", "--name", "n", "--info", "0")
        slowest = max(slowest, time.monotonic() - begin)
        outcomes, odd = logged()
        whole = outcomes[0] and odd == 0 and OLD_LOG.read_text() == before
        promise(whole, f"the next start: {dict(outcomes)}, {odd}")
    row("kill in a hand-over of the log: its state", counts(states))
    row("kill in a hand-over: the next event, slowest", f"{slowest:.1f} s")


def kill_served(_folder, _pem):
    results, slowest = Counter(), 0
    for _ in range(KILLS // 2):
        server = start("serve", "soak")
        client = start("raise", "soak", program=HOST)
        time.sleep(random.uniform(0, 0.4))
        server.kill()
        begin = time.monotonic()
        server.communicate()
        client.communicate(timeout=60)
        slowest = max(slowest, time.monotonic() - begin)
        results["answered" if client.returncode == 0 else "not answered"] += 1
        promise(client.returncode in (0, 1), f"the client exited with {client.returncode}")
        promise(prefix.host("raise", "soak").returncode == 1, "a killed instance is still found")
    row("kill in a served request: the client was", counts(results))
    row("kill in a served request: the client's end, slowest", f"{slowest:.1f} s")


def write_document():
    path = ROOT / "docs/reliability.md"
    begin, end = "<!-- soak -->\n", "<!-- end of soak -->\n"
    before, rest = path.read_text(encoding="utf-8").split(begin)
    table = [("what", "figure"), ("---", "---"), *rows]
    lines = "".join(f"| {what} | {figure} |\n" for what, figure in table)
    path.write_text(before + begin + lines + end + rest.split(end)[1], encoding="utf-8")


def main():
    kills = [kill_save, kill_switches, kill_download, kill_hand_over, kill_served]
    parts = [sweep, storm, eight_processes, chaotic_events, *kills]
    selected = [argument for argument in sys.argv[1:] if argument not in ("--short", "--write")]
    writes = "--write" in sys.argv
    if not set(selected) <= {part.__name__ for part in parts} or (writes and selected):
        names = " ".join(part.__name__ for part in parts)
        raise SystemExit(f"usage: scripts/soak.sh [--short] [--write | NAME...]; names: {names}")
    random.seed(SEED)
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        authority = Authority(folder / "authority")
        prefix.trust(authority)
        pem = authority.issue("statistics.quenlith.example", "country.quenlith.example")
        for part in parts:
            begin = time.monotonic()
            if not selected or part.__name__ in selected:
                part(folder, pem)
                print(f"{part.__name__}: {time.monotonic() - begin:.0f} s", file=sys.stderr, flush=True)
    clear_log()
    for path in (prefix.COMMON_CONFIG, prefix.LOGS / "Quenlith.cfg", prefix.SETTINGS / "soak.fx"):
        path.unlink(missing_ok=True)
    if writes and not broken:
        write_document()
    return 1 if broken else 0


if __name__ == "__main__":
    sys.exit(main())
