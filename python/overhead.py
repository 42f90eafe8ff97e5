"""Per-call cost of the package around the plug-in's doTransform on
1920x1200 frames, on one image object:

- doTransform: the bare call into a buffer allocated once;
- host work: what any host pays per frame besides: the frame copied into
  the object's buffer, a new zeroed result buffer, then doTransform, all
  called directly;
- convert: Converter.convert, which does the same work through the package.

"wrapper" is convert over host work, the package's own cost; "all-in" is
convert over the bare doTransform. Run with the package on PYTHONPATH (and
KV_IMGPROC_PLUGIN if the plug-in is not found by itself):

    python3 python/overhead.py [repeats]
"""

import ctypes
import sys
import threading
import time

import numpy as np

import kvimgproc as kv
from kvimgproc import _formats

W, H = 1920, 1200
PAIRS = [
    ("BAYRG8", "RGB8_PACKED", "nearest"),
    ("BAYRG8", "RGB8_PACKED", "bilinear"),
    ("BAYGR12", "RGB8_PACKED", "bilinear"),
    ("MONO16", "MONO8", "nearest"),
    ("RGB8_PACKED", "BGRA8_PACKED", "nearest"),
    ("YUV422_PACKED", "RGB8_PACKED", "nearest"),
]


def frame_for(fmt):
    rng = np.random.default_rng(1)
    shape = _formats.shape_of(fmt, W, H)
    top = (1 << fmt.effective_bits) if fmt.dtype == np.uint16 else 256
    return rng.integers(0, top, size=shape, dtype=fmt.dtype)


def fastest(fns, repeats):
    """Fastest time of each function, run in turns so that a busy spell of
    the (shared) machine hits them alike."""
    times = [[] for _ in fns]
    for _ in range(repeats):
        for fn, spent in zip(fns, times):
            start = time.perf_counter()
            fn()
            spent.append(time.perf_counter() - start)
    return [min(spent) for spent in times]


def main():
    repeats = int(sys.argv[1]) if len(sys.argv) > 1 else 40
    # The package's fixed cost per frame, where the plug-in has next to
    # nothing to do: checks, ctypes calls, the result array.
    tiny = np.zeros((8, 8), np.uint8)
    small = kv.Converter("BAYRG8", "RGB8_PACKED")
    spent = fastest([lambda: [small.convert(tiny) for _ in range(100)]], repeats)[0] / 100
    print(f"fixed cost of Converter.convert (8x8 frame): {spent * 1e6:.1f} us per call")
    print(f"{'pair':42} {'doTransform':>11} {'host work':>10} {'convert':>10} {'wrapper':>8} {'all-in':>8}")
    for source, destination, method in PAIRS:
        src, dst = _formats.lookup(source), _formats.lookup(destination)
        frame = frame_for(src)
        width = height = None
        if src.layout == "raw":
            width, height = W, H
        conv = kv.Converter(source, destination, method=method, width=width, height=height)
        conv.convert(frame)
        image = conv._image
        length = max(_formats.frame_bytes(dst, W, H), _formats.transform_bytes(dst, W, H))
        out = np.zeros(length, np.uint8)

        def host():
            image.load(frame, conv._runs_as, W, H)
            target = np.zeros(length, np.uint8)
            image.call("doTransform", target.ctypes.data, length)

        bare, work, full = fastest([lambda: image.call("doTransform", out.ctypes.data, length), host,
                                    lambda: conv.convert(frame)], repeats)
        label = f"{source} -> {destination} ({method})"
        print(f"{label:42} {bare * 1e3:8.3f} ms {work * 1e3:7.3f} ms {full * 1e3:7.3f} ms "
              f"{100 * (full - work) / work:7.1f} % {100 * (full - bare) / bare:7.1f} %")
        conv.close()

    # Two threads with a converter each against one thread doing the same
    # frames: the interpreter lock is released inside the plug-in.
    frame = frame_for(_formats.lookup("BAYRG8"))
    convs = [kv.Converter("BAYRG8", "RGB8_PACKED", method="bilinear") for _ in range(2)]
    n = max(4, repeats // 4)

    def stream(conv, frames):
        for _ in range(frames):
            conv.convert(frame)  # results dropped, as a stream does

    def one():
        stream(convs[0], 2 * n)

    def two():
        threads = [threading.Thread(target=stream, args=(c, n)) for c in convs]
        for t in threads:
            t.start()
        for t in threads:
            t.join()

    single, double = fastest([one, two], 3)
    print(f"BAYRG8 -> RGB8_PACKED (bilinear), {2 * n} frames: one thread {single * 1e3:.1f} ms, "
          f"two threads {double * 1e3:.1f} ms, speed-up {single / double:.2f}")


if __name__ == "__main__":
    main()
