"""Prints the share of branches that the tests take, room by room, and compares what the core misses with a list.

branches.py <export of llvm-cov> <list> [--missing]

A line of the list is a file, a condition as it stands in the source, which way it never goes, and why:

    q32Base/memory/CqVMPolicy.cpp | !DiskPaths[i][0] | false | why

The lines of a condition are joined by single spaces. One line stands for all equal conditions of a file. Empty lines, and
those that begin with #, are ignored. Branches of macros, such as assert, and those that the compiler decides (if constexpr) aren't counted.
"""

import json
import os
import sys

CORE = "q32Base/"
OTHERS = ("platforms/posix/", "plugins/")
LEAST = 95.0  # per cent, of each of the others


def read_branches(path):
    """How often each branch was taken: by file, place and way, the most that any instance of a template has."""
    root = os.getcwd() + "/"
    counts = {}
    with open(path, encoding="utf-8") as file:
        data = json.load(file)["data"]
    for source in (source for export in data for source in export["files"]):
        name = source["filename"].removeprefix(root)
        if not name.startswith((CORE, *OTHERS)):
            continue
        with open(name, encoding="utf-8") as file:
            lines = file.read().split("\n")
        for branch in source.get("branches", []):
            place = tuple(branch[:4])
            if is_constant(lines, place):
                continue
            for way, count in (("true", branch[4]), ("false", branch[5])):
                key = (name, place, way)
                counts[key] = max(counts.get(key, 0), count)
    return counts


def is_constant(lines, place):
    """Whether the compiler decides: a condition of `if constexpr`, which may go on over two lines."""
    first, start, _, _ = place
    before = lines[first - 2] + lines[first - 1][: start - 1]
    return "if constexpr" in before.rsplit(";", 1)[-1]


def read_condition(lines, place):
    first, start, last, end = place
    if first == last:
        return lines[first - 1][start - 1 : end - 1].strip()
    text = [lines[first - 1][start - 1 :], *lines[first : last - 1], lines[last - 1][: end - 1]]
    return " ".join(" ".join(text).split())


def read_list(path):
    explained = set()
    with open(path, encoding="utf-8") as file:
        for line in file:
            if not line.strip() or line.startswith("#"):
                continue
            # A condition may contain a bar; the other three parts don't.
            name, rest = line.split(" | ", 1)
            condition, way, why = rest.rsplit(" | ", 2)
            if not why.strip():
                sys.exit(f"{path}: nothing explains {name}: {condition}")
            explained.add((name.strip(), condition.strip(), way.strip()))
    return explained


def print_rooms(counts):
    """Prints the shares, and returns those of whole folders."""
    rooms = {}
    for (name, _, _), count in counts.items():
        sums = rooms.setdefault(os.path.dirname(name), [0, 0])
        sums[0] += 1
        sums[1] += count > 0
    shares = {}
    for group in (CORE, *OTHERS):
        parts = [sums for room, sums in rooms.items() if (room + "/").startswith(group)]
        every, taken = (sum(part) for part in zip(*parts)) if parts else (0, 0)
        rooms[group + " in all"] = [every, taken]
        shares[group] = 100 * taken / every if every else 0.0
    for room, (every, taken) in sorted(rooms.items()):
        print(f"{room:32} {taken:5} of {every:5} branches {100 * taken / every if every else 0:6.2f} %")
    return shares


def main():
    counts = read_branches(sys.argv[1])
    explained = read_list(sys.argv[2])
    shares = print_rooms(counts)
    sources = {}
    missing = set()
    wrong = False
    for name, place, way in sorted(key for key, count in counts.items() if count == 0):
        if name not in sources:
            with open(name, encoding="utf-8") as file:
                sources[name] = file.read().split("\n")
        entry = (name, read_condition(sources[name], place), way)
        missing.add(entry)
        unexplained = name.startswith(CORE) and entry not in explained
        wrong = wrong or unexplained
        if unexplained or (not name.startswith(CORE) and "--missing" in sys.argv):
            print(f"{name}:{place[0]} | {entry[1]} | {way}" + (" (not explained)" if unexplained else ""))
    for name, condition, way in sorted(explained - missing):
        print(f"{name} | {condition} | {way}: explained, but taken or gone")
        wrong = True
    for group in OTHERS:
        if shares[group] < LEAST:
            print(f"{group}: less than {LEAST} %")
            wrong = True
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
