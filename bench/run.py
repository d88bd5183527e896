#!/usr/bin/env python3
"""Runs the benchmark programs, keeps their JSON, compares two builds, and writes the page of results.

Each figure is the best of all rounds: other work on a machine only ever makes a run slower. With two
builds each round runs both, in alternating order, and the ratio is the median of the rounds' ratios:
where buffers lie in physical memory differs from run to run, and moves single figures by a third.
"""
import argparse
import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "bench" / "bench"
RESULTS = ROOT / "build" / "bench" / "results.json"
PAGE = ROOT / "docs" / "performance.md"

# Programs on the page, with the headings of their tables. KernelsBench has hundreds of rows and is
# run by hand when working on a kernel.
PAGES = {
    "ImageBench": "Images",
    "DrawBench": "Drawing",
    "OperationsBench": "Filling, copying, merging",
    "ToneBench": "Tone",
    "EditorBench": "Editing",
    "ResampleBench": "Resampling",
    "RotateBench": "Rotation",
    "GeometryBench": "Geometry",
    "ScratchBench": "RAM and scratch files",
    "SoundBench": "Sound",
    "QtViewBench": "The desktop's view",
}
# Its edits are measured on one thread and on two.
DARKROOM = "DarkroomBench"
BY_HAND = ("HalvesBench", "KernelsBench", "ProgressBench", "WalkBench", "WorkBench", DARKROOM)
SLOWER = 1.05  # ratios above this are measured again, and listed by name if they stay above it


def programs(folder, names, page):
    found = [path for path in sorted([*folder.glob("*Bench"), *folder.glob("peers/*Peer")])
             if os.access(path, os.X_OK)]
    # The page has the peers' figures from bench/peers.py.
    return [path for path in found
            if (path.name in names and not (page and path.name == DARKROOM))
            or (not names and (path.name in PAGES if page else path.name not in BY_HAND))]


def count_real_time(row):
    """Makes the row's figures those of real time: the processor time is that of one thread."""
    for key in row:
        if "/s" in key or key.endswith("_per_second"):
            row[key] *= row["cpu_time"] / row["real_time"]
    row["cpu_time"] = row["real_time"]


def run(program, seconds, pattern, threads):
    """Runs a program once: the JSON row of each benchmark, by name."""
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        subprocess.run([program, f"--benchmark_out={out.name}", "--benchmark_out_format=json",
                        f"--benchmark_min_time={seconds}", f"--benchmark_filter={pattern}",
                        # The first pass over memory takes up to ten times as long as the next ones.
                        f"--benchmark_min_warmup_time={seconds / 4}"],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       env={**os.environ, "Q32_BENCH_THREADS": str(threads)})
        text = out.read()
    rows = {row["name"]: row for row in json.loads(text)["benchmarks"]} if text else {}
    for name, row in rows.items():
        if "error_occurred" in row:
            sys.exit(f"{name}: {row['error_message']}")
        if threads != 1:
            count_real_time(row)
    return rows


def seconds_of(row):
    """The time that counts: processor time, or real time if the benchmark measures it itself."""
    scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[row["time_unit"]]
    key = "real_time" if row["name"].endswith("manual_time") else "cpu_time"
    return row[key] * scale


def keep_best(best, rows):
    for name, row in rows.items():
        if name not in best or seconds_of(row) < seconds_of(best[name]):
            best[name] = row


def number_text(value, digits):
    """A number with so many significant digits, and never an exponent."""
    rounded = float(f"{value:.{digits}g}")
    return f"{rounded:.0f}" if rounded == int(rounded) else f"{rounded:.{digits}g}"


def time_text(seconds):
    for unit, scale in (("s", 1.0), ("ms", 1e-3), ("µs", 1e-6)):
        if seconds >= scale:
            return f"{number_text(seconds / scale, 3)} {unit}"
    return f"{number_text(seconds * 1e9, 3)} ns"


def rate_text(row):
    counters = [(key, row[key]) for key in row if "/s" in key]
    if counters:
        return "; ".join(f"{number_text(value, 4)} {key}" for key, value in counters)
    if "items_per_second" in row:
        return f"{number_text(row['items_per_second'] * 1e-6, 4)} M/s"
    if "bytes_per_second" in row:
        return f"{number_text(row['bytes_per_second'] * 1e-9, 3)} GB/s"
    return ""


def processor():
    for line in open("/proc/cpuinfo", encoding="utf-8"):
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def goal_text(row):
    """The ratio to be reached, and whether it is missed."""
    goal = row["goal"]
    if goal is None:
        return "–"
    return f"{goal}, missed" if row["ratio"] < float(str(goal).split()[-1]) else str(goal)


def peers_table():
    """What bench/peers.py measured last, if it did."""
    path = BUILD.parent / "peers.json"
    if not path.exists():
        return []
    peers = json.loads(path.read_text(encoding="utf-8"))
    threads = peers["threads"]
    lines = ["## Beside other libraries", "",
             f"`scripts/bench --peers`: real time, the best of {peers['rounds']} rounds. The ratio is the median of the",
             "rounds: the time of the fastest peer on one thread divided by ours, so above 1 the library is ahead; in the",
             f"fifth column with one thread, in the sixth with {threads} of ours. A peer that starts threads of its own counts here",
             "with the processor time of all of them.", "",
             f"| Work | Ours | {threads} threads | Fastest peer | Ratio | {threads} threads | Goal |",
             "|---|---|---|---|---|---|---|"]
    lines += [f"| {row['work']} | {time_text(row['ours'])} | {time_text(row['several'])} |"
              f" {time_text(row['theirs'])} {row['peer']} | {row['ratio']:.2f} | {row['ratio_several']:.2f} |"
              f" {goal_text(row)} |" for row in peers["rows"]]
    lines += ["", f"Peers with threads of their own, {threads} of theirs beside {threads} of ours. The goal is a ratio above 1.", "",
              "| Work | Ours | Fastest peer | Ratio |", "|---|---|---|---|"]
    lines += [f"| {row['work']} | {time_text(row['several'])} | {time_text(threaded['theirs'])} {threaded['peer']} |"
              f" {threaded['ratio']:.2f} |" for row in peers["rows"] for threaded in row.get("threaded", ())]
    return [*lines, ""]


def measure_darkroom(options):
    """The rows of the darkroom's edits, by the number of threads, or nothing if it wasn't built."""
    program = BUILD / DARKROOM
    best = {}
    if not os.access(program, os.X_OK):
        return best
    for _ in range(options.rounds):
        for threads in (1, 2):
            keep_best(best.setdefault(str(threads), {}), run(program, options.seconds, ".", threads))
    return best


def darkroom_table(rows):
    if not rows:
        return []
    lines = ["## The darkroom", "",
             f"`{DARKROOM}`: edits of a picture of 10,000 x 10,000 pixels with the step that undoes them, in real time on",
             "one thread and on two. The progress object is called at most that long after the last time, and Esc, pressed",
             "halfway, ends the edit after that time, with the picture as it was (both on two threads).", "",
             "| Edit | 1 thread | 2 threads | Gain | Reports | Longest wait | Stop |", "|---|---|---|---|---|---|---|"]
    for name, one in rows["1"].items():
        two = rows["2"][name]
        alone, both = (row["real_time"] * 1e-3 for row in (one, two))
        lines.append(f"| {name.removesuffix('/real_time')} | {time_text(alone)} | {time_text(both)} | {alone / both:.2f} |"
                     f" {two['reports']:.0f} | {two['wait']:.1f} ms | {two['stop']:.1f} ms |")
    return [*lines, ""]


def earlier_results(options):
    """Those of programs that ran before in the same way: a page may be measured in parts."""
    if options.page and RESULTS.exists():
        results = json.loads(RESULTS.read_text(encoding="utf-8"))
        if results["rounds"] == options.rounds and results["threads"] == options.threads:
            return results
    return {"rounds": options.rounds, "threads": options.threads, "programs": {}}


def write_page(results):
    lines = ["# Measured speed", "",
             f"Written by `scripts/bench --page` on a machine with {os.cpu_count()} processors",
             f"({processor()}), {platform.system()} {platform.release()}. Threads: {results['threads']}; the best of",
             f"{results['rounds']} rounds; {'processor' if results['threads'] == 1 else 'real'} time. Pictures have 4000 x 3000 pixels unless a row",
             "says otherwise. What the figures mean for a host is in [tuning.md](tuning.md); why some goals are missed, in",
             "[bench/profiles.md](../bench/profiles.md).", ""]
    lines += peers_table()
    groups = [(name, title) for name, title in PAGES.items() if name in results["programs"]]
    groups += [(name, f"Peer: {name.removesuffix('Peer')}") for name in results["programs"]
               if name.endswith("Peer")]
    for name, title in groups:
        lines += [f"## {title}", "", f"`{name}`", "", "| Work | Time | Rate |", "|---|---|---|"]
        for row in results["programs"][name].values():
            lines.append(f"| {row['name']} | {time_text(seconds_of(row))} | {rate_text(row)} |")
        lines.append("")
    lines += darkroom_table(results.get("darkroom"))
    PAGE.write_text("\n".join(lines), encoding="utf-8")


def keep_ratios(ratios, ours, theirs):
    for name, row in ours.items():
        if name in theirs:
            ratios.setdefault(name, []).append(seconds_of(row) / seconds_of(theirs[name]))


def slower_rows(ratios):
    return [name for name, of_rounds in ratios.items() if statistics.median(of_rounds) > SLOWER]


def compare(ours, theirs, ratios):
    for name, of_rounds in ratios.items():
        ratio = statistics.median(of_rounds)
        print(f"  {name:50} {time_text(seconds_of(theirs[name])):>10} {time_text(seconds_of(ours[name])):>10}"
              f" {ratio:6.2f}{'  slower' if ratio > SLOWER else ''}")
    return slower_rows(ratios)


def exactly(names):
    """An expression for these benchmarks alone."""
    # As re.escape, which also escapes what the benchmarks' expressions don't know escaped, such as blanks.
    return "|".join("^" + re.sub(r"([.()\[\]{}+*?|^$\\])", r"\\\1", name) + "$" for name in sorted(names))


class Comparison:
    """One program of this build, and that of another one if there is such, in rounds of alternating order."""

    def __init__(self, program, other, options):
        self.options = options
        self.program = program
        self.other = other if other and other.exists() else None
        self.order = [program] + ([self.other] if self.other else [])
        self.best = {path: {} for path in self.order}
        self.ratios = {}

    def measure(self, rounds, pattern):
        for _ in range(rounds):
            self.order.reverse()
            rows = {}
            for path in self.order:
                rows[path] = run(path, self.options.seconds, pattern, self.options.threads)
                keep_best(self.best[path], rows[path])
            if self.other:
                keep_ratios(self.ratios, rows[self.program], rows[self.other])

    def measure_all(self):
        self.measure(self.options.rounds, self.options.filter)
        # Single rows differ by chance: those that seem slower must be so in further rounds as well.
        suspects = slower_rows(self.ratios)
        if suspects:
            self.measure(2 * self.options.rounds, exactly(suspects))

    def show(self):
        """Prints the rows. Returns those that are slower."""
        print(self.program.name, flush=True)
        ours = self.best[self.program]
        if self.other:
            return compare(ours, self.best[self.other], self.ratios)
        for name, row in ours.items():
            print(f"  {name:50} {time_text(seconds_of(row)):>10}  {rate_text(row)}")
        return []


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--against", type=pathlib.Path, help="folder of another build's benchmarks")
    parser.add_argument("--rounds", type=int, help="3 by default, 2 for the page")
    parser.add_argument("--seconds", type=float, help="least time of one benchmark: 0.2 by default, 0.05 for the page")
    parser.add_argument("--filter", default=".", help="regular expression of benchmarks")
    parser.add_argument("--threads", type=int, default=1,
                        help="threads that operations use; 0: one on each core; real time then counts")
    parser.add_argument("--page", action="store_true", help="write docs/performance.md; with names, from these programs' results and earlier ones")
    parser.add_argument("names", nargs="*", help="programs; all but those for single questions by default")
    options = parser.parse_args()
    options.rounds = options.rounds or (2 if options.page else 3)
    options.seconds = options.seconds or (0.05 if options.page else 0.2)

    results = earlier_results(options)
    slower = []
    for program in programs(BUILD, options.names, options.page):
        other = options.against / program.relative_to(BUILD) if options.against else None
        comparison = Comparison(program, other, options)
        comparison.measure_all()
        slower += [f"{program.name} {name}" for name in comparison.show()]
        results["programs"][program.name] = comparison.best[program]
        RESULTS.write_text(json.dumps(results, indent=1), encoding="utf-8")
    if options.page:
        if not options.names or DARKROOM in options.names:
            results["darkroom"] = measure_darkroom(options)
            RESULTS.write_text(json.dumps(results, indent=1), encoding="utf-8")
        write_page(results)
    if options.against:
        print(f"{len(slower)} slower by more than {SLOWER - 1:.0%}" + "".join(f"\n  {name}" for name in slower))


if __name__ == "__main__":
    main()
