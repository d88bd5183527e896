#!/usr/bin/env python3
"""Compares q32 with other command line tools for pictures, where these are installed (scripts/bench --tool): the same
work, wall time, processor time, and the most memory that the process held, as the kernel counted it (pages of mapped
files included, which it takes back when it needs them: --within shows what a tool can do with).

  bench/tool.py build/release/tools/q32/q32                         12 megapixels, best of three runs
  bench/tool.py PROGRAM --side 30000 --memory 512M --rounds 1      900 megapixels, one run
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time


# Under this name nothing else is installed; newer versions have one program for everything.
MAGICK = next((name for name in ("convert-im6.q16", "magick") if shutil.which(name)), "magick")


def works(q32, memory):
    """For each work the command of each tool; IN and OUT stand for the files."""
    limit = ["--memory", memory] if memory else []
    return {
        "reduce to a third, PNG": {
            "q32": [q32, "resize", "IN.png", "33.333%", "OUT.png", "--effort", "1", *limit],
            "vips": ["vips", "resize", "IN.png", "OUT.png[compression=1]", "0.33333"],
            "gm": ["gm", "convert", "IN.png", "-resize", "33.333%", "-quality", "10", "OUT.png"],
            "magick": [MAGICK, "IN.png", "-resize", "33.333%", "-quality", "10", "OUT.png"],
        },
        "rotate by 90 degrees, TIFF": {
            "q32": [q32, "rotate", "IN.tif", "90", "OUT.tif", "--compression", "none", *limit],
            "vips": ["vips", "rot", "IN.tif", "OUT.tif", "d90"],
            "gm": ["gm", "convert", "IN.tif", "-rotate", "90", "-compress", "None", "OUT.tif"],
            "magick": [MAGICK, "IN.tif", "-rotate", "90", "-compress", "None", "OUT.tif"],
        },
        "thumbnail of a JPEG": {
            "q32": [q32, "thumbnail", "IN.jpg", "OUT.jpg", "--size", "256x256", *limit],
            "vips": ["vipsthumbnail", "IN.jpg", "-s", "256x256", "-o", "OUT.jpg"],
            "gm": ["gm", "convert", "-size", "256x256", "IN.jpg", "-resize", "256x256", "OUT.jpg"],
            "magick": [MAGICK, "-define", "jpeg:size=256x256", "IN.jpg", "-resize", "256x256", "OUT.jpg"],
        },
        "decode and encode a JPEG": {
            "q32": [q32, "convert", "IN.jpg", "OUT.jpg", "--quality", "90", *limit],
            "vips": ["vips", "jpegsave", "IN.jpg", "OUT.jpg", "--Q", "90"],
            "gm": ["gm", "convert", "IN.jpg", "-quality", "90", "OUT.jpg"],
            "magick": [MAGICK, "IN.jpg", "-quality", "90", "OUT.jpg"],
        },
    }


def environment(folder, memory):
    """The others keep to the same memory, if any is given; without a policy of its own, magick refuses large pictures."""
    limit = {"M": "MiB", "G": "GiB"}
    amount = memory[:-1] + limit[memory[-1]] if memory else "4GiB"
    names = {"memory": amount, "map": amount, "disk": "64GiB", "width": "64KP", "height": "64KP", "area": amount}
    policies = "".join(f'<policy domain="resource" name="{name}" value="{value}"/>' for name, value in names.items())
    (folder / "policy.xml").write_text(f"<policymap>{policies}</policymap>\n", encoding="utf-8")
    chosen = dict(os.environ, MAGICK_CONFIGURE_PATH=str(folder), MAGICK_TMPDIR=str(folder), TMPDIR=str(folder))
    for name in ("memory", "map") if memory else ():
        chosen[f"MAGICK_LIMIT_{name.upper()}"] = amount
    return chosen


def make_inputs(q32, folder, side, formats, memory):
    """A picture of gradients and noise: repeated patterns would compress as no photograph does. Files that are there stay."""
    formats = [extension for extension in formats if not (folder / f"IN.{extension}").exists()]
    if not formats:
        return
    small = folder / "seed.bmp"
    width = min(side, 2000)
    height = width * 3 // 4 if side <= 8000 else width
    row_bytes = (width * 3 + 3) // 4 * 4
    head = b"BM" + (54 + row_bytes * height).to_bytes(4, "little") + bytes(4) + (54).to_bytes(4, "little")
    info = (40).to_bytes(4, "little") + width.to_bytes(4, "little") + height.to_bytes(4, "little")
    info += (1).to_bytes(2, "little") + (24).to_bytes(2, "little") + bytes(24)
    with open(small, "wb") as out:
        out.write(head + info)
        for y in range(height):
            noise = os.urandom(row_bytes)
            out.write(bytes((x * 255 // row_bytes + y * 64 // height + (noise[x] >> 4)) & 255
                            for x in range(row_bytes)))
    for extension in formats:
        subprocess.run([q32, "resize", str(small), f"{side}x", str(folder / f"IN.{extension}"), "--quiet",
                        "--compression", "none", "--effort", "1", *(["--memory", memory] if memory else [])],
                       check=True)


def measure(command, inputs, folder, environ):
    """Seconds, seconds of the processor and peak KiB of one run; none if it failed."""
    words = [word.replace("IN.", f"{inputs}/IN.").replace("OUT.", f"{folder}/OUT.") for word in command]
    start = time.monotonic()
    run = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=environ)
    _, status, usage = os.wait4(run.pid, 0)
    run.returncode = os.waitstatus_to_exitcode(status)
    return (time.monotonic() - start, usage.ru_utime + usage.ru_stime, usage.ru_maxrss) if run.returncode == 0 else None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=pathlib.Path, help="q32")
    parser.add_argument("--side", type=int, default=4000, help="width of the picture in pixels")
    parser.add_argument("--memory", help="passed on to q32")
    parser.add_argument("--within", help="a limit that the system enforces, file pages included: 512M, say; as root")
    parser.add_argument("--rounds", type=int, default=3, help="0: only make the pictures to read")
    parser.add_argument("--work", help="only the works with this in their name", default="")
    parser.add_argument("--tools", help="only these, separated by commas", default="")
    parser.add_argument("--inputs", type=pathlib.Path, help="a folder for the pictures to read, kept for the next run")
    parser.add_argument("--folder", help="where the pictures go", default=None)
    options = parser.parse_args()
    q32 = str(options.program.resolve())
    chosen = {name: tools for name, tools in works(q32, options.memory).items() if options.work in name}
    if not chosen:
        sys.exit(f"no work is called {options.work}")
    formats = {word.split(".", 1)[1] for tools in chosen.values() for word in tools["q32"] if word.startswith("IN.")}
    with tempfile.TemporaryDirectory(dir=options.folder) as name:
        folder = pathlib.Path(name)
        environ = environment(folder, options.memory)
        inputs = options.inputs or folder
        make_inputs(q32, inputs, options.side, sorted(formats), options.memory)
        for work, tools in chosen.items() if options.rounds else ():
            print(work, flush=True)
            for tool, command in tools.items():
                if options.tools and tool not in options.tools.split(","):
                    continue
                if not shutil.which(command[0]):
                    print(f"  {tool:8} not installed")
                    continue
                if options.within:
                    command = [str(pathlib.Path(__file__).parent.parent / "scripts/with-memory"), options.within, *command]
                runs = [measure(command, inputs, folder, environ) for _ in range(options.rounds)]
                if None in runs:
                    print(f"  {tool:8} failed")
                else:
                    print(f"  {tool:8} {min(run[0] for run in runs):8.2f} s "
                          f"{min(run[1] for run in runs):8.2f} s of the processor "
                          f"{max(run[2] for run in runs) // 1024:6} MiB", flush=True)


if __name__ == "__main__":
    main()
