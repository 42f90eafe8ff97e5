// Set-up shared by the unit tests: image objects with test-owned buffers,
// views laid over byte vectors, frames laid in the way a host does it, byte
// patterns and the texts of assertion failures.
#ifndef TESTS_UNIT_TESTFRAMES_H
#define TESTS_UNIT_TESTFRAMES_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "ImgProc.h"
#include "KorvaPixelFormats.h"
#include "MemoryAccess.h"
#include "PixelFormatNode.h"

namespace testframes {

typedef std::vector<unsigned char> Bytes;

// A destination byte a run must not touch.
const unsigned char kUntouched = 0xEE;

// A format as a view sees it, for views that claim other depths or factors
// than the catalogue's.
struct Format {
    uint32_t code;
    double factor;
    int32_t bppEff;
};

const Format kMono8 = {KORVA_PIXTYPE_MONO8, 1.0, 8}, kMono10 = {KORVA_PIXTYPE_MONO10, 2.0, 10},
             kMono16 = {KORVA_PIXTYPE_MONO16, 2.0, 16}, kMono12Packed = {KORVA_PIXTYPE_MONO12_PACKED, 1.5, 12},
             kRgb8 = {KORVA_PIXTYPE_RGB8_PACKED, 3.0, 8}, kBgr8 = {KORVA_PIXTYPE_BGR8_PACKED, 3.0, 8},
             kRgba8 = {KORVA_PIXTYPE_RGBA8_PACKED, 4.0, 8}, kBgra8 = {KORVA_PIXTYPE_BGRA8_PACKED, 4.0, 8},
             kRgb10 = {KORVA_PIXTYPE_RGB10_PACKED, 6.0, 10}, kBgr10 = {KORVA_PIXTYPE_BGR10_PACKED, 6.0, 10},
             kRgb12 = {KORVA_PIXTYPE_RGB12_PACKED, 6.0, 12}, kBgr12 = {KORVA_PIXTYPE_BGR12_PACKED, 6.0, 12},
             kPlanar8 = {KORVA_PIXTYPE_RGB8_PLANAR, 3.0, 8}, kPlanar10 = {KORVA_PIXTYPE_RGB10_PLANAR, 6.0, 10},
             kPlanar12 = {KORVA_PIXTYPE_RGB12_PLANAR, 6.0, 12}, kPlanar16 = {KORVA_PIXTYPE_RGB16_PLANAR, 6.0, 16},
             kYuv422 = {KORVA_PIXTYPE_YUV422_PACKED, 2.0, 8}, kYuv411 = {KORVA_PIXTYPE_YUV411_PACKED, 1.5, 8},
             kYuv444 = {KORVA_PIXTYPE_YUV444_PACKED, 3.0, 8}, kMono12 = {KORVA_PIXTYPE_MONO12, 2.0, 12},
             kMono14 = {KORVA_PIXTYPE_MONO14, 2.0, 14}, kMono10Packed = {KORVA_PIXTYPE_MONO10_PACKED, 1.5, 10};

// An image object whose buffers belong to the test: the external kind keeps
// its destructor from releasing them.
inline std::unique_ptr<CImgProc> MakeImage()
{
    std::unique_ptr<CImgProc> image(new CImgProc());
    image->miBufferType = KORVA_BUFFER_EXTERNAL;
    return image;
}

// Sizes a view at w x h (region the same) over `buffer`, with an image chunk
// that starts `offset` bytes in and spans `chunk` bytes (the rest of the
// buffer when negative). The format must be set already.
inline void LayView(CMemoryAccess& view, Bytes& buffer, int32_t w, int32_t h, int32_t chunk = -1, int32_t offset = 0)
{
    view.miWidth = view.miRoiWidth = w;
    view.miHeight = view.miRoiHeight = h;
    const int32_t length = static_cast<int32_t>(buffer.size());
    view.SetBasePointer(buffer.data(), length);
    const int32_t bytes = chunk < 0 ? length - offset : chunk;
    ASSERT_EQ(RESULT_OK, view.setChunkOfData(KORVA_CHUNK_IMAGE, buffer.data() + offset, bytes, 0, bytes));
}

// A view with a format of the test's choosing.
inline void Bind(CMemoryAccess& view, Bytes& buffer, int32_t w, int32_t h, const Format& f, int32_t chunk = -1)
{
    view.miPixelFormat = f.code;
    view.mdBytePerPixel = f.factor;
    view.miBppEff = f.bppEff;
    LayView(view, buffer, w, h, chunk);
}

// A view with the catalogue's record of `code`.
inline void Bind(CImgProc& proc, CMemoryAccess& view, Bytes& buffer, int32_t w, int32_t h, uint32_t code,
                 int32_t chunk = -1, int32_t offset = 0)
{
    view.SetPixelFormat(code, &proc.mPixelFormatMap[code]);
    LayView(view, buffer, w, h, chunk, offset);
}

// Little-endian 16-bit samples as a frame holds them.
inline Bytes Words(std::initializer_list<unsigned> words)
{
    Bytes b;
    for (unsigned w : words) {
        b.push_back(static_cast<unsigned char>(w & 0xFF));
        b.push_back(static_cast<unsigned char>(w >> 8));
    }
    return b;
}

// 1, 2, 3, ... n (mod 256).
inline Bytes Counting(size_t n)
{
    Bytes b(n);
    for (size_t i = 0; i < n; ++i)
        b[i] = static_cast<unsigned char>(i + 1);
    return b;
}

inline std::string RegexEscape(const std::string& s)
{
    std::string out;
    for (char c : s) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos)
            out += '\\';
        out += c;
    }
    return out;
}

// The message of a failed assertion of `function` in source file `file`.
inline std::string AssertionPattern(const std::string& file, const std::string& function, const std::string& expression)
{
    return file + ":[0-9]+: " + RegexEscape(function + ": Assertion `" + expression + "' failed.");
}

// Lays a frame into `image` as a host does: size, format, an own buffer of
// `header` + image bytes filled with byteAt(i) over the whole buffer, then the
// header and image chunks (unless `chunks` is false).
inline void LayFrame(CImgProc& image, int format, int w, int h, const std::function<int(int)>& byteAt, int header = 0,
                     bool chunks = true)
{
    image.setSize(w, h);
    image.setPixelFormat(format);
    const int size = image.CalculateImageSize(format, w, h);
    ASSERT_EQ(RESULT_OK, image.allocateBuffer(header + size));
    unsigned char* base = image.mMemSrc.mpBasePointer;
    for (int i = 0; i < header + size; ++i)
        base[i] = static_cast<unsigned char>(byteAt(i));
    if (!chunks)
        return;
    if (header > 0) {
        ASSERT_EQ(RESULT_OK, image.setHeader(base, header));
    }
    ASSERT_EQ(RESULT_OK, image.setChunkOfData(KORVA_CHUNK_IMAGE, base + header, size, 0, size));
}

inline std::unique_ptr<CImgProc> MakeFrame(int format, int w, int h, const std::function<int(int)>& byteAt,
                                           int header = 0, bool chunks = true)
{
    auto image = std::make_unique<CImgProc>();
    LayFrame(*image, format, w, h, byteAt, header, chunks);
    return image;
}

// One converter run on test-owned buffers: the source holds `source`, the
// destination starts as kUntouched and must end as `expected`. A view may
// lay the width x height region at (left, top) of a larger frame, given as
// {frame width, frame height, left, top}.
struct Case {
    const char* what;
    Format src, dst;
    int32_t width, height;
    Bytes source, expected;
    std::vector<int32_t> srcFrame = {}, dstFrame = {};
    int32_t dstChunk = -1, srcChunk = -1;  // image chunks; the whole buffer when negative
};

inline void BindRegion(CMemoryAccess& view, Bytes& buffer, const Case& c, const Format& f,
                       const std::vector<int32_t>& frame, int32_t chunk = -1)
{
    if (frame.empty())
        return Bind(view, buffer, c.width, c.height, f, chunk);
    Bind(view, buffer, frame[0], frame[1], f, chunk);
    ASSERT_TRUE(view.SetROI(frame[2], frame[3], c.width, c.height)) << c.what;
}

// Runs converter `conv` of a fresh object on each case; `tune` may change the
// object after the views are bound. The source must stay as it was.
template <typename C>
void RunCases(C CImgProc::*conv, const std::vector<Case>& cases,
              const std::function<void(CImgProc&)>& tune = [](CImgProc&) {})
{
    for (const Case& c : cases) {
        std::unique_ptr<CImgProc> proc = MakeImage();
        Bytes src = c.source;
        Bytes dst(c.expected.size(), kUntouched);
        proc->mMemSrc.SetPixelFormat(c.src.code, &proc->mPixelFormatMap[c.src.code]);  // stored bits
        proc->mMemDst.SetPixelFormat(c.dst.code, &proc->mPixelFormatMap[c.dst.code]);
        BindRegion(proc->mMemSrc, src, c, c.src, c.srcFrame, c.srcChunk);
        BindRegion(proc->mMemDst, dst, c, c.dst, c.dstFrame, c.dstChunk);
        tune(*proc);
        EXPECT_TRUE(((*proc).*conv).Convert()) << c.what;
        EXPECT_EQ(c.expected, dst) << c.what;
        EXPECT_EQ(c.source, src) << c.what;
    }
}

struct Rgb {
    int red, green, blue;
    bool operator==(const Rgb& o) const { return red == o.red && green == o.green && blue == o.blue; }
};

inline std::ostream& operator<<(std::ostream& os, const Rgb& p)
{
    return os << "(" << p.red << ", " << p.green << ", " << p.blue << ")";
}

// A converter run on test-owned buffers: a source of samples from a function
// of (x, y), 1 or 2 bytes each as the format says, behind `header` samples;
// a destination of kUntouched with `slack` spare bytes behind its chunk.
struct ConvFrame {
    std::unique_ptr<CImgProc> proc = MakeImage();
    Bytes src, dst;
    int width = 0, height = 0;

    void Source(uint32_t format, int w, int h, const std::function<int(int, int)>& sample,
                const std::vector<int>& header = {})
    {
        width = w;
        height = h;
        const int size = proc->mPixelFormatMap[format].mdFormatBytePerPixel == 1.0 ? 1 : 2;
        const int front = static_cast<int>(header.size());
        src.assign(static_cast<size_t>((front + w * h) * size), 0);
        for (int i = -front; i < w * h; ++i) {
            const int v = i < 0 ? header[static_cast<size_t>(front + i)] : sample(i % w, i / w);
            for (int b = 0; b < size; ++b)
                src[static_cast<size_t>((front + i) * size + b)] = static_cast<unsigned char>(v >> (8 * b));
        }
        Bind(*proc, proc->mMemSrc, src, w, h, format, -1, front * size);
    }
    void Destination(uint32_t format, int chunk = -1, int slack = 0)
    {
        const int bytes = static_cast<int>(width * height * proc->mPixelFormatMap[format].mdFormatBytePerPixel);
        dst.assign(static_cast<size_t>(bytes + slack), kUntouched);
        Bind(*proc, proc->mMemDst, dst, width, height, format, chunk < 0 ? bytes : chunk);
    }
    bool Run(int type)
    {
        if (type != proc->mConvDemosaic.miDemosaicType) {
            EXPECT_TRUE(proc->mConvDemosaic.SetType(static_cast<KORVA_Demosaic>(type)));
        }
        return proc->mConvDemosaic.Convert();
    }
    // A packed 3-byte pixel of the destination in a buffer `stride` pixels wide.
    Rgb At(int x, int y, int stride = 0) const
    {
        const size_t i = static_cast<size_t>(3 * (y * (stride ? stride : width) + x));
        return {dst[i], dst[i + 1], dst[i + 2]};
    }
    int Word(size_t i) const { return dst[2 * i] | dst[2 * i + 1] << 8; }
    Bytes Untouched() const { return Bytes(dst.size(), kUntouched); }
};

}  // namespace testframes

#endif  // TESTS_UNIT_TESTFRAMES_H
