import threading

import numpy as np
import pytest

import kvimgproc as kv

RNG = np.random.default_rng(7)


def mosaic(h, w, red, green, blue, phase="RG"):
    """A Bayer mosaic of one colour; phase names the top-left 2x2 row-wise."""
    sites = {"R": red, "G": green, "B": blue}
    order = {"RG": "RGGB", "GR": "GRBG", "GB": "GBRG", "BG": "BGGR"}[phase]
    frame = np.empty((h, w), np.uint8)
    for i, c in enumerate(order):
        frame[i // 2::2, i % 2::2] = sites[c]
    return frame


def pack12(values):
    """MONO12_PACKED bytes of a row-major array with an even width."""
    p0, p1 = values.reshape(-1, 2).T.astype(np.uint16)
    groups = np.stack([p0 >> 4, (p0 & 15) | ((p1 & 15) << 4), p1 >> 4], axis=1)
    return groups.astype(np.uint8).ravel()


def test_catalogue_as_reported():
    assert len(kv.formats()) == 39 and kv.formats()[:2] == ["MONO8", "MONO8_LUT"]
    assert kv.destinations("korva_pixtype_baybg8") == ["BAYBG8"]
    assert kv.destinations("BAYGR12")[:4] == ["BAYGR12", "BAYGR8", "BAYGR10", "RGB8_PACKED"]


rgb8 = RNG.integers(0, 256, (6, 10, 3), dtype=np.uint8)
mono12 = RNG.integers(0, 4096, (4, 6), dtype=np.uint16)
planar12 = RNG.integers(0, 4096, (3, 4, 6), dtype=np.uint16)


def to8(v, top):
    return np.floor(v.astype(np.float64) / top * 255 + 0.5).astype(np.uint8)


# One conversion of each source family, against what it must give.
@pytest.mark.parametrize("frame, source, destination, extra, expected", [
    (mono12, "MONO12", "MONO8", {}, to8(mono12, 4095)),
    (pack12(mono12), "MONO12_PACKED", "MONO12", {"width": 6, "height": 4}, mono12),
    (rgb8, "RGB8_PACKED", "BGR8_PACKED", {}, rgb8[..., ::-1]),
    (planar12, "RGB12_PLANAR", "RGB8_PLANAR", {}, to8(planar12, 4095)),
    (mosaic(8, 10, 90, 90, 90), "BAYRG8", "RGB8_PACKED", {}, np.full((8, 10, 3), 90, np.uint8)),
    # Y = U = V = 128: 129 127 129, as worked out for the converter.
    (np.full(64, 128, np.uint8), "YUV422_PACKED", "RGB8_PACKED", {"width": 8, "height": 4},
     np.full((4, 8, 3), [129, 127, 129], np.uint8)),
], ids=["mono", "mono-packed", "packed-rgb", "planar", "bayer", "yuv"])
def test_each_family_converts(frame, source, destination, extra, expected):
    out = kv.convert(frame, source, destination, **extra)
    assert out.dtype == expected.dtype and out.shape == expected.shape
    np.testing.assert_array_equal(out, expected)


@pytest.mark.parametrize("phase", ["GR", "BG"])
def test_align_phase_gives_true_colour(phase):
    frame = mosaic(12, 16, 200, 100, 40, phase)
    out = kv.convert(frame, "BAY" + phase + "8", "RGB8_PACKED", align_phase=True)
    assert out.shape == (12, 15, 3)
    np.testing.assert_array_equal(out[2:-2, 2:-2], np.broadcast_to([200, 100, 40], (8, 11, 3)))


def test_converter_follows_changing_frames():
    conv = kv.Converter("BAYRG8", "RGB8_PACKED", method="bilinear", balance=(1.5, 1.0, 1.2))
    frames = [RNG.integers(0, 256, shape, dtype=np.uint8) for shape in [(16, 16), (8, 16), (8, 32), (16, 16)]]
    for frame in frames:
        fresh = kv.convert(frame, "BAYRG8", "RGB8_PACKED", method="bilinear", balance=(1.5, 1.0, 1.2))
        np.testing.assert_array_equal(conv.convert(frame), fresh)
    # The method is set again for every frame: a mono result must not stick.
    mono = kv.Converter("BAYRG8", "MONO8").convert(frames[0])
    assert mono.shape == (16, 16)
    np.testing.assert_array_equal(conv.convert(frames[0]), kv.convert(frames[0], "BAYRG8", "RGB8_PACKED",
                                                                      method="bilinear", balance=(1.5, 1.0, 1.2)))
    conv.close()


def test_pair_without_pixels_returns_zeros():
    with pytest.warns(RuntimeWarning, match="writes no pixels"):
        out = kv.convert(rgb8, "RGB8_PACKED", "RGB10_PACKED")
    assert out.dtype == np.uint16 and out.shape == (6, 10, 3) and not out.any()


def test_measurements():
    assert kv.brightness(np.full((200, 200), 100, np.uint8), "MONO8") == 100.0
    assert kv.brightness(np.full((20, 30, 3), 255, np.uint8), "RGB8_PACKED", region=(0, 0, 30, 20)) == 254.0
    assert kv.balance(mosaic(16, 16, 50, 100, 200), "BAYRG8") == (4.0, 2.0, 1.0)


bad_input = [
    (dict(frame=mono12.astype(np.int32), source="MONO12"), "dtype uint16"),
    (dict(frame=mono12.astype(">u2"), source="MONO12"), "dtype uint16"),
    (dict(frame=np.zeros((6, 10), np.uint8), source="RGB8_PACKED"), "shape"),
    (dict(frame=rgb8[:, ::2], source="RGB8_PACKED"), "C-contiguous"),
    (dict(frame=[[1, 2]], source="MONO8"), "NumPy array"),
    (dict(frame=rgb8, source="RGB9_PACKED"), "unknown pixel format"),
    (dict(frame=pack12(mono12), source="MONO12_PACKED", destination="MONO8"), "width= and height="),
    (dict(frame=pack12(mono12), source="MONO12_PACKED", width=6, height=5), "shape"),
    (dict(frame=mono12, source="MONO12", width=7), "disagrees"),
    (dict(frame=planar12, source="RGB12_PLANAR", destination="MONO8"), "stops the process"),
    (dict(frame=planar12, source="RGB16_PLANAR"), "no converter"),
    (dict(frame=mono12, source="MONO12", method="fast"), "method"),
    (dict(frame=mono12, source="MONO12", balance=(1, 0, 1)), "balance"),
]


@pytest.mark.parametrize("args, message", bad_input, ids=[m for _, m in bad_input])
def test_bad_input_is_refused_before_the_plugin(args, message):
    args = dict(args)
    args.setdefault("destination", "MONO8" if args["source"].startswith("MONO") else "RGB8_PLANAR")
    frame = args.pop("frame")
    with pytest.raises(ValueError, match=message):
        kv.convert(frame, **args)


def test_result_codes_raise_with_their_name():
    with pytest.raises(kv.PluginError, match=r"doTransform returned RESULT_FAIL \(0\)"):
        kv.convert(np.zeros((4, 4), np.uint8), "MONO8_SIGNED", "MONO8")
    with pytest.raises(kv.PluginError, match="getAverage returned RESULT_FAIL"):
        kv.brightness(np.zeros((100, 100), np.uint8), "MONO8", region=(0, 0, 3, 100))
    with pytest.raises(kv.PluginError, match="getDemosaicColorBalance returned RESULT_FAIL"):
        kv.balance(np.full((8, 8), 250, np.uint8), "BAYGR8")
    with pytest.raises(ValueError, match="8-bit Bayer"):
        kv.balance(mono12, "BAYGR12")


def test_two_threads_match_one_thread():
    frames = [RNG.integers(0, 4096, (64, 96), dtype=np.uint16) for _ in range(8)]
    single = kv.Converter("BAYGB12", "RGB8_PACKED", method="bilinear")
    expected = [single.convert(f) for f in frames]
    results = {}

    def work(name, order):
        conv = kv.Converter("BAYGB12", "RGB8_PACKED", method="bilinear")
        results[name] = [(i, conv.convert(frames[i])) for _ in range(20) for i in order]
        conv.close()

    threads = [threading.Thread(target=work, args=("a", range(8))),
               threading.Thread(target=work, args=("b", range(7, -1, -1)))]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    for runs in results.values():
        assert len(runs) == 160
        for i, out in runs:
            np.testing.assert_array_equal(out, expected[i])
