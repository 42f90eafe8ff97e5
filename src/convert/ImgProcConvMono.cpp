#include "ImgProcConvMono.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "AverageHistogram.h"
#include "ImgProc.h"
#include "KorvaPixelFormats.h"
#include "KvMath.h"
#include "MemoryAccess.h"
#include "ImgProcConvRows.h"
#include "SampleIO.h"

namespace {

// Unpacked source: one table lookup per pixel. The sample is the index as it
// stands, without masking to the format's depth.
template <typename S, typename D>
void TableRow(const unsigned char* src, unsigned char* dst, int32_t width, const sMonoRow& row)
{
    const uint16_t* lut = row.lut;
    const std::ptrdiff_t dstStep = static_cast<std::ptrdiff_t>(row.stepX) * static_cast<std::ptrdiff_t>(sizeof(D));
    for (int32_t x = 0; x < width; ++x) {
        SampleIO::Store(reinterpret_cast<D*>(dst + x * dstStep), lut[SampleIO::Load(reinterpret_cast<const S*>(src))]);
        src += sizeof(S);
    }
}

// Both pixels of a packed 3-byte group, read with the format's shift and the
// mask that hides the unused bits of b1 in the 10-bit layout.
template <int Shift, unsigned Mask>
inline void ReadGroup(const unsigned char* g, uint16_t& p0, uint16_t& p1)
{
    const unsigned b1 = g[1] & Mask;
    p0 = static_cast<uint16_t>((static_cast<unsigned>(g[0]) << Shift) | (b1 & 15u));
    p1 = static_cast<uint16_t>((static_cast<unsigned>(g[2]) << Shift) | (b1 >> 4));
}

// Packed source into plain samples. An odd last pixel has no group and stays
// unwritten.
template <typename D, int Shift, unsigned Mask>
void UnpackRow(const unsigned char* src, unsigned char* dst, int32_t width, const sMonoRow& row)
{
    const uint16_t* lut = row.lut;
    const std::ptrdiff_t dstStep = static_cast<std::ptrdiff_t>(row.stepX) * static_cast<std::ptrdiff_t>(sizeof(D));
    const int32_t groups = width / 2;
    for (int32_t g = 0; g < groups; ++g) {
        uint16_t p0, p1;
        ReadGroup<Shift, Mask>(src, p0, p1);
        const std::ptrdiff_t x = 2 * static_cast<std::ptrdiff_t>(g);
        SampleIO::Store(reinterpret_cast<D*>(dst + x * dstStep), lut[p0]);
        SampleIO::Store(reinterpret_cast<D*>(dst + (x + 1) * dstStep), lut[p1]);
        src += 3;
    }
}

// Packed source into the same packed layout. b1 is rebuilt from the low four
// bits of both values without the read mask, so in the 10-bit layout the
// unused bits receive the values' bits 3..2 rather than being cleared. Any
// step other than 1 swaps the two pixels of a group.
template <int Shift, unsigned Mask, bool StepOne>
void RepackRow(const unsigned char* src, unsigned char* dst, int32_t width, const sMonoRow& row)
{
    const uint16_t* lut = row.lut;
    const std::ptrdiff_t dstStep = static_cast<std::ptrdiff_t>(row.stepX) * 3;
    const int32_t groups = width / 2;
    for (int32_t g = 0; g < groups; ++g) {
        uint16_t p0, p1;
        ReadGroup<Shift, Mask>(src, p0, p1);
        const unsigned first = lut[StepOne ? p0 : p1];
        const unsigned second = lut[StepOne ? p1 : p0];
        unsigned char* out = dst + g * dstStep;
        out[0] = static_cast<unsigned char>(first >> Shift);
        out[1] = static_cast<unsigned char>((second * 16u) | (first & 15u));
        out[2] = static_cast<unsigned char>(second >> Shift);
        src += 3;
    }
}

// Vector bodies in front of the portable loops, which finish each row.
void WordsVectorRow(const unsigned char* src, unsigned char* dst, int32_t width, const sMonoRow& row)
{
    const int32_t done = row.words(src, dst, width, row.rescale, row.lut);
    TableRow<uint16_t, uint8_t>(src + 2 * static_cast<std::ptrdiff_t>(done), dst + done, width - done, row);
}

template <int Shift, unsigned Mask>
void UnpackVectorRow(const unsigned char* src, unsigned char* dst, int32_t width, const sMonoRow& row)
{
    const int32_t groups = row.unpack(src, dst, width / 2, row.rescale);
    UnpackRow<uint8_t, Shift, Mask>(src + 3 * static_cast<std::ptrdiff_t>(groups),
                                    dst + 2 * static_cast<std::ptrdiff_t>(groups), width - 2 * groups, row);
}

template <int Shift, unsigned Mask>
void UnpackWordsVectorRow(const unsigned char* src, unsigned char* dst, int32_t width, const sMonoRow& row)
{
    const int32_t groups = row.unpack(src, dst, width / 2, row.rescale);
    UnpackRow<uint16_t, Shift, Mask>(src + 3 * static_cast<std::ptrdiff_t>(groups),
                                     dst + 4 * static_cast<std::ptrdiff_t>(groups), width - 2 * groups, row);
}

template <int Shift, unsigned Mask>
MonoRowConverter Repacker(int32_t stepX)
{
    return stepX == 1 ? RepackRow<Shift, Mask, true> : RepackRow<Shift, Mask, false>;
}

// The unpacked samples of a layout never exceed its depth, so a table that
// is the rescale (or the identity) up to there is all the body needs.
template <int Shift, unsigned Mask>
MonoRowConverter Unpacker(bool narrowDestination, sMonoRow* row, const sConvLutShape& shape,
                          const sConvRowBodies& bodies)
{
    const int32_t depthMax = Shift == 4 ? 4095 : 1023;
    if (!narrowDestination) {
        const ConvUnpackBody words = bodies.unpack16[Shift == 4 ? 1 : 0];
        if (words != nullptr && row->stepX == 1 && shape.Identity(0, depthMax)) {
            row->unpack = words;
            return UnpackWordsVectorRow<Shift, Mask>;
        }
        return UnpackRow<uint16_t, Shift, Mask>;
    }
    const ConvUnpackBody body = bodies.unpack8[Shift == 4 ? 1 : 0];
    if (body != nullptr && row->stepX == 1 && shape.Rescales(0, depthMax)) {
        row->rescale = shape.rescale;
        row->unpack = body;
        return UnpackVectorRow<Shift, Mask>;
    }
    return UnpackRow<uint8_t, Shift, Mask>;
}

bool Is(uint32_t format, uint32_t code)
{
    return format == code;
}

// Bytes that one row call reads and writes, for the row functions above:
// packed rows read whole groups, a repack writes 3-byte groups, every other
// row writes one element per pixel, a byte if either side is narrow.
void RowSpans(const CMemoryAccess& src, const CMemoryAccess& dst, int32_t width, int32_t stepX, sRowSpan& read,
              sRowSpan& write)
{
    const uint32_t from = src.miPixelFormat;
    const bool packed = Is(from, KORVA_PIXTYPE_MONO10_PACKED) || Is(from, KORVA_PIXTYPE_MONO12_PACKED);
    const int64_t groups = width / 2;
    if (packed) {
        read = CRowGuard::Span(groups * 3, 1, 1);
        write = from == dst.miPixelFormat ? CRowGuard::Span(groups, stepX, 3)
                                          : CRowGuard::Span(groups * 2, stepX, dst.miBppEff <= 8 ? 1 : 2);
        return;
    }
    const bool byteSource = src.mdBytePerPixel == 1.0;
    read = CRowGuard::Span(width, 1, byteSource ? 1 : 2);
    write = CRowGuard::Span(width, stepX, byteSource || dst.miBppEff <= 8 ? 1 : 2);
}

}  // namespace

bool PickMonoRow(uint32_t srcFormat, uint32_t dstFormat, int32_t srcBpp, int32_t dstBpp, double srcBytePerPixel,
                 int32_t stepX, const uint16_t* lut, const sConvLutShape& shape, KvCpuLevel level, sMonoRow* row)
{
    const bool narrowDestination = dstBpp <= 8;
    const sConvRowBodies& bodies = ConvRowBodies(level);
    row->stepX = stepX;
    row->lut = lut;
    row->words = nullptr;
    row->unpack = nullptr;
    if (Is(srcFormat, KORVA_PIXTYPE_MONO10_PACKED) || Is(srcFormat, KORVA_PIXTYPE_MONO12_PACKED)) {
        if (srcFormat == dstFormat) {
            // The repack takes its layout from the depth, not from the code.
            switch (srcBpp) {
            case 10:
                row->convert = Repacker<2, 0x33u>(stepX);
                break;
            case 12:
                row->convert = Repacker<4, 0xFFu>(stepX);
                break;
            default:
                row->convert = Repacker<0, 0u>(stepX);
                break;
            }
        } else if (Is(srcFormat, KORVA_PIXTYPE_MONO10_PACKED)) {
            row->convert = Unpacker<2, 0x33u>(narrowDestination, row, shape, bodies);
        } else {
            row->convert = Unpacker<4, 0xFFu>(narrowDestination, row, shape, bodies);
        }
        return true;
    }
    if (Is(srcFormat, KORVA_PIXTYPE_MONO8) || Is(srcFormat, KORVA_PIXTYPE_MONO10) ||
        Is(srcFormat, KORVA_PIXTYPE_MONO12) || Is(srcFormat, KORVA_PIXTYPE_MONO14) ||
        Is(srcFormat, KORVA_PIXTYPE_MONO16)) {
        // A one-byte source writes bytes whatever the destination's depth.
        if (srcBytePerPixel == 1.0) {
            row->convert = TableRow<uint8_t, uint8_t>;
        } else if (narrowDestination) {
            row->convert = TableRow<uint16_t, uint8_t>;
            if (bodies.words8 != nullptr && stepX == 1 && shape.Rescales(0, LargestSampleValue(srcBpp))) {
                row->rescale = shape.rescale;
                row->words = bodies.words8;
                row->convert = WordsVectorRow;
            }
        } else {
            row->convert = TableRow<uint16_t, uint16_t>;
        }
        return true;
    }
    // Signed and LUT-flagged mono formats are not served, even where the
    // catalogue offers destinations for them.
    return false;
}

CImgProcConvMono::CImgProcConvMono() {}

CImgProcConvMono::~CImgProcConvMono() {}

bool CImgProcConvMono::OnConvert()
{
    // The tables are brought up to date even for a source refused below.
    mpImgProc->createLookUpTables(1.0, 1.0, 1.0, 1.0);

    const int32_t width = mRectDst.Width();
    sMonoRow row;
    if (!PickMonoRow(mpMemSrc->miPixelFormat, mpMemDst->miPixelFormat, mpMemSrc->miBppEff, mpMemDst->miBppEff,
                     mpMemSrc->mdBytePerPixel, miStepX, mpImgProc->mpLUT[0], mpImgProc->mLutShape, KvCpuActive(), &row))
        return false;

    // Every row writes as many elements (pixels, or whole groups of a packed
    // source); with none, no row changes a byte and the walk is skipped. A
    // negative height would make it four billion rows long.
    const bool packed = mpMemSrc->miPixelFormat == KORVA_PIXTYPE_MONO10_PACKED ||
                        mpMemSrc->miPixelFormat == KORVA_PIXTYPE_MONO12_PACKED;
    if ((packed ? width / 2 : width) < 1)
        return true;

    sRowSpan readSpan, writeSpan;
    RowSpans(*mpMemSrc, *mpMemDst, width, miStepX, readSpan, writeSpan);
    mRowGuard.Begin(*mpMemSrc, *mpMemDst, readSpan, writeSpan);
    const uint32_t top = static_cast<uint32_t>(mRectSrc.top);
    const uint32_t bottom = static_cast<uint32_t>(mRectSrc.bottom);
    const sEvenRows even = CRowGuard::EvenRows(*mpMemSrc, 0, mRectSrc.top, mRectSrc.bottom, *mpMemDst, miDstStartX,
                                               KvWrap32(static_cast<uint32_t>(miStepY) * top +
                                                        static_cast<uint32_t>(miDstStartY)),
                                               miStepY);
    // Rows of plain samples that lie back to back in both buffers go through
    // in long calls: each pixel depends on its own sample only.
    const int64_t rows = static_cast<int64_t>(bottom) - static_cast<int64_t>(top);
    const int64_t join = packed || miStepX != 1 || top >= bottom ? 1 : mRowGuard.JoinableRows(even, rows, width);
    if (join > 1) {
        for (int64_t k = 0; k < rows; k += join) {
            const int64_t n = rows - k < join ? rows - k : join;
            row.convert(even.Src(k), even.Dst(k), static_cast<int32_t>(n * width), row);
        }
        return true;
    }
    for (uint32_t y = top; y < bottom; ++y) {
        const int32_t dstY = KvWrap32(static_cast<uint32_t>(miStepY) * y + static_cast<uint32_t>(miDstStartY));
        unsigned char* dst = even.on ? even.Dst(y - top) : mpMemDst->GetImagePointer(miDstStartX, dstY, 0);
        const unsigned char* src = even.on ? even.Src(y - top) : mpMemSrc->GetImagePointer(0, KvWrap32(y), 0);
        // A missing row ends the run; what was written stays and the run
        // still counts as done.
        if (dst == nullptr || src == nullptr)
            return true;
        row.convert(mRowGuard.Read(src, 0), mRowGuard.Write(dst, 0), width, row);
        mRowGuard.Flush();
    }
    return true;
}

double CImgProcConvMono::OnAverage()
{
    CAverageHistogram::SampleMono(*this, true);
    return 0.0;
}
