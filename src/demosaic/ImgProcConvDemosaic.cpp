#include "ImgProcConvDemosaic.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>

#include "AverageHistogram.h"
#include "ImageAddress.h"
#include "ImgProc.h"
#include "KorvaPixelFormats.h"
#include "KvMath.h"
#include "MemoryAccess.h"
#include "PixelTypes.h"
#include "SampleIO.h"

#include "ImgProcConvDemosaic_BL.inl"
#include "ImgProcConvDemosaic_HQBL.inl"
#include "ImgProcConvDemosaic_Mono.inl"
#include "ImgProcConvDemosaic_NN.inl"

namespace {

// The row array always has room for the largest neighbourhood, so that the
// row loop never indexes past it; entries beyond miMatrixSize stay null.
const int kRowSlots = 5;

// What a destination format gets from this converter.
enum DestinationClass {
    kClassOther,   // nothing is written
    kClassMono,    // brightness from the whole mosaic
    kClassBayer,   // raw copy through the red table
    kClassBGR,     // packed, blue first
    kClassRGB,     // packed, red first
    kClassPlanar,  // three planes
};

DestinationClass Classify(uint32_t format)
{
    switch (format) {
    case KORVA_PIXTYPE_MONO8:
    case KORVA_PIXTYPE_MONO10:
    case KORVA_PIXTYPE_MONO12:
    case KORVA_PIXTYPE_MONO16:
        return kClassMono;
    case KORVA_PIXTYPE_BAYGR8:
    case KORVA_PIXTYPE_BAYRG8:
    case KORVA_PIXTYPE_BAYGB8:
    case KORVA_PIXTYPE_BAYBG8:
    case KORVA_PIXTYPE_BAYGR10:
    case KORVA_PIXTYPE_BAYRG10:
    case KORVA_PIXTYPE_BAYGB10:
    case KORVA_PIXTYPE_BAYBG10:
    case KORVA_PIXTYPE_BAYGR12:
    case KORVA_PIXTYPE_BAYRG12:
    case KORVA_PIXTYPE_BAYGB12:
    case KORVA_PIXTYPE_BAYBG12:
        return kClassBayer;
    case KORVA_PIXTYPE_BGR8_PACKED:
        return kClassBGR;
    // RGBA8 is written with 3-byte pixels and RGB16_PLANAR interleaved: that
    // is how these two destinations have always come out.
    case KORVA_PIXTYPE_RGB8_PACKED:
    case KORVA_PIXTYPE_RGBA8_PACKED:
    case KORVA_PIXTYPE_RGB16_PLANAR:
        return kClassRGB;
    case KORVA_PIXTYPE_RGB8_PLANAR:
    case KORVA_PIXTYPE_RGB10_PLANAR:
    case KORVA_PIXTYPE_RGB12_PLANAR:
        return kClassPlanar;
    default:
        return kClassOther;
    }
}

// The colour phase of the source, the only description of the filter that
// the templates get. Read from the format alone: an odd region offset does
// not shift it.
struct Phase {
    int redAtOdd;
    int blueFirst;
};

Phase PhaseOf(uint32_t format)
{
    switch (format) {
    case KORVA_PIXTYPE_BAYGB8:
    case KORVA_PIXTYPE_BAYGB10:
    case KORVA_PIXTYPE_BAYGB12:
        return {0, 1};
    case KORVA_PIXTYPE_BAYGR8:
    case KORVA_PIXTYPE_BAYGR10:
    case KORVA_PIXTYPE_BAYGR12:
        return {1, 0};
    case KORVA_PIXTYPE_BAYBG8:
    case KORVA_PIXTYPE_BAYBG10:
    case KORVA_PIXTYPE_BAYBG12:
        return {1, 1};
    default:
        return {0, 0};
    }
}

// Everything the row loop needs that is fixed for the run.
struct RowPlan {
    uint32_t top;
    uint32_t limit;   // bottom minus the rows left out, wrapping
    uint32_t bottom;  // of the source, for the neighbourhood test
    int32_t half;
    int32_t columns;
    Phase phase;
};

// Rows the method of `type` reads per call, 0 for types without a method.
int RowsRead(int type)
{
    switch (type) {
    case KORVA_DEMOSAIC_NEAREST:
        return 2;
    case KORVA_DEMOSAIC_BILINEAR:
        return 3;
    case KORVA_DEMOSAIC_HQ_BILINEAR:
        return 5;
    default:
        return 0;
    }
}

// Typed view of the row array for one call. False if a row that the method
// reads is missing (a chunk shorter than the image); the loop then ends
// rather than read through null.
template <typename S>
bool TypedRows(unsigned char* const* source, int count, S* (&rows)[kRowSlots])
{
    for (int k = 0; k < kRowSlots; ++k)
        rows[k] = reinterpret_cast<S*>(source[k]);
    for (int k = 0; k < count; ++k)
        if (rows[k] == nullptr)
            return false;
    return true;
}

// The destination of one row in the form the templates take.
template <typename D, bool kPlanar>
struct RowTarget;

template <typename D>
struct RowTarget<D, false> {
    D* pixels;
    RowTarget(unsigned char* at, int32_t) : pixels(reinterpret_cast<D*>(at)) {}
    D* get() { return pixels; }
};

template <typename D>
struct RowTarget<D, true> {
    D* planes[3];
    // `at` is the red sample; the templates take blue, green, red.
    RowTarget(unsigned char* at, int32_t planeSize)
    {
        unsigned char* rgb[3];
        SampleIO::Planes(at, planeSize, rgb);
        for (int k = 0; k < 3; ++k)
            planes[k] = reinterpret_cast<D*>(rgb[2 - k]);
    }
    D** get() { return planes; }
};

// Swaps a row's destination for scratch where it would leave the buffer; a
// planar row goes whole, all three planes, when one of them would.
template <typename D>
void GuardTarget(CRowGuard& guard, RowTarget<D, false>& target)
{
    target.pixels = reinterpret_cast<D*>(guard.Write(reinterpret_cast<unsigned char*>(target.pixels), 0));
}

template <typename D>
void GuardTarget(CRowGuard& guard, RowTarget<D, true>& target)
{
    bool inside = true;
    for (D* plane : target.planes)
        inside = inside && guard.WriteInside(plane);
    if (inside)
        return;
    for (int k = 0; k < 3; ++k)
        target.planes[k] = reinterpret_cast<D*>(guard.WriteCopy(reinterpret_cast<unsigned char*>(target.planes[k]), k));
}

// One method's call with the form of destination that fits.
template <typename S, typename D, typename SD>
void CallMethod(CImgProcConvDemosaic& cv, int type, int rowPhase, int columns, S** rows, D* out, int redAtOdd)
{
    const SD one = 1;
    switch (type) {
    case KORVA_DEMOSAIC_NEAREST:
        cv.DemosaicTemplate_NNLUT<S, D, SD>(rowPhase, columns, rows, out, one, cv.miStepX, redAtOdd);
        break;
    case KORVA_DEMOSAIC_BILINEAR:
        cv.DemosaicTemplate_BLLUT<S, D, SD>(rowPhase, columns, rows, out, one, cv.miStepX);
        break;
    case KORVA_DEMOSAIC_HQ_BILINEAR:
        cv.DemosaicTemplate_HQBLLUT<S, D, SD>(rowPhase, columns, rows, out, one, cv.miStepX);
        break;
    default:
        break;
    }
}

template <typename S, typename D, typename SD>
void CallMethod(CImgProcConvDemosaic& cv, int type, int rowPhase, int columns, S** rows, D** out, int redAtOdd)
{
    const SD one = 1;
    switch (type) {
    case KORVA_DEMOSAIC_NEAREST:
        cv.DemosaicTemplate_NNLUT<S, D, SD>(rowPhase, columns, rows, out, one, cv.miStepX, redAtOdd);
        break;
    case KORVA_DEMOSAIC_BILINEAR:
        cv.DemosaicTemplate_BLLUT<S, D, SD>(rowPhase, columns, rows, out, one, cv.miStepX, redAtOdd);
        break;
    case KORVA_DEMOSAIC_HQ_BILINEAR:
        cv.DemosaicTemplate_HQBLLUT<S, D, SD>(rowPhase, columns, rows, out, one, cv.miStepX);
        break;
    default:
        break;
    }
}

// Pixels the nearest-neighbour and bilinear methods write from a row's
// start, or 0 for the other methods, which are written in place.
int64_t PixelsWritten(int type, int columns)
{
    switch (type) {
    case KORVA_DEMOSAIC_NEAREST:
        return columns < 1 ? 0 : 2 * (1 + static_cast<int64_t>(static_cast<uint32_t>(columns - 1) / 2u));
    case KORVA_DEMOSAIC_BILINEAR:
        return 2 * static_cast<int64_t>(bllut::Pairs(columns));
    default:
        return 0;
    }
}

// The row loop of the colour classes.
template <typename S, typename D, typename SD, bool kPlanar>
void ColourRows(CImgProcConvDemosaic& cv, const RowPlan& plan)
{
    const int type = cv.miDemosaicType;
    const int used = RowsRead(type);
    // Without a method there is nothing to write and no row to walk.
    if (used == 0)
        return;
    CMemoryAccess* dst = cv.mpMemDst;
    CMemoryAccess* src = cv.mpMemSrc;
    const int32_t planeSize = KvWrap32(KvU32(dst->GetPitch()) * KvU32(cv.mRectDst.Height()));
    const uint32_t dstX = KvU32(cv.miStepX) * KvU32(plan.half) + KvU32(cv.miDstStartX);
    unsigned char** ring = cv.mppRows;
    const CImageAddress dstAt(dst);
    const CImageAddress srcAt(src);
    // Streaming: packed rows of a unit step, built in the scratch row and
    // then copied out, each before the next row is made.
    const int64_t streamBytes = kPlanar || cv.miStepX != 1 ? 0 : PixelsWritten(type, plan.columns) * sizeof(D);
    const bool stream =
        streamBytes > 0 && static_cast<int64_t>(plan.limit - plan.top) > cv.miStreamBytes / streamBytes;
    // 8-bit packed bilinear rows go two at a time where the level has a
    // function for it: the rows they share are read once.
    DemosaicTwoRowFn twoRows = nullptr;
    if constexpr (!kPlanar && static_cast<int>(PixelPath<S, D>::kWidth) == kWidthByteToByte)
        if (type == KORVA_DEMOSAIC_BILINEAR && cv.miStepX == 1 && bllut::Pairs(plan.columns) > 0)
            twoRows = cv.mpRowSet->bilinearTwo[PixelPath<S, D>::kLayout];
    const DemosaicStreamFn streamOut = cv.mpRowSet->stream;
    unsigned char* scratch = nullptr;
    unsigned char* scratchBelow = nullptr;  // the second row of a pair
    if (stream) {
        const size_t rowBytes = (static_cast<size_t>(streamBytes) + sizeof(D) + 63u) & ~size_t(63);
        if (cv.mStreamRow.size() < 2 * rowBytes + 64)
            cv.mStreamRow.resize(2 * rowBytes + 64);
        scratch = cv.mStreamRow.data() + (-reinterpret_cast<uintptr_t>(cv.mStreamRow.data()) & 63u);
        scratchBelow = scratch + rowBytes;
    }
    // The methods read up to one sample past `columns` (and the bilinear one
    // the sample before a row), and write up to `columns` + 1 pixels.
    CRowGuard& guard = cv.mRowGuard;
    guard.Begin(*src, *dst,
                sRowSpan{-static_cast<std::ptrdiff_t>(sizeof(S)),
                         static_cast<std::ptrdiff_t>((static_cast<int64_t>(plan.columns) + 1) * sizeof(S))},
                CRowGuard::Span(static_cast<int64_t>(plan.columns) + 1, cv.miStepX, sizeof(D)));

    for (uint32_t y = plan.top; y < plan.limit; ++y) {
        unsigned char* at =
            dstAt.At(KvWrap32(dstX), KvWrap32((y + KvU32(plan.half)) * KvU32(cv.miStepY) + KvU32(cv.miDstStartY)));
        if (at == nullptr)
            break;
        // A source of 3 or 4 rows lets the 5-row loop bound wrap; its window
        // would reach rows below the image, so stop before reading them.
        if (static_cast<uint64_t>(y) + static_cast<uint64_t>(used) > plan.bottom)
            break;
        S* rows[kRowSlots];
        if (!TypedRows(ring, used, rows))
            break;
        RowTarget<D, kPlanar> target(at, planeSize);
        GuardTarget(guard, target);
        // A row the guard has swapped for its own scratch is written there.
        unsigned char* streamTo = nullptr;
        if constexpr (!kPlanar) {
            if (stream && target.pixels == reinterpret_cast<D*>(at)) {
                streamTo = at;
                target.pixels = reinterpret_cast<D*>(scratch);
            }
        }
        // Rows near a buffer's end are handed over as copies, all of them
        // together, with the buffer start moved to the copies' start so that
        // the sample in front of each copy is read as in the buffer.
        unsigned char* const base = src->mpBasePointer;
        bool copied = false;
        for (int k = 0; k < used; ++k)
            copied = copied || !guard.ReadInside(rows[k]);
        if (copied) {
            for (int k = 0; k < used; ++k)
                rows[k] = reinterpret_cast<S*>(const_cast<unsigned char*>(
                    guard.ReadCopy(reinterpret_cast<const unsigned char*>(rows[k]), k)));
            src->mpBasePointer = const_cast<unsigned char*>(guard.ReadBase());
        }
        if constexpr (!kPlanar) {
            // The row below joins this one where it too is read and written
            // in place; it is then skipped.
            if (twoRows != nullptr && !copied && y + 1 < plan.limit &&
                static_cast<uint64_t>(y) + 1 + static_cast<uint64_t>(used) <= plan.bottom &&
                (streamTo != nullptr || target.pixels == reinterpret_cast<D*>(at))) {
                unsigned char* const below = dstAt.At(
                    KvWrap32(dstX), KvWrap32((y + 1 + KvU32(plan.half)) * KvU32(cv.miStepY) + KvU32(cv.miDstStartY)));
                S* next[kRowSlots] = {rows[1], rows[2],
                                      reinterpret_cast<S*>(srcAt.At(0, KvWrap32(y + KvU32(cv.miMatrixSize))))};
                if (below != nullptr && guard.WriteInside(below) && next[2] != nullptr && guard.ReadInside(next[2])) {
                    D* const out = reinterpret_cast<D*>(streamTo != nullptr ? scratchBelow : below);
                    bllut::TwoRows(cv, twoRows, KvWrap32(y + KvU32(plan.phase.blueFirst)),
                                   KvWrap32(y + 1 + KvU32(plan.phase.blueFirst)), plan.columns, rows, next,
                                   target.pixels, out);
                    if (streamTo != nullptr) {
                        streamOut(streamTo, scratch, static_cast<size_t>(streamBytes));
                        streamOut(below, scratchBelow, static_cast<size_t>(streamBytes));
                    }
                    ring[0] = ring[2];
                    ring[1] = reinterpret_cast<unsigned char*>(next[2]);
                    ring[2] = srcAt.At(0, KvWrap32(y + 1 + KvU32(cv.miMatrixSize)));
                    ++y;
                    continue;
                }
            }
        }
        CallMethod<S, D, SD>(cv, type, KvWrap32(y + KvU32(plan.phase.blueFirst)), plan.columns, rows, target.get(),
                             plan.phase.redAtOdd);
        src->mpBasePointer = base;
        guard.Flush();
        if (streamTo != nullptr)
            streamOut(streamTo, scratch, static_cast<size_t>(streamBytes));

        switch (type) {
        case KORVA_DEMOSAIC_NEAREST:
            // The current row is fetched, not y + 2: the pair of rows seen
            // runs two rows behind from y = 2 on, with the parity of entry 0
            // right throughout.
            ring[0] = ring[1];
            ring[1] = srcAt.At(0, KvWrap32(y));
            break;
        case KORVA_DEMOSAIC_BILINEAR:
            ring[0] = ring[1];
            ring[1] = ring[2];
            ring[2] = srcAt.At(0, KvWrap32(y + KvU32(cv.miMatrixSize)));
            break;
        case KORVA_DEMOSAIC_HQ_BILINEAR:
            // Row r lies in entry r % 5.
            ring[y % kRowSlots] = srcAt.At(0, KvWrap32(y + KvU32(cv.miMatrixSize)));
            break;
        default:
            break;
        }
    }
    if (stream)
        _mm_sfence();
}

// The mosaic copied as it is, every site through the red table.
void RawRows(CImgProcConvDemosaic& cv, const RowPlan& plan, DemosaicRowFn row)
{
    CMemoryAccess* dst = cv.mpMemDst;
    CMemoryAccess* src = cv.mpMemSrc;
    DemosaicRowArgs args = {};
    args.step = cv.miStepX;
    args.count = plan.columns > 0 ? KvU32(plan.columns) : 0u;
    args.lut[0] = cv.mpLUTRed;
    args.lut[1] = cv.mpLUTGreen;
    args.lut[2] = cv.mpLUTBlue;
    args.bytes = &cv.mByteTables;
    const std::ptrdiff_t sampleBytes = src->mdBytePerPixel == 1.0 ? 1 : 2;
    const std::ptrdiff_t outBytes = src->mdBytePerPixel != 1.0 && dst->miBppEff > 8 ? 2 : 1;
    const CImageAddress dstAt(dst);
    const CImageAddress srcAt(src);
    CRowGuard& guard = cv.mRowGuard;
    guard.Begin(*src, *dst, CRowGuard::Span(plan.columns, 1, sampleBytes),
                CRowGuard::Span(plan.columns, cv.miStepX, outBytes));
    for (uint32_t y = plan.top; y < plan.limit; ++y) {
        args.out[0] = dstAt.At(cv.miDstStartX, KvWrap32(KvU32(cv.miStepY) * y + KvU32(cv.miDstStartY)));
        if (args.out[0] == nullptr)
            break;
        args.rows[0] = srcAt.At(0, KvWrap32(y));
        if (args.rows[0] == nullptr)
            break;  // a chunk shorter than the image: no row to read
        args.rows[0] = guard.Read(args.rows[0], 0);
        args.out[0] = guard.Write(args.out[0], 0);
        row(args);
        guard.Flush();
    }
}

// The brightness method walks the whole frame from one source pointer and
// the destination start it looks up itself. Where either frame would leave
// its buffer it runs on copies: the returned zero-padded source, and a
// shadow of the destination view, installed as the converter's, whose image
// chunk lies in scratch. The caller restores the view and flushes.
unsigned char* GuardWholeFrame(CImgProcConvDemosaic& cv, int64_t sourceBytes, int64_t destinationBytes,
                               int64_t pixelStep, unsigned char* source, CMemoryAccess& shadow)
{
    const int64_t top = cv.mRectSrc.top, bottom = cv.mRectSrc.bottom;
    const int64_t left = cv.mRectSrc.left, right = cv.mRectSrc.right;
    // Smaller frames are not walked at all.
    if (bottom < 5 || right < 5 || source == nullptr)
        return source;
    const int64_t stride = right - left;
    const sRowSpan read{0, static_cast<std::ptrdiff_t>(((bottom - 1) * stride + right) * sourceBytes)};
    const int64_t lastRow = (bottom - 5 - top) * static_cast<int64_t>(cv.mRectDst.Width()) * cv.miStepY;
    const int64_t lastColumn = (right - 5 - left) * pixelStep;
    int64_t lo = 0, hi = 0;
    for (int64_t corner : {lastRow, lastColumn, lastRow + lastColumn}) {
        lo = corner < lo ? corner : lo;
        hi = corner > hi ? corner : hi;
    }
    const sRowSpan write{static_cast<std::ptrdiff_t>(lo * destinationBytes),
                         static_cast<std::ptrdiff_t>((hi + 1) * destinationBytes)};
    CRowGuard& guard = cv.mRowGuard;
    guard.Begin(*cv.mpMemSrc, *cv.mpMemDst, read, write, 1, 1);
    source = const_cast<unsigned char*>(guard.Read(source, 0));
    unsigned char* start =
        cv.mpMemDst->GetImagePointer(cv.miStepX * 2 + cv.miDstStartX, (cv.mRectSrc.top + 2) * cv.miStepY + cv.miDstStartY, 0);
    if (start != nullptr && !guard.WriteInside(start)) {
        const uintptr_t moved = reinterpret_cast<uintptr_t>(guard.WriteCopy(start, 0)) - reinterpret_cast<uintptr_t>(start);
        sKORVAP_ChunkData chunk = cv.mpMemDst->mChunkData[KORVA_CHUNK_IMAGE];
        chunk.mpChunkBase = reinterpret_cast<unsigned char*>(reinterpret_cast<uintptr_t>(chunk.mpChunkBase) + moved);
        shadow.mChunkData[KORVA_CHUNK_IMAGE] = chunk;
        cv.mpMemDst = &shadow;
    }
    return source;
}

// The three sample widths: 8-bit source, 16-bit source to 8-bit samples,
// 16-bit source to 16-bit samples.
enum WidthCase { kByteToByte = kWidthByteToByte, kWordToByte = kWidthWordToByte, kWordToWord = kWidthWordToWord };

}  // namespace

CImgProcConvDemosaic::CImgProcConvDemosaic()
    : miDemosaicType(KORVA_DEMOSAIC_NEAREST),
      miMatrixSize(2),
      mppRows(nullptr),
      mpLUTRed(nullptr),
      mpLUTGreen(nullptr),
      mpLUTBlue(nullptr),
      miReserved256(256),
      mpRowSet(&DemosaicRows::For(KvCpuActive())),
      mByteTables(),
      miStreamBytes(int64_t(16) << 20)
{
}

CImgProcConvDemosaic::~CImgProcConvDemosaic()
{
    // The last row array is of no use once the converter is gone; releasing
    // it keeps leak checkers quiet.
    delete[] mppRows;
}

bool CImgProcConvDemosaic::OnConvert()
{
    // The balance enters here, as gains baked into the three tables.
    mpImgProc->createLookUpTables(mpImgProc->mdBalanceRed, mpImgProc->mdBalanceGreen, mpImgProc->mdBalanceBlue, 1.0);
    mpLUTRed = mpImgProc->mpLUT[0];
    mpLUTGreen = mpImgProc->mpLUT[1];
    mpLUTBlue = mpImgProc->mpLUT[2];
    mpRowSet = &DemosaicRows::For(KvCpuActive());
    // 8-bit sources index the first 256 entries only; deep ones may index
    // any entry, and a rescale can be computed for indices up to srcMax.
    mByteTables.valid = false;
    mByteTables.same = false;
    for (int t = 0; t < 3; ++t)
        mByteTables.rescale[t] = mByteTables.narrow[t] = false;
    if (mpMemSrc->mdBytePerPixel == 1.0)
        DemosaicRows::FillByteTables(mpLUTRed, mpLUTGreen, mpLUTBlue, &mByteTables);
    else
        DemosaicRows::FillRescale(mpLUTRed, mpLUTGreen, mpLUTBlue, static_cast<uint32_t>(LargestSampleValue(mpMemSrc->miBppEff)),
                                  static_cast<uint32_t>(LargestSampleValue(mpMemDst->miBppEff)), &mByteTables);

    delete[] mppRows;
    mppRows = nullptr;
    if (mRectSrc.Height() < 3)
        return false;

    const int slots = miMatrixSize > kRowSlots ? miMatrixSize : kRowSlots;
    mppRows = new unsigned char*[static_cast<size_t>(slots)]();
    for (int i = 0; i < miMatrixSize; ++i)
        mppRows[i] = mpMemSrc->GetImagePointer(0, i, 0);

    RowPlan plan;
    plan.half = miDemosaicType == KORVA_DEMOSAIC_NEAREST ? 0 : miMatrixSize / 2;
    plan.columns = mRectDst.Width() - plan.half;
    int32_t lost;
    switch (miDemosaicType) {
    case KORVA_DEMOSAIC_NEAREST:
        lost = 1;
        break;
    case KORVA_DEMOSAIC_BILINEAR:
    case KORVA_DEMOSAIC_HQ_BILINEAR:
    case KORVA_DEMOSAIC_MONO:
        lost = miMatrixSize - 1;
        break;
    default:
        lost = miMatrixSize;
        break;
    }

    const DestinationClass cls = Classify(mpMemDst->miPixelFormat);
    if (cls == kClassMono) {
        // Permanent: a later colour conversion stays at this type until the
        // method is set again.
        miMatrixSize = 5;
        miDemosaicType = KORVA_DEMOSAIC_MONO;
    }
    plan.phase = PhaseOf(mpMemSrc->miPixelFormat);

    WidthCase width;
    if (mpMemSrc->mdBytePerPixel == 1.0)
        width = kByteToByte;  // whatever the destination's depth
    else if (mpMemDst->miBppEff < 9)
        width = kWordToByte;
    else
        width = kWordToWord;
    const bool wide = mpMemSrc->mdBytePerPixel != 1.0 && mpMemDst->miBppEff > 8;

    if (cls == kClassOther)
        return true;

    if (cls == kClassMono) {
        unsigned char* source = mpMemSrc->GetImagePointer(0, 0, 0);
        unsigned char* destination = mpMemDst->GetImagePointer(0, 0, 0);
        CMemoryAccess* const view = mpMemDst;
        CMemoryAccess shadow(*view);
        source = GuardWholeFrame(*this, width != kByteToByte ? 2 : 1, width == kWordToWord ? 2 : 1,
                                 width == kWordToWord ? miStepY : miStepX, source, shadow);
        switch (width) {
        case kByteToByte:
            BayerToMonoTemplate_LUT<BYTE, BYTE, unsigned char>(source, destination, 1, miStepY, miStepX);
            break;
        case kWordToByte:
            BayerToMonoTemplate_LUT<WORD, BYTE, unsigned char>(reinterpret_cast<WORD*>(source), destination, 1,
                                                               miStepY, miStepX);
            break;
        case kWordToWord:
            // The steps go in the other order here; with steps of 1 it does
            // not show.
            BayerToMonoTemplate_LUT<WORD, WORD, unsigned short>(reinterpret_cast<WORD*>(source),
                                                                reinterpret_cast<WORD*>(destination), 1, miStepX,
                                                                miStepY);
            break;
        }
        mpMemDst = view;
        mRowGuard.Flush();
        RepairDstBorder(wide ? 2 : 1, miMatrixSize);
        return true;
    }

    if (cls == kClassBayer)
        lost = 0;
    plan.top = KvU32(mRectSrc.top);
    plan.bottom = KvU32(mRectSrc.bottom);
    // Unsigned on purpose: a bound at or below the top runs no row, and one
    // that wraps runs until a destination row is missing.
    plan.limit = plan.bottom - KvU32(lost);

    switch (cls) {
    case kClassBGR:
        if (width == kByteToByte)
            ColourRows<BYTE, tBGRPIXEL, unsigned char, false>(*this, plan);
        else if (width == kWordToByte)
            ColourRows<WORD, tBGRPIXEL, unsigned char, false>(*this, plan);
        else
            ColourRows<WORD, tBGRPIXEL16, unsigned short, false>(*this, plan);
        RepairDstBorder(wide ? 6 : 3, miMatrixSize);
        break;
    case kClassRGB:
        if (width == kByteToByte)
            ColourRows<BYTE, tRGBPIXEL, unsigned char, false>(*this, plan);
        else if (width == kWordToByte)
            ColourRows<WORD, tRGBPIXEL, unsigned char, false>(*this, plan);
        else
            ColourRows<WORD, tRGBPIXEL16, unsigned short, false>(*this, plan);
        RepairDstBorder(wide ? 6 : 3, miMatrixSize);
        break;
    case kClassPlanar:
        if (width == kByteToByte)
            ColourRows<BYTE, BYTE, unsigned char, true>(*this, plan);
        else if (width == kWordToByte)
            ColourRows<WORD, BYTE, unsigned char, true>(*this, plan);
        else
            ColourRows<WORD, WORD, unsigned short, true>(*this, plan);
        RepairDstPlanarBorder(wide ? 2 : 1, miMatrixSize);
        break;
    case kClassBayer:
        // `columns` carries the half of the type that is set: bilinear leaves
        // the last column out, the 5-row methods the last two.
        RawRows(*this, plan, mpRowSet->raw[width]);
        break;
    default:
        break;
    }
    return true;
}

double CImgProcConvDemosaic::OnAverage()
{
    // Bayer sites are sampled like mono: the largest of four, the two of a
    // row sharing a colour. There are no packed Bayer formats.
    CAverageHistogram::SampleMono(*this, false);
    return 0.0;
}

bool CImgProcConvDemosaic::SetType(KORVA_Demosaic type)
{
    int32_t size;
    switch (type) {
    case KORVA_DEMOSAIC_NEAREST:
        size = 2;
        break;
    case KORVA_DEMOSAIC_BILINEAR:
        size = 3;
        break;
    case KORVA_DEMOSAIC_HQ_BILINEAR:
    case KORVA_DEMOSAIC_MONO:
        size = 5;
        break;
    case KORVA_DEMOSAIC_RESERVED_100:
    case KORVA_DEMOSAIC_RESERVED_101:
        // Accepted, but no method stands behind them.
        size = 0;
        break;
    default:
        return false;
    }
    miDemosaicType = type;
    miMatrixSize = size;
    return true;
}
