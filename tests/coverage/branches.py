"""Prints the share of branches that the tests take, room by room, and compares what the core misses with a list.

branches.py <export of llvm-cov> <list> [--missing]

A line of the list is a file, a function, a condition as it stands in the source, which way it never goes, and why:

    q32Base/memory/CqVMPolicy.cpp | CqVMPolicy::fnSetDisk | !DiskPaths[i][0] | false | why

The lines of a condition are joined by single spaces. One line stands for all equal conditions of a function; other lines of the
file may move. Empty lines, and those that begin with #, are ignored. Branches of macros, such as assert, and those that the
compiler decides (if constexpr, and conditions on constants of a template alone) aren't counted. A reason that begins with
"at times: " is for a branch that some runs take.
"""

import json
import os
import re
import sys

CORE = "q32Base/"
OTHERS = ("platforms/posix/", "plugins/")
LEAST = 95.0  # per cent of each of the others that are taken or explained
AT_TIMES = "at times: "  # begins the reason of a branch that some runs take and others don't
# llvm-cov counts neither way of a condition that the compiler has decided, and its export doesn't say which these are.
CONSTANT = re.compile(r"!?(Rows::)?k[A-Z]\w*( % \d+)?( [=!]= \d+)?|(Bytes|Bits|Order) == \w+|std::endian::native == std::endian::little")


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
        for place in {key[1] for key in counts if key[0] == name}:
            keys = [(name, place, "true"), (name, place, "false")]
            if CONSTANT.fullmatch(read_condition(lines, place)) and not any(counts[key] for key in keys):
                for key in keys:
                    del counts[key]
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


def find_function(lines, place):
    """The function around a place: the outermost line of smaller indentation that isn't a class or namespace."""
    around = len(lines[place[0] - 1]) - len(lines[place[0] - 1].lstrip())
    whole = re.search(r"(operator\S+?|[\w~:]+)\([^()]*\)( const| noexcept)* \{", lines[place[0] - 1])  # on one line
    name = whole[1] if whole and whole[1] not in ("if", "for", "while", "switch") else "(none)"
    for line in reversed(lines[: place[0] - 1]):
        indent = len(line) - len(line.lstrip())
        if not line.strip() or indent >= around or line.startswith("#") or line.rstrip().endswith((";", ":")):
            continue
        around = indent
        if re.match(r"\s*(namespace|class|struct|template|extern)\b", line):
            continue
        found = re.search(r"(operator\S+?|[\w~:]+)\(", line)
        if found and found[1] not in ("if", "for", "while", "switch"):
            name = found[1]
    return name


def read_list(path):
    explained = {}
    with open(path, encoding="utf-8") as file:
        for line in file:
            if not line.strip() or line.startswith("#"):
                continue
            # A condition may contain a bar; the other four parts don't.
            name, function, rest = line.split(" | ", 2)
            condition, way, why = rest.rsplit(" | ", 2)
            if not why.strip():
                sys.exit(f"{path}: nothing explains {name}: {condition}")
            explained[(name.strip(), function.strip(), condition.strip(), way.strip())] = why.strip()
    return explained


def print_rooms(counts):
    """Prints the shares."""
    rooms = {}
    for (name, _, _), count in counts.items():
        for room in (os.path.dirname(name), find_group(name) + " in all"):
            sums = rooms.setdefault(room, [0, 0])
            sums[0] += 1
            sums[1] += count > 0
    for room, (every, taken) in sorted(rooms.items()):
        print(f"{room:32} {taken:5} of {every:5} branches {100 * taken / every:6.2f} %")


def find_group(name):
    return next(group for group in (CORE, *OTHERS) if name.startswith(group))


def main():
    counts = read_branches(sys.argv[1])
    explained = read_list(sys.argv[2])
    print_rooms(counts)
    sources = {}
    missing = set()
    left = dict.fromkeys((CORE, *OTHERS), 0)
    for name, place, way in sorted(key for key, count in counts.items() if count == 0):
        if name not in sources:
            with open(name, encoding="utf-8") as file:
                sources[name] = file.read().split("\n")
        entry = (name, find_function(sources[name], place), read_condition(sources[name], place), way)
        missing.add(entry)
        if entry not in explained:
            left[find_group(name)] += 1
            if name.startswith(CORE) or "--missing" in sys.argv:
                print(f"{name}:{place[0]}", *entry[1:], sep=" | ", end=" (not explained)\n")
    wrong = left[CORE] > 0
    for entry in sorted(explained.keys() - missing):
        if not explained[entry].startswith(AT_TIMES):
            print(*entry, sep=" | ", end=": explained, but taken or gone\n")
            wrong = True
    for group in OTHERS:
        share = 100 * (1 - left[group] / max(sum(name.startswith(group) for name, _, _ in counts), 1))
        print(f"{group}: {share:.2f} % taken or explained")
        wrong = wrong or share < LEAST
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
