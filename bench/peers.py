#!/usr/bin/env python3
"""Times the library beside other libraries in the same rounds, on one thread and on several.

Each round runs all of them. The ratio is the median over the rounds of the time of the fastest peer
divided by ours: above 1 the library is ahead. Real time counts. Peers use one thread, and where they
have threads of their own, as many as the library in a second comparison. With --filter, the other rows
keep what was measured before.
"""
import argparse
import json
import os
import pathlib
import re
import statistics

import run as bench

RESULTS = bench.BUILD.parent / "peers.json"

# Peers that use as many threads as they are given.
THREADED = ("OpenCvPeer", "QtPeer", "VipsPeer", "ZimgPeer")


def keep(ratio):
    """A ratio that was reached before."""
    return f"keep {ratio}"


# What is done, the ratio to be reached, our program and row, and the peers'.
WORK = [
    ("filter 24 bits to 1333 x 1000", 1.3, "ResampleBench", "Filter/24/4000x3000_to_1333x1000",
     [("ZimgPeer", "fnResize/fnResample_24_third"), ("VipsPeer", "fnResize/fnResample_24_third/real_time")]),
    ("filter grey to 1333 x 1000", 1.1, "ResampleBench", "Filter/8/4000x3000_to_1333x1000",
     [("ZimgPeer", "fnResize/fnResample_8_third"), ("VipsPeer", "fnResize/fnResample_8_third/real_time")]),
    ("filter 32 bits to 1333 x 1000", 1.7, "ResampleBench", "Filter/32/4000x3000_to_1333x1000",
     [("ZimgPeer", "fnResize/fnResample_32_third")]),
    # The peer only averages areas, without weights or overlap.
    ("filter 32 bits, the peer by means of areas", None, "ResampleBench", "Filter/32/4000x3000_to_1333x1000",
     [("QtPeer", "fnResize/fnResample_32_third/process_time")]),
    ("filter 24 bits 1000 x 750 to 4000 x 3000", 1.4, "ResampleBench", "Filter/24/1000x750_to_4000x3000",
     [("ZimgPeer", "fnResize/fnResample_24_times_4"), ("OpenCvPeer", "fnResize/fnResample_24_times_4_cubic")]),
    ("filter 24 bits, height only", keep(1.6), "ResampleBench", "Filter/24/4000x3000_to_4000x1000",
     [("ZimgPeer", "fnResize/fnResample_24_height"), ("VipsPeer", "fnResize/fnResample_24_height/real_time")]),
    ("nearest 24 bits to 1333 x 1000", 1.0, "ResampleBench", "Nearest/24/4000x3000_to_1333x1000",
     [("OpenCvPeer", "fnResize/fnResample_24_nearest_third"), ("PlainPeer", "fnNearest/fnResample_24_nearest_third")]),
    ("nearest 24 bits to 8000 x 6000", 1.6, "ResampleBench", "Nearest/24/4000x3000_to_8000x6000",
     [("OpenCvPeer", "fnResize/fnResample_24_nearest_times_2"), ("PlainPeer", "fnNearest/fnResample_24_nearest_times_2")]),
    ("90 degrees, 8 bits", keep(5.6), "RotateBench", "Right90/8",
     [("OpenCvPeer", "fnRotateRight/fnRotate_90_8"), ("VipsPeer", "fnRotate/fnRotate_90_8/real_time")]),
    ("90 degrees, 24 bits", keep(3.3), "RotateBench", "Right90/24",
     [("OpenCvPeer", "fnRotateRight/fnRotate_90_24"), ("VipsPeer", "fnRotate/fnRotate_90_24/real_time")]),
    ("90 degrees, 32 bits", 2.4, "RotateBench", "Right90/32",
     [("OpenCvPeer", "fnRotateRight/fnRotate_90_32"), ("CairoPeer", "fnDraw/fnRotate_90_32")]),
    ("30 degrees bilinear, 24 bits", 2.0, "RotateBench", "Any30/bilinear/24",
     [("OpenCvPeer", "fnRotateAny/fnRotate_30_bilinear_24")]),
    ("30 degrees bilinear, 32 bits", 2.0, "RotateBench", "Any30/bilinear/32",
     [("OpenCvPeer", "fnRotateAny/fnRotate_30_bilinear_32"), ("CairoPeer", "fnDraw/fnRotate_30_bilinear_32")]),
    ("30 degrees nearest, 24 bits", keep(1.9), "RotateBench", "Any30/nearest/24",
     [("OpenCvPeer", "fnRotateAny/fnRotate_30_nearest_24")]),
    ("brightness, 24 bits", keep(9.5), "ToneBench", "fnBrightContrast/image:24",
     [("OpenCvPeer", "one table, for fnBrightContrast at 24 bits")]),
    ("colour balance, 24 bits", keep(3.0), "ToneBench", "fnColorBalance/image:24",
     [("AggOperationsPeer", "three tables, for fnColorBalance at 24 bits")]),
    ("hue, 24 bits", keep(2.5), "ToneBench", "fnHueSaturation/image:24",
     [("OpenCvPeer", "three passes, for fnHueSaturation at 24 bits")]),
    ("convert 8 to 24 bits", 1.0, "ImageBench", "fnConvert, from/to/8/24",
     [("SwscalePeer", "fnScale/Pal8ToRgb24_fnConvert_8_24")]),
    ("convert 24 to 32 bits", 1.0, "ImageBench", "fnConvert, from/to/24/32",
     [("OpenCvPeer", "fnCvtColor/RgbToRgba_fnConvert_24_32"), ("SwscalePeer", "fnScale/Rgb24ToArgb_fnConvert_24_32")]),
    ("convert 16 to 24 bits", 1.0, "ImageBench", "fnConvert, from/to/16/24",
     [("OpenCvPeer", "fnCvtColor/Bgr565ToRgb_fnConvert_16_24"), ("SwscalePeer", "fnScale/Rgb565ToRgb24_fnConvert_16_24")]),
    ("merge by a mask, 24 bits", keep(7.7), "OperationsBench", "merge/24/1/0",
     [("AggOperationsPeer", "32 over 24 bits by a mask, for fnMerge")]),
    ("sum of whole masks", 0.8, "OperationsBench", "mask/1/0",
     [("PixmanPeer", "add masks, for CqMask/rows:1465")]),
    ("draw 24 bits to 8", 1.0, "DrawBench", "fnDraw/screen:8/image:24/factor:1/gamma:180",
     [("QtPeer", "fnConvertFormat/Rgb888ToIndexed8_fnDraw_24_to_8_bits/process_time")]),
    ("draw 24 bits to 32", 1.0, "DrawBench", "fnDraw/screen:32/image:24/factor:1/gamma:180",
     [("OpenCvPeer", "fnCvtColor/RgbToBgra_fnDraw_24_to_32_bits"),
      ("QtPeer", "fnConvertFormat/Rgb888ToRgb32_fnDraw_24_to_32_bits/process_time")]),
    ("draw 24 bits to 32 with gamma", 1.0, "DrawBench", "fnDraw/screen:32/image:24/factor:1/gamma:220",
     [("OpenCvPeer", "table and colours, for fnDraw of 24 to 32 bits with gamma"), ("PlainPeer", "fnDrawGamma")]),
    ("flatten 100,000 cubics, tolerance 0.1", 1.5, "GeometryBench", 'fnTessellate/"tolerance 0.1"',
     [("AggPeer", 'fnTessellate/"tolerance 0.1"')]),
    ("flatten 100,000 cubics, tolerance 0.5", 1.5, "GeometryBench", 'fnTessellate/"tolerance 0.5"',
     [("AggPeer", 'fnTessellate/"tolerance 0.5"')]),
    ("1,000,000 cubics and lines", 1.1, "GeometryBench", "fnIntersect",
     [("Lib2geomPeer", "fnLib2geom"), ("Lib2geomPeer", "fnClosedForm")]),
    ("100,000 lines, 8 bits", keep(1.4), "GeometryBench", 'fnDrawSegments/"8 bits"',
     [("AggPeer", "fnDrawSegments<agg::pixfmt_gray8>")]),
]


def find(program):
    for path in (bench.BUILD / program, bench.BUILD / "peers" / program):
        if os.access(path, os.X_OK):
            return path
    return None


def real_seconds(row):
    return row["real_time"] * {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[row["time_unit"]]


def seconds_of(row, threads):
    """Real time, but that of the processor for a peer on one thread that starts others itself."""
    if threads == 1 and row["name"].endswith("/process_time"):
        return real_seconds({**row, "real_time": row["cpu_time"]})
    return real_seconds(row)


def chosen_rows(chosen):
    """The rows that each program is to run."""
    rows = {}
    for _, _, program, row, peers in chosen:
        for name, one in [(program, row), *peers]:
            if find(name):
                rows.setdefault(name, set()).add(one)
    return rows


def measure(chosen, options):
    """The seconds of each round, by program, row and number of threads."""
    times = {}
    for _ in range(options.rounds):
        for program, rows in chosen_rows(chosen).items():
            pattern = bench.exactly(rows)
            alone = program.endswith("Peer") and program not in THREADED
            for threads in [1] if alone else [1, options.threads]:
                for name, row in bench.run(find(program), options.seconds, pattern, threads).items():
                    times.setdefault((program, name, threads), []).append(seconds_of(row, threads))
    return times


def ratio(best_of_peers, ours):
    return statistics.median(peer / own for peer, own in zip(best_of_peers, ours))


def fastest(peers, times, threads, ours):
    """The best of the peers that were measured with so many threads, or nothing."""
    known = {(name, one): times[name, one, threads] for name, one in peers if (name, one, threads) in times}
    if not known:
        return None
    best = [min(rounds) for rounds in zip(*known.values())]
    name = min(known, key=lambda peer: statistics.median(known[peer]))[0]
    return {"peer": name.removesuffix("Peer"), "theirs": min(best), "ratio": ratio(best, ours)}, best


def tabulate(chosen, times, threads):
    table = []
    for work, goal, program, row, peers in chosen:
        ours = times.get((program, row, 1))
        several = times.get((program, row, threads))
        found = fastest(peers, times, 1, ours) if ours and several else None
        if not found:
            continue
        alone, best = found
        threaded = fastest(peers, times, threads, several)
        table.append({"work": work, "goal": goal, "ours": min(ours), "several": min(several), **alone,
                      "ratio_several": ratio(best, several), "speed_up": ratio(ours, several),
                      "threaded": [threaded[0]] if threaded else []})
    return table


def with_earlier(table, options):
    """The rows, and for other works those measured before in the same way, in the order of the list."""
    rows = {}
    if RESULTS.exists():
        earlier = json.loads(RESULTS.read_text(encoding="utf-8"))
        if (earlier["rounds"], earlier["threads"]) == (options.rounds, options.threads):
            rows = {row["work"]: row for row in earlier["rows"]}
    rows.update((row["work"], row) for row in table)
    return [{"threaded": [], **rows[work], "goal": goal} for work, goal, *_ in WORK if work in rows]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--seconds", type=float, default=0.1, help="least time of one benchmark")
    parser.add_argument("--threads", type=int, default=2, help="how many are several")
    parser.add_argument("--filter", default=".", help="regular expression of the work")
    options = parser.parse_args()

    chosen = [work for work in WORK if re.search(options.filter, work[0])]
    table = tabulate(chosen, measure(chosen, options), options.threads)
    for row in table:
        threaded = "".join(f"; {bench.time_text(peer['theirs'])} {peer['peer']} {peer['ratio']:.2f}" for peer in row["threaded"])
        print(f"{row['work']:42} {bench.time_text(row['ours']):>8} {bench.time_text(row['several']):>8}"
              f" {bench.time_text(row['theirs']):>8} {row['peer']:14} {row['ratio']:5.2f} {row['ratio_several']:5.2f}"
              f" {row['speed_up']:5.2f}  {bench.goal_text(row)}{threaded}")
    results = {"rounds": options.rounds, "threads": options.threads, "rows": with_earlier(table, options)}
    RESULTS.write_text(json.dumps(results, indent=1), encoding="utf-8")


if __name__ == "__main__":
    main()
