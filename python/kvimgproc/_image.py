"""One image object of the plug-in, filled the way a host fills it."""

import ctypes

import numpy as np

from . import _formats
from ._plugin import check, method, plugin

KORVA_CHUNK_IMAGE = 1
KORVA_IMAGESTATE_OK = 0
INT32_MAX = 2**31 - 1

# Slots of IKVImage used here, with their argument types.
_c = ctypes
_P = _c.c_void_p
_SLOTS = {
    "allocateBuffer": (8, _c.c_int),
    "setBuffer": (14, _P, _c.c_int),
    "getBuffer": (12, _c.POINTER(_P)),
    "setSize": (22, _c.c_int, _c.c_int),
    "setPixelFormat": (26, _c.c_int),
    "setChunkOfData": (41, _c.c_int, _P, _c.c_int, _c.c_int, _c.c_int),
    "setState": (44, _c.c_int),
    "doTransform": (48, _P, _c.c_int),
    "setDestinationPixelFormat": (49, _c.c_int),
    "getDestinationPixelFormat": (50, _c.c_int, _P, _P),
    "setDemosaic": (56, _c.c_int),
    "setDemosaicColorBalance": (57, _c.c_double, _c.c_double, _c.c_double),
    "getDemosaicColorBalance": (58, _c.POINTER(_c.c_double), _c.POINTER(_c.c_double), _c.POINTER(_c.c_double)),
    "getAverage": (62, _c.POINTER(_c.c_double), _c.c_int, _c.c_int, _c.c_int, _c.c_int),
}
_bound = {}  # virtual table address -> {name: function}


class _TypeListINT(ctypes.Structure):
    _fields_ = [("size", _c.c_int32), ("tag", _c.c_int32), ("current", _c.c_int32), ("count", _c.c_int32),
                ("values", _c.c_int32 * 32)]


def _as_int(code):
    """Codes travel as signed 32-bit numbers; the LUT variants are negative."""
    return code - (1 << 32) if code >= 1 << 31 else code


class Image:
    """An image object of the plug-in holding one frame in a buffer of its
    own. Not for use by two threads at once."""

    def __init__(self):
        self._plugin = plugin()
        self.ptr = self._plugin.create()
        table = ctypes.c_void_p.from_address(self.ptr).value
        if table not in _bound:
            _bound[table] = {name: method(self.ptr, slot, ctypes.c_int, *args)
                             for name, (slot, *args) in _SLOTS.items()}
        self._f = _bound[table]
        self._frame = None
        self._shape = None

    def close(self):
        if self.ptr:
            ptr, self.ptr = self.ptr, None
            self._plugin.destroy(ptr)

    def __del__(self):
        try:
            self.close()
        except Exception:
            pass  # the interpreter is shutting down; unloading the plug-in destroys the object

    def call(self, name, *args):
        check(name, self._f[name](self.ptr, *args))

    def load(self, frame, fmt, width, height):
        """Hands the frame's own memory to the object, without a copy: the
        plug-in reads nothing outside a buffer it was handed (samples there
        count as 0), so the array needs no room behind the image. The object
        keeps a reference to the array until the next frame."""
        image_bytes = _formats.frame_bytes(fmt, width, height)
        if image_bytes > INT32_MAX:
            raise ValueError(f"a {width}x{height} {fmt.name} frame is too large for the plug-in")
        shape = (fmt.code, width, height)
        if shape != self._shape:
            self._shape = None
            self.call("setSize", width, height)
            self.call("setPixelFormat", _as_int(fmt.code))
            self._shape = shape
        self._frame = frame
        self.call("setBuffer", frame.ctypes.data, image_bytes)
        # A new buffer forgets its chunks: lay the image chunk each frame.
        self.call("setChunkOfData", KORVA_CHUNK_IMAGE, frame.ctypes.data, image_bytes, 0, image_bytes)
        self.call("setState", KORVA_IMAGESTATE_OK)

    def transform(self, dst, method_code, balance, width, height):
        """doTransform into a new zeroed array of dst's natural shape."""
        self.call("setDemosaic", method_code)
        self.call("setDemosaicColorBalance", *balance)
        self.call("setDestinationPixelFormat", _as_int(dst.code))
        image_bytes = _formats.frame_bytes(dst, width, height)
        length = max(image_bytes, _formats.transform_bytes(dst, width, height))
        if length > INT32_MAX:
            raise ValueError(f"a {width}x{height} {dst.name} result is too large for the plug-in")
        out = np.zeros(length, np.uint8)
        self.call("doTransform", out.ctypes.data, length)
        return out[:image_bytes].view(dst.dtype).reshape(_formats.shape_of(dst, width, height))

    def average(self, left, top, right, bottom):
        value = ctypes.c_double()
        self.call("getAverage", ctypes.byref(value), left, top, right, bottom)
        return value.value

    def measured_balance(self):
        r, g, b = ctypes.c_double(), ctypes.c_double(), ctypes.c_double()
        self.call("getDemosaicColorBalance", ctypes.byref(r), ctypes.byref(g), ctypes.byref(b))
        return (r.value, g.value, b.value)

    def destinations(self, fmt):
        state = (ctypes.c_int32 * 2)(8, 0)
        listing = _TypeListINT(size=ctypes.sizeof(_TypeListINT))
        self.call("getDestinationPixelFormat", _as_int(fmt.code), ctypes.addressof(state), ctypes.addressof(listing))
        return [v & 0xFFFFFFFF for v in listing.values[:min(listing.count, 32)]]
