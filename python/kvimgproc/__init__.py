"""The img_proc.so.17 plug-in's conversions on NumPy arrays.

The package loads the plug-in as the host library does and runs frames held
in NumPy arrays through its image objects::

    import numpy as np, kvimgproc as kv
    mosaic = np.fromfile("frame.raw", np.uint8).reshape(1200, 1920)
    rgb = kv.convert(mosaic, "BAYRG8", "RGB8_PACKED", method="bilinear")

Frames go in and come out in their natural shape: H x W for mono and Bayer,
H x W x 3 (or x 4) for packed colour, 3 x H x W for planar colour, uint16
where a sample is stored in 16 bits (little-endian, as the host has it).
Formats whose width cannot be read from a shape (MONO10/12_PACKED, the YUV
formats, RGB10V1/V2_PACKED) are 1-D uint8 arrays of the host's bytes, with
`width=` and `height=`.

Bad input raises ValueError before the plug-in sees it; a plug-in
operation that answers other than RESULT_OK raises PluginError naming the
code. The plug-in is found through the environment variable
KV_IMGPROC_PLUGIN (its path; KV_KORVA_LIBRARY may name the host library),
else next to the installed package (<prefix>/lib), else in the source
tree's build/ folder.
"""

import math
import threading
import warnings

import numpy as np

from . import _formats
from ._image import Image
from ._plugin import PluginError, plugin

__all__ = ["formats", "destinations", "convert", "brightness", "balance", "Converter", "PluginError",
           "plugin_version"]

_METHODS = {"nearest": 1, "bilinear": 2}
_ALIGNED = {"GR": "RG", "BG": "GB"}


def plugin_version():
    """The interface version that the plug-in's handshake reports."""
    return plugin().version


_query = None
_query_lock = threading.Lock()


def _query_image():
    global _query
    if _query is None:
        _query = Image()
    return _query


def formats():
    """Names of the pixel formats that the plug-in's catalogue knows, in its
    order (without the KORVA_PIXTYPE_ prefix)."""
    return [f.name for f in _formats.FORMATS if destinations(f.name)]


def destinations(source):
    """Names of the formats that the plug-in offers for `source`, in the
    order it reports them; the source itself comes first."""
    fmt = _formats.lookup(source)
    with _query_lock:  # the query object is shared by all threads
        codes = _query_image().destinations(fmt)
    return [_formats.BY_CODE[c].name if c in _formats.BY_CODE else hex(c) for c in codes]


def _check_array(frame, fmt, width, height):
    """(width, height) of a frame of format fmt held in `frame`."""
    if not isinstance(frame, np.ndarray):
        raise ValueError(f"the frame must be a NumPy array, not {type(frame).__name__}")
    if frame.dtype != fmt.dtype:
        raise ValueError(f"a {fmt.name} frame must have dtype {fmt.dtype}, not {frame.dtype}")
    if not frame.flags.c_contiguous:
        raise ValueError(f"the frame is not C-contiguous; pass numpy.ascontiguousarray(frame)")
    for name, value in (("width", width), ("height", height)):
        if value is not None and (not isinstance(value, (int, np.integer)) or value < 1):
            raise ValueError(f"{name} must be a positive integer, not {value!r}")
    if fmt.layout == "raw":
        if width is None or height is None:
            raise ValueError(f"a {fmt.name} frame is a 1-D array of bytes: give width= and height=")
        w, h = int(width), int(height)
    else:
        dims = {"hw": 2, "hwc": 3, "chw": 3}[fmt.layout]
        if frame.ndim != dims:
            raise ValueError(f"a {fmt.name} frame has shape {_formats.shape_of(fmt, 'W', 'H')}, "
                             f"not {frame.shape}")
        h, w = frame.shape[-2:] if fmt.layout == "chw" else frame.shape[:2]
        for name, given, found in (("width", width, w), ("height", height, h)):
            if given is not None and given != found:
                raise ValueError(f"{name}={given} disagrees with the frame's shape {frame.shape}")
    expected = _formats.shape_of(fmt, w, h)
    if frame.shape != expected:
        raise ValueError(f"a {w}x{h} {fmt.name} frame has shape {expected}, not {frame.shape}")
    if w < 1 or h < 1:
        raise ValueError(f"the frame is empty")
    return w, h


def _check_balance(balance):
    if balance is None:
        return (1.0, 1.0, 1.0)
    try:
        gains = tuple(float(g) for g in balance)
    except (TypeError, ValueError):
        raise ValueError(f"balance must be three numbers (red, green, blue), not {balance!r}") from None
    if len(gains) != 3 or not all(math.isfinite(g) and g > 0 for g in gains):
        raise ValueError(f"balance must be three positive finite numbers (red, green, blue), not {balance!r}")
    return gains


class Converter:
    """Converts frames of one source format to one destination format,
    keeping its image object between frames as a camera stream does.

    `method` is "nearest" or "bilinear" (Bayer sources; it is set before
    every frame, since a conversion to a mono destination switches the
    plug-in's method for good). `balance` is the red, green and blue gain
    of the demosaic, None for 1, 1, 1; measure one with balance().

    `align_phase=True` makes GR and BG mosaics come out in true colour on a
    colour destination: the first column is dropped and the mosaic declared
    RG or GB of the same depth, so the result is one column narrower. This
    costs one copy of the frame (dropping a column leaves a non-contiguous
    view). Other pairs ignore it.

    One converter per thread: conversions in different threads run in
    parallel, since the interpreter lock is released inside the plug-in.
    """

    def __init__(self, source, destination, method="nearest", balance=None, align_phase=False, width=None,
                 height=None):
        self.source = _formats.lookup(source)
        self.destination = _formats.lookup(destination)
        if method not in _METHODS:
            raise ValueError(f"method must be one of {', '.join(_METHODS)}, not {method!r}")
        self.method = method
        self.balance = _check_balance(balance)
        self.width, self.height = width, height
        self._align = bool(align_phase) and self.source.family == "bayer" and self.source.name[3:5] in _ALIGNED \
            and self.destination.family in ("packed_rgb", "planar")
        self._runs_as = self.source
        if self._align:
            name = self.source.name
            self._runs_as = _formats.BY_NAME[name[:3] + _ALIGNED[name[3:5]] + name[5:]]
        verdict, reason = _formats.check_pair(self._runs_as, self.destination)
        if verdict in (_formats.NO_CONVERTER, _formats.STOPS_PROCESS):
            raise ValueError(f"{self.source.name} -> {self.destination.name} refused: {reason}")
        if verdict == _formats.WRITES_NOTHING:
            warnings.warn(f"{self.source.name} -> {self.destination.name}: {reason}; the result stays zero",
                          RuntimeWarning, stacklevel=2)
        self._lock = threading.Lock()  # misuse from two threads waits instead of mixing frames
        self._image = None

    def convert(self, frame):
        """The frame converted, as a new array of the destination's natural
        shape; pixels the plug-in does not write are 0."""
        with self._lock:
            if self._image is None:
                self._image = Image()
            return self._run(self._image, frame)

    __call__ = convert

    def _run(self, image, frame):
        w, h = _check_array(frame, self.source, self.width, self.height)
        if self._align:
            if w < 2:
                raise ValueError("align_phase needs a frame at least two columns wide")
            frame, w = np.ascontiguousarray(frame[:, 1:]), w - 1
        image.load(frame, self._runs_as, w, h)
        return image.transform(self.destination, _METHODS[self.method], self.balance, w, h)

    def close(self):
        """Gives the image object back to the plug-in (also done when the
        converter is collected)."""
        with self._lock:
            if self._image is not None:
                self._image.close()
                self._image = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        try:
            self.close()
        except Exception:
            pass


_local = threading.local()


def _thread_image():
    """An image object of this thread's own for the plain functions; it goes
    back to the plug-in when the thread ends."""
    image = getattr(_local, "image", None)
    if image is None:
        image = _local.image = Image()
    return image


def convert(frame, source, destination, method="nearest", balance=None, align_phase=False, width=None,
            height=None):
    """`frame` (of pixel format `source`) converted to `destination`; see
    Converter for the arguments."""
    return Converter(source, destination, method, balance, align_phase, width, height)._run(_thread_image(), frame)


def _measure(frame, source, width, height, measure):
    fmt = _formats.lookup(source)
    w, h = _check_array(frame, fmt, width, height)
    image = _thread_image()
    image.load(frame, fmt, w, h)
    return measure(image, w, h)


def brightness(frame, source, region=None, width=None, height=None):
    """The plug-in's brightness figure (getAverage) of `region`, given as
    (left, top, right, bottom) with right and bottom exclusive; the whole
    frame by default. It is the plug-in's own measure, sampled from the
    upper half of the region, not the arithmetic mean of the pixels."""
    fmt = _formats.lookup(source)
    if not fmt.has_converter:
        raise ValueError(f"the plug-in has no converter for {fmt.name} and measures nothing")

    def measure(image, w, h):
        box = (0, 0, w, h) if region is None else tuple(region)
        if len(box) != 4 or not all(isinstance(v, (int, np.integer)) for v in box):
            raise ValueError(f"region must be four integers (left, top, right, bottom), not {region!r}")
        left, top, right, bottom = (int(v) for v in box)
        if not (0 <= left < right <= w and 0 <= top < bottom <= h):
            raise ValueError(f"region {box} does not lie inside the {w}x{h} frame")
        return image.average(left, top, right, bottom)

    return _measure(frame, source, width, height, measure)


def balance(frame, source):
    """The colour balance that the plug-in measures from an 8-bit Bayer
    mosaic (getDemosaicColorBalance): red, green and blue gains, the
    strongest channel's being 1.0. Pass it to convert(balance=...)."""
    fmt = _formats.lookup(source)
    if fmt.family != "bayer" or fmt.effective_bits != 8:
        raise ValueError(f"the balance is measured on 8-bit Bayer frames only, not {fmt.name}")
    return _measure(frame, source, None, None, lambda image, w, h: image.measured_balance())
