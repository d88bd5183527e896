#!/usr/bin/env python3
"""Compares q32 with other command line tools for pictures, where these are installed: the same work, wall
time and the most memory that the process held, as the kernel counted it (pages of mapped files included).

  bench/tool.py build/release/tools/q32/q32            12 megapixels, best of three runs
  bench/tool.py PROGRAM --side 30000 --memory 512M     900 megapixels, one run
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time


def works(q32, memory):
    """For each work the command of each tool; IN and OUT stand for the files."""
    limit = ["--memory", memory] if memory else []
    return {
        "reduce to a third, PNG": {
            "q32": [q32, "resize", "IN.png", "33.333%", "OUT.png", "--effort", "1", *limit],
            "vips": ["vips", "resize", "IN.png", "OUT.png[compression=1]", "0.33333"],
            "gm": ["gm", "convert", "IN.png", "-resize", "33.333%", "-quality", "10", "OUT.png"],
            "magick": ["convert", "IN.png", "-resize", "33.333%", "-quality", "10", "OUT.png"],
        },
        "rotate by 90 degrees, TIFF": {
            "q32": [q32, "rotate", "IN.tif", "90", "OUT.tif", "--compression", "none", *limit],
            "vips": ["vips", "rot", "IN.tif", "OUT.tif", "d90"],
            "gm": ["gm", "convert", "IN.tif", "-rotate", "90", "-compress", "None", "OUT.tif"],
            "magick": ["convert", "IN.tif", "-rotate", "90", "-compress", "None", "OUT.tif"],
        },
        "thumbnail of a JPEG": {
            "q32": [q32, "thumbnail", "IN.jpg", "OUT.jpg", "--size", "256x256", *limit],
            "vips": ["vipsthumbnail", "IN.jpg", "-s", "256x256", "-o", "OUT.jpg"],
            "gm": ["gm", "convert", "-size", "256x256", "IN.jpg", "-resize", "256x256", "OUT.jpg"],
            "magick": ["convert", "-define", "jpeg:size=256x256", "IN.jpg", "-resize", "256x256", "OUT.jpg"],
        },
        "decode and encode a JPEG": {
            "q32": [q32, "convert", "IN.jpg", "OUT.jpg", "--quality", "90", *limit],
            "vips": ["vips", "jpegsave", "IN.jpg", "OUT.jpg", "--Q", "90"],
            "gm": ["gm", "convert", "IN.jpg", "-quality", "90", "OUT.jpg"],
            "magick": ["convert", "IN.jpg", "-quality", "90", "OUT.jpg"],
        },
    }


def is_there(name, command):
    if not shutil.which(command[0]):
        return False
    if name != "magick":
        return True
    said = subprocess.run([command[0], "-version"], capture_output=True, text=True, check=False)
    return "ImageMagick" in said.stdout


def make_inputs(q32, folder, side, formats):
    """A picture of gradients and noise: repeated patterns would compress as no photograph does."""
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
                        "--compression", "none", "--effort", "1"], check=True)


def measure(command, folder):
    """Seconds and peak KiB of one run; none if it failed."""
    words = [word.replace("IN.", f"{folder}/IN.").replace("OUT.", f"{folder}/OUT.") for word in command]
    start = time.monotonic()
    run = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(run.pid, 0)
    run.returncode = os.waitstatus_to_exitcode(status)
    return (time.monotonic() - start, usage.ru_maxrss) if run.returncode == 0 else None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=pathlib.Path, help="q32")
    parser.add_argument("--side", type=int, default=4000, help="width of the picture in pixels")
    parser.add_argument("--memory", help="passed on to q32")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--work", help="only the works with this in their name", default="")
    parser.add_argument("--folder", help="where the pictures go", default=None)
    options = parser.parse_args()
    q32 = str(options.program.resolve())
    chosen = {name: tools for name, tools in works(q32, options.memory).items() if options.work in name}
    if not chosen:
        sys.exit(f"no work is called {options.work}")
    formats = {word.split(".", 1)[1] for tools in chosen.values() for word in tools["q32"] if word.startswith("IN.")}
    with tempfile.TemporaryDirectory(dir=options.folder) as name:
        folder = pathlib.Path(name)
        make_inputs(q32, folder, options.side, sorted(formats))
        for work, tools in chosen.items():
            print(work)
            for tool, command in tools.items():
                if not is_there(tool, command):
                    print(f"  {tool:8} not installed")
                    continue
                runs = [measure(command, folder) for _ in range(options.rounds)]
                if None in runs:
                    print(f"  {tool:8} failed")
                else:
                    print(f"  {tool:8} {min(run[0] for run in runs):8.2f} s {max(run[1] for run in runs) // 1024:8} MB")


if __name__ == "__main__":
    main()
