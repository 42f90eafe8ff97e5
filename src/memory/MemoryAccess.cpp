#include "MemoryAccess.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

#include "KorvaPixelFormats.h"
#include "KvMath.h"
#include "PixelFormatNode.h"

namespace {

// The low 32 bits of a double truncated toward zero. Exact for every finite
// value; a plain conversion would be undefined outside the target's range.
uint32_t TruncLow32(double v) {
    // Every row address comes through here: the usual in-range offset
    // skips the division, with the same result.
    if (v >= 0.0 && v < 4294967296.0) {
        return static_cast<uint32_t>(v);
    }
    if (!std::isfinite(v)) {
        return 0;
    }
    double r = std::fmod(std::trunc(v), 4294967296.0);
    if (r < 0.0) {
        r += 4294967296.0;
    }
    return static_cast<uint32_t>(r);
}

uintptr_t Addr(const unsigned char* p) {
    return reinterpret_cast<uintptr_t>(p);
}

unsigned char* Ptr(uintptr_t a) {
    return reinterpret_cast<unsigned char*>(a);
}

// Sign-extended, then taken modulo the address width, like pointer + int.
uintptr_t Extend(int32_t v) {
    return static_cast<uintptr_t>(static_cast<intptr_t>(v));
}

bool IsAbsent(const sKORVAP_ChunkData& rec) {
    return rec.mpChunkBase == nullptr && rec.miChunkLength == 0;
}

}  // namespace

unsigned char* KvAllocateGuarded(int64_t size) {
    if (size <= 0 || size > std::numeric_limits<int64_t>::max() - 2 * kKvBufferGuard) {
        return nullptr;
    }
    const int64_t total = size + 2 * kKvBufferGuard;
    if (static_cast<uint64_t>(total) > std::numeric_limits<size_t>::max()) {
        return nullptr;
    }
    unsigned char* block = new (std::nothrow) unsigned char[static_cast<size_t>(total)];
    if (block == nullptr) {
        return nullptr;
    }
    std::memset(block, 0, static_cast<size_t>(kKvBufferGuard));
    std::memset(block + kKvBufferGuard + size, 0, static_cast<size_t>(kKvBufferGuard));
    return block + kKvBufferGuard;
}

void KvReleaseGuarded(unsigned char* p) {
    if (p != nullptr) {
        delete[] (p - kKvBufferGuard);
    }
}

CMemoryAccess::CMemoryAccess(PixelFormatMap* formats)
    : miWidth(0),
      miHeight(0),
      miRoiWidth(0),
      miRoiHeight(0),
      miRoiLeft(0),
      miRoiTop(0),
      miBufferLength(0),
      miBoundLength(0),
      miPixelFormat(0),
      miCanals(1),
      miDataOffset(0),
      miBppEff(0),
      miBpp(0),
      mdBytePerPixel(0.0),
      mpBasePointer(nullptr),
      mpPixelFormats(formats) {}

// The catalogue is not consulted: the caller sets the format's numbers with
// SetPixelFormat before it addresses a pixel.
CMemoryAccess::CMemoryAccess(PixelFormatMap* formats, unsigned char* buffer, int32_t length, int32_t width,
                             int32_t height, int32_t pixelFormat)
    : CMemoryAccess(formats) {
    miWidth = width;
    miHeight = height;
    miRoiWidth = width;
    miRoiHeight = height;
    miBufferLength = length;
    miPixelFormat = static_cast<uint32_t>(pixelFormat);
    mpBasePointer = buffer;
}

// A copy describes the same image but takes over no buffer; it starts without
// one (null, length 0) so that it never looks at memory of the original.
CMemoryAccess::CMemoryAccess(const CMemoryAccess& other) : CMemoryAccess(other.mpPixelFormats) {
    *this = other;
}

CMemoryAccess::~CMemoryAccess() {
    mChunkData.clear();
}

CMemoryAccess& CMemoryAccess::operator=(const CMemoryAccess& other) {
    miWidth = other.miWidth;
    miHeight = other.miHeight;
    miRoiWidth = other.miRoiWidth;
    miRoiHeight = other.miRoiHeight;
    miRoiLeft = other.miRoiLeft;
    miRoiTop = other.miRoiTop;
    miPixelFormat = other.miPixelFormat;
    miCanals = other.miCanals;
    miDataOffset = other.miDataOffset;
    miBppEff = other.miBppEff;
    miBpp = other.miBpp;
    mdBytePerPixel = other.mdBytePerPixel;
    mpPixelFormats = other.mpPixelFormats;
    return *this;
}

// Sizes of 0 or below pass; the image object refuses them before it comes here.
bool CMemoryAccess::SetROI(int32_t left, int32_t top, int32_t width, int32_t height) {
    if (left < 0 || top < 0 || miWidth <= left || top >= miHeight || miWidth - left < width ||
        miHeight - top < height) {
        return false;
    }
    miRoiLeft = left;
    miRoiTop = top;
    miRoiWidth = width;
    miRoiHeight = height;
    return true;
}

// Bytes of one row of the region, not of the full image. A product beyond the
// 32-bit range keeps its low 32 bits rather than being undefined.
int32_t CMemoryAccess::GetPitch() {
    return KvWrap32(TruncLow32(static_cast<double>(miRoiWidth) * _GetBytePerPixel()));
}

// Planar formats are addressed plane by plane, so their factor counts one
// sample, whereas the catalogue's factor counts all three planes.
double CMemoryAccess::_GetBytePerPixel() {
    switch (miPixelFormat) {
        case KORVA_PIXTYPE_RGB8_PLANAR:
            return 1.0;
        case KORVA_PIXTYPE_RGB10_PLANAR:
        case KORVA_PIXTYPE_RGB12_PLANAR:
        case KORVA_PIXTYPE_RGB16_PLANAR:
            return 2.0;
        default:
            return mdBytePerPixel;
    }
}

double CMemoryAccess::GetBytePerPixel() {
    return mdBytePerPixel;
}

void CMemoryAccess::SetPixelFormat(uint32_t format, const sPixelFormatNode* node) {
    miPixelFormat = format;
    miBppEff = node->miFormatBppEff;
    miBpp = node->miFormatBpp;
    mdBytePerPixel = node->mdFormatBytePerPixel;
}

// Chunk positions belong to the old buffer, so a new buffer starts without any.
void CMemoryAccess::SetBasePointer(unsigned char* buffer, int32_t length) {
    mpBasePointer = buffer;
    miBufferLength = length;
    miBoundLength = 0;
    freeChunkOfData();
}

int64_t CMemoryAccess::BoundLength() const {
    const int32_t length = miBoundLength > miBufferLength ? miBoundLength : miBufferLength;
    return length > 0 ? length : 0;
}

// Only buffers of KvAllocateGuarded may be released here (release == true).
void CMemoryAccess::FreeBasePointer(bool release) {
    if (release && mpBasePointer != nullptr) {
        KvReleaseGuarded(mpBasePointer);
    }
    mpBasePointer = nullptr;
    miBufferLength = 0;
    miBoundLength = 0;
    freeChunkOfData();
}

// The address is formed as an integer: it may lie outside the buffer (the
// bound test only looks upward) and the view never dereferences it.
unsigned char* CMemoryAccess::GetImagePointer(int32_t x, int32_t y, int32_t plane) {
    const sKORVAP_ChunkData& image = mChunkData[KORVA_CHUNK_IMAGE];
    if (IsAbsent(image)) {
        return nullptr;
    }
    const int32_t index = KvWrap32(KvU32(x) + KvU32(miRoiLeft) + (KvU32(y) + KvU32(miRoiTop)) * KvU32(miWidth));
    const double factor = _GetBytePerPixel();
    double offset = static_cast<double>(index) * factor;
    if (plane == 1 || plane == 2) {
        const int32_t planeSize = KvWrap32(KvU32(miWidth) * KvU32(miHeight));
        offset = offset + static_cast<double>(planeSize) * factor * static_cast<double>(plane);
    }
    if (static_cast<double>(miDataOffset) + offset > static_cast<double>(image.miChunkLength)) {
        return nullptr;
    }
    // Only a non-finite factor gets here with a non-finite offset; there is
    // no position to give for it.
    if (!std::isfinite(offset)) {
        return nullptr;
    }
    return Ptr(Addr(image.mpChunkBase) + Extend(image.miChunkDataOffset) + static_cast<uintptr_t>(TruncLow32(offset)));
}

bool CMemoryAccess::EvenRows(int32_t x, int32_t y0, int32_t step, int32_t rows, int32_t plane, unsigned char** first,
                             std::ptrdiff_t* pitch) {
    if (rows <= 0) {
        return false;
    }
    const sKORVAP_ChunkData& image = mChunkData[KORVA_CHUNK_IMAGE];
    if (IsAbsent(image)) {
        return false;
    }
    // Halves at most, so every product below is exact in a double.
    const double factor = _GetBytePerPixel();
    if (!(factor >= 0.0 && factor <= 64.0) || factor * 2.0 != std::floor(factor * 2.0)) {
        return false;
    }
    const double planeBytes = (plane == 1 || plane == 2)
                                  ? static_cast<double>(KvWrap32(KvU32(miWidth) * KvU32(miHeight))) * factor * plane
                                  : 0.0;
    // Offsets are linear in the row number; where both ends stay in range,
    // every row between does too and GetImagePointer wraps nothing.
    const int64_t ends[2] = {y0, static_cast<int64_t>(y0) + static_cast<int64_t>(rows - 1) * step};
    for (const int64_t y : ends) {
        if (y < INT32_MIN || y > INT32_MAX) {
            return false;
        }
        const int64_t index = static_cast<int64_t>(x) + miRoiLeft + (y + miRoiTop) * static_cast<int64_t>(miWidth);
        if (index < 0 || index > INT32_MAX) {
            return false;
        }
        const double offset = static_cast<double>(index) * factor + planeBytes;
        if (offset < 0.0 || offset >= 4294967296.0 ||
            static_cast<double>(miDataOffset) + offset > static_cast<double>(image.miChunkLength)) {
            return false;
        }
    }
    const double rowBytes = factor * static_cast<double>(miWidth) * step;
    if (rowBytes != std::floor(rowBytes)) {
        return false;
    }
    *first = GetImagePointer(x, y0, plane);
    *pitch = static_cast<std::ptrdiff_t>(rowBytes);
    return *first != nullptr;
}

int CMemoryAccess::setChunkOfData(uint32_t id, unsigned char* data, int32_t length, int32_t dataOffset,
                                  int32_t dataLength) {
    if (data == nullptr || length <= 0 || dataLength < 0) {
        return RESULT_BAD_PARAM;
    }
    if (mpBasePointer == nullptr) {
        return RESULT_ERROR;
    }
    const uintptr_t begin = Addr(mpBasePointer);
    const uintptr_t end = begin + Extend(miBufferLength);
    const uintptr_t start = Addr(data);
    if (start >= end || start < begin) {
        return RESULT_BAD_PARAM;
    }
    // A chunk that ends exactly at the end of the buffer is inside.
    if (start + static_cast<uintptr_t>(length) > end) {
        return RESULT_BAD_PARAM;
    }
    sKORVAP_ChunkData& rec = mChunkData[id];
    rec.mpChunkBase = data;
    rec.miChunkLength = length;
    rec.miChunkDataOffset = dataOffset;
    rec.miChunkDataLength = dataLength;
    return RESULT_OK;
}

// Gives the payload (chunk start + data offset), unlike GetChunkPointer.
// Outputs the caller passes as null are left out instead of written through.
int CMemoryAccess::getChunkOfData(uint32_t id, unsigned char** data, int* dataLength) {
    if (mChunkData.empty()) {
        return RESULT_NOT_SUPPORTED;
    }
    const sKORVAP_ChunkData& rec = mChunkData[id];
    if (IsAbsent(rec)) {
        return RESULT_NOT_SUPPORTED;
    }
    if (data != nullptr) {
        *data = Ptr(Addr(rec.mpChunkBase) + Extend(rec.miChunkDataOffset));
    }
    if (dataLength != nullptr) {
        *dataLength = rec.miChunkDataLength;
    }
    return RESULT_OK;
}

void CMemoryAccess::freeChunkOfData() {
    mChunkData.clear();
}

unsigned char* CMemoryAccess::GetChunkPointer(uint32_t id) {
    return mChunkData[id].mpChunkBase;
}

int32_t CMemoryAccess::GetChunkLength(uint32_t id) {
    return mChunkData[id].miChunkLength;
}

int32_t CMemoryAccess::GetChunkDataLength(uint32_t id) {
    return mChunkData[id].miChunkDataLength;
}

int32_t CMemoryAccess::GetLengthOfAllChunks() {
    uint32_t sum = 0;
    for (const auto& entry : mChunkData) {
        sum += KvU32(entry.second.miChunkLength);
    }
    return KvWrap32(sum);
}

// Byte k of the other's chunk goes to byte k of this chunk. The length is the
// other's, but only bytes whose target lies in this view's buffer and whose
// source lies in the other view's buffer are copied: after AdjustChunkDataMap
// a chunk may reach past its buffer, and nothing here may touch memory it does
// not own. A null other is a view without chunks.
bool CMemoryAccess::CopyChunkData(CMemoryAccess* other, uint32_t leftOut) {
    for (auto& entry : mChunkData) {
        if (entry.first == leftOut) {
            continue;
        }
        if (other == nullptr) {
            return false;
        }
        const sKORVAP_ChunkData& from = other->mChunkData[entry.first];
        if (IsAbsent(from)) {
            return false;
        }
        const sKORVAP_ChunkData& to = entry.second;
        if (from.mpChunkBase == nullptr || to.mpChunkBase == nullptr || from.miChunkLength <= 0 ||
            mpBasePointer == nullptr || other->mpBasePointer == nullptr) {
            continue;
        }
        // Range of k in signed 64-bit distances from each chunk's start.
        const int64_t dst = static_cast<int64_t>(Addr(to.mpChunkBase));
        const int64_t src = static_cast<int64_t>(Addr(from.mpChunkBase));
        const int64_t dstBegin = static_cast<int64_t>(Addr(mpBasePointer));
        const int64_t srcBegin = static_cast<int64_t>(Addr(other->mpBasePointer));
        int64_t lo = 0;
        int64_t hi = from.miChunkLength;
        lo = std::max(lo, dstBegin - dst);
        hi = std::min(hi, dstBegin + miBufferLength - dst);
        lo = std::max(lo, srcBegin - src);
        hi = std::min(hi, srcBegin + other->miBufferLength - src);
        if (lo < hi) {
            // The two views may share one buffer, so the ranges may overlap.
            std::memmove(Ptr(static_cast<uintptr_t>(dst + lo)), Ptr(static_cast<uintptr_t>(src + lo)),
                         static_cast<size_t>(hi - lo));
        }
    }
    return true;
}

// Rebased on this view's buffer by the low 32 bits of each distance; no bytes
// move and this buffer's length is not consulted. The new map is built before
// the old one goes, so a view copied onto itself keeps its chunks.
bool CMemoryAccess::CopyChunkDataMap(CMemoryAccess* other) {
    if (other == nullptr) {
        return false;
    }
    const uint32_t otherBase = static_cast<uint32_t>(Addr(other->mpBasePointer));
    ChunkDataMap rebuilt;
    for (const auto& entry : other->mChunkData) {
        sKORVAP_ChunkData rec = entry.second;
        // An absent record stays absent rather than gaining an address.
        if (!IsAbsent(rec)) {
            const uint32_t distance = static_cast<uint32_t>(Addr(rec.mpChunkBase)) - otherBase;
            rec.mpChunkBase = Ptr(Addr(mpBasePointer) + distance);
        }
        rebuilt[entry.first] = rec;
    }
    mChunkData.swap(rebuilt);
    return true;
}

// Chunks at higher addresses than the adjusted one have delta subtracted, not
// added: they move toward it when it grows. The host relies on this layout
// arithmetic as it stands, so it is kept. No bytes move.
bool CMemoryAccess::AdjustChunkDataMap(uint32_t id, int32_t newLength) {
    if (mChunkData.empty()) {
        return false;
    }
    const sKORVAP_ChunkData adjusted = mChunkData[id];
    if (IsAbsent(adjusted)) {
        return false;
    }
    const int32_t delta = KvWrap32(KvU32(newLength) - KvU32(adjusted.miChunkLength));
    if (KvWrap32(KvU32(GetLengthOfAllChunks()) + KvU32(delta)) > miBufferLength) {
        return false;
    }
    const uintptr_t pivot = Addr(adjusted.mpChunkBase);
    ChunkDataMap rebuilt;
    for (const auto& entry : mChunkData) {
        sKORVAP_ChunkData rec = entry.second;
        const uintptr_t at = Addr(rec.mpChunkBase);
        if (at == pivot) {
            rec.miChunkLength = KvWrap32(KvU32(rec.miChunkLength) + KvU32(delta));
            rec.miChunkDataLength = KvWrap32(KvU32(rec.miChunkDataLength) + KvU32(delta));
        } else if (at > pivot) {
            rec.mpChunkBase = Ptr(at - Extend(delta));
        }
        rebuilt[entry.first] = rec;
    }
    mChunkData.swap(rebuilt);
    return true;
}
