"""The plug-in's pixel formats as the package needs them: names, codes,
depths, how a frame of each lies in a NumPy array, and which pairs the
plug-in must never be handed."""

from collections import namedtuple

import numpy as np

# layout: "hw" (H x W), "hwc" (H x W x channels), "chw" (3 x H x W planes) or
# "raw" (1-D uint8 bytes in the host's layout; width and height given apart).
Format = namedtuple(
    "Format", "name code effective_bits stored_bits bytes_per_pixel family has_converter layout dtype channels"
)


def _f(name, code, eff, stored, family, has_converter=True):
    bpp = 1.5 if family == "mono_packed" else stored / 8
    dtype = np.dtype(np.uint16) if stored in (16, 48) else np.dtype(np.uint8)
    if family in ("mono", "bayer"):
        layout, channels = "hw", 1
    elif family == "packed_rgb":
        layout, channels = "hwc", 4 if stored == 32 else 3
    elif family == "planar":
        layout, channels = "chw", 3
    else:
        layout, channels, dtype = "raw", 1, np.dtype(np.uint8)
    return Format(name, code, eff, stored, bpp, family, has_converter, layout, dtype, channels)


# In the plug-in's catalogue order.
FORMATS = (
    _f("MONO8", 0x01080001, 8, 8, "mono"),
    _f("MONO8_LUT", 0x81080001, 8, 8, "mono"),
    _f("MONO8_SIGNED", 0x01080002, 8, 8, "mono"),
    _f("MONO10", 0x01100003, 10, 16, "mono"),
    _f("MONO10_PACKED", 0x010C0004, 10, 12, "mono_packed"),
    _f("MONO12", 0x01100005, 12, 16, "mono"),
    _f("MONO12_LUT", 0x81100005, 12, 16, "mono"),
    _f("MONO12_PACKED", 0x010C0006, 12, 12, "mono_packed"),
    _f("MONO16", 0x01100007, 16, 16, "mono"),
    _f("BAYGR8", 0x01080008, 8, 8, "bayer"),
    _f("BAYRG8", 0x01080009, 8, 8, "bayer"),
    _f("BAYGB8", 0x0108000A, 8, 8, "bayer"),
    _f("BAYBG8", 0x0108000B, 8, 8, "bayer"),
    _f("BAYGR10", 0x0110000C, 10, 16, "bayer"),
    _f("BAYRG10", 0x0110000D, 10, 16, "bayer"),
    _f("BAYGB10", 0x0110000E, 10, 16, "bayer"),
    _f("BAYBG10", 0x0110000F, 10, 16, "bayer"),
    _f("BAYGR12", 0x01100010, 12, 16, "bayer"),
    _f("BAYRG12", 0x01100011, 12, 16, "bayer"),
    _f("BAYGB12", 0x01100012, 12, 16, "bayer"),
    _f("BAYBG12", 0x01100013, 12, 16, "bayer"),
    _f("RGB8_PACKED", 0x02180014, 8, 24, "packed_rgb"),
    _f("BGR8_PACKED", 0x02180015, 8, 24, "packed_rgb"),
    _f("RGBA8_PACKED", 0x02200016, 8, 32, "packed_rgb"),
    _f("BGRA8_PACKED", 0x02200017, 8, 32, "packed_rgb"),
    _f("RGB10_PACKED", 0x02300018, 10, 48, "packed_rgb"),
    _f("BGR10_PACKED", 0x02300019, 10, 48, "packed_rgb"),
    _f("RGB12_PACKED", 0x0230001A, 12, 48, "packed_rgb"),
    _f("BGR12_PACKED", 0x0230001B, 12, 48, "packed_rgb"),
    _f("RGB10V1_PACKED", 0x0220001C, 10, 32, "other", has_converter=False),
    _f("RGB10V2_PACKED", 0x0220001D, 10, 32, "other", has_converter=False),
    _f("YUV411_PACKED", 0x020C001E, 8, 12, "yuv"),
    _f("YUV422_PACKED", 0x0210001F, 8, 16, "yuv"),
    _f("YUV444_PACKED", 0x02180020, 8, 24, "yuv"),
    _f("RGB8_PLANAR", 0x02180021, 8, 24, "planar"),
    _f("RGB10_PLANAR", 0x02300022, 10, 48, "planar"),
    _f("RGB12_PLANAR", 0x02300023, 12, 48, "planar"),
    _f("RGB16_PLANAR", 0x02300024, 16, 48, "planar", has_converter=False),
    _f("MONO14", 0x01100025, 14, 16, "mono"),
)

BY_NAME = {f.name: f for f in FORMATS}
BY_CODE = {f.code: f for f in FORMATS}
_PREFIX = "KORVA_PIXTYPE_"


def lookup(name):
    """The format called name (any case, with or without the KORVA_PIXTYPE_
    prefix); ValueError for anything else."""
    if not isinstance(name, str):
        raise ValueError(f"a pixel format is named by a string, not {type(name).__name__}")
    key = name.upper()
    if key.startswith(_PREFIX):
        key = key[len(_PREFIX):]
    try:
        return BY_NAME[key]
    except KeyError:
        raise ValueError(f"unknown pixel format {name!r}; formats() lists the known ones") from None


def frame_bytes(fmt, width, height):
    """Bytes of a frame as it really lies in memory."""
    return int(width * fmt.bytes_per_pixel * height)


_SIZE_FACTORS = {0x08: 1.0, 0x0A: 2.0, 0x0C: 2.0, 0x10: 2.0, 0x14: 3.0, 0x18: 3.0, 0x20: 4.0, 0x24: 6.0, 0x30: 6.0}


def transform_bytes(fmt, width, height):
    """Bytes the plug-in holds a target against: its size rule goes by the
    bits field of the code alone, so YUV411 counts two bytes a pixel."""
    if fmt.family == "mono_packed":
        factor = 1.5
    else:
        factor = _SIZE_FACTORS.get((fmt.code >> 16) & 0xFF, 0.0)
    return int(width * factor * height)


def shape_of(fmt, width, height):
    """Natural NumPy shape of a frame of this format."""
    if fmt.layout == "hw":
        return (height, width)
    if fmt.layout == "hwc":
        return (height, width, fmt.channels)
    if fmt.layout == "chw":
        return (3, height, width)
    return (frame_bytes(fmt, width, height),)


# Pair verdicts, as the tool has them.
ALLOWED, NO_CONVERTER, STOPS_PROCESS, WRITES_NOTHING = "allowed", "no converter", "stops process", "writes nothing"

_YUV_SERVES = {"RGB8_PACKED", "BGR8_PACKED", "RGBA8_PACKED", "BGRA8_PACKED", "MONO8", "YUV411_PACKED",
               "YUV422_PACKED", "YUV444_PACKED"}
_RGB_ANY = {"RGB8_PACKED", "BGR8_PACKED", "RGBA8_PACKED", "BGRA8_PACKED", "MONO8", "RGB8_PLANAR"}
_RGB_DEEP = {"MONO10", "MONO12", "MONO16", "RGB10_PACKED", "BGR10_PACKED", "RGB12_PACKED", "BGR12_PACKED"}
_BAYER_SERVES = {"MONO8", "MONO10", "MONO12", "MONO16", "BGR8_PACKED", "RGB8_PACKED", "RGBA8_PACKED",
                 "RGB16_PLANAR", "RGB8_PLANAR", "RGB10_PLANAR", "RGB12_PLANAR"}


def check_pair(src, dst):
    """(verdict, reason) for converting src to dst with doTransform. Pairs
    that stop the process or cannot run at all must never reach the plug-in;
    WRITES_NOTHING pairs run and leave the output as it was."""
    if not src.has_converter:
        return NO_CONVERTER, f"the plug-in has no converter for {src.name} sources; every transform fails"
    d = dst.name
    if src.family == "planar" and d != "RGB8_PLANAR":
        return STOPS_PROCESS, ("the planar converter accepts only RGB8_PLANAR as destination and stops the "
                               "process on any other")
    if src.family == "yuv" and d not in _YUV_SERVES:
        return STOPS_PROCESS, ("the YUV converter accepts only RGB8/BGR8/RGBA8/BGRA8_PACKED, MONO8 and the YUV "
                               "formats and stops the process on any other")
    if src.family == "packed_rgb" and not (d in _RGB_ANY or (src.effective_bits != 8 and d in _RGB_DEEP)):
        return WRITES_NOTHING, "the packed RGB converter has no loop for this destination and writes no pixels"
    if src.family == "bayer" and not (dst.family == "bayer" or d in _BAYER_SERVES):
        return WRITES_NOTHING, "the demosaic converter has no path to this destination and writes no pixels"
    return ALLOWED, ""
