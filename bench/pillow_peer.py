#!/usr/bin/env python3
"""Times Pillow's Floyd-Steinberg black and white (convert to mode "1") on a
picture file and prints one time in milliseconds per run. The picture is read
and converted to grey outside the timing, as the control's own black and white
is measured from a picture already in memory."""
import sys
import time

from PIL import Image


def main() -> None:
    path, runs = sys.argv[1], int(sys.argv[2])
    rgb = Image.open(path).convert("RGB")
    rgb.load()
    for _ in range(runs):
        start = time.perf_counter()
        rgb.convert("1", dither=Image.Dither.FLOYDSTEINBERG)
        print((time.perf_counter() - start) * 1000.0, flush=True)


if __name__ == "__main__":
    main()
