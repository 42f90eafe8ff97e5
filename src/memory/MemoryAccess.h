// View on one image buffer: geometry, region of interest, pixel format and
// the map of chunks that lie in the buffer. The view never owns the buffer.
#ifndef MEMORY_ACCESS_H
#define MEMORY_ACCESS_H

#include <cstddef>
#include <cstdint>
#include <map>

#include "KorvaTypes.h"

struct sPixelFormatNode;
typedef std::map<uint32_t, sPixelFormatNode> PixelFormatMap;

// Position of one piece of a frame in the view's buffer.
struct sKORVAP_ChunkData {
    unsigned char* mpChunkBase;
    int32_t miChunkLength;
    int32_t miChunkDataOffset;
    int32_t miChunkDataLength;
};

typedef std::map<uint32_t, sKORVAP_ChunkData> ChunkDataMap;

// Image buffers that the image object allocates itself carry an owned,
// zero-filled guard zone of this many bytes before and after the bytes handed
// out, so that a stray sample next to the image stays in owned memory. Whole
// rows are kept inside the buffer by the converters' row guard, so the zone
// need not hold a row; every new buffer pays for zeroing it.
static const int64_t kKvBufferGuard = 4096;

// Returns the first usable byte of `size` bytes between two guard zones, or
// null for size <= 0, for a size whose guards would overflow, or when memory
// is exhausted. The usable bytes are not initialised.
unsigned char* KvAllocateGuarded(int64_t size);
// Releases a buffer of KvAllocateGuarded; null is ignored.
void KvReleaseGuarded(unsigned char* p);

class CMemoryAccess {
public:
    explicit CMemoryAccess(PixelFormatMap* formats);
    CMemoryAccess(PixelFormatMap* formats, unsigned char* buffer, int32_t length, int32_t width, int32_t height,
                  int32_t pixelFormat);
    CMemoryAccess(const CMemoryAccess& other);
    ~CMemoryAccess();

    // Copies geometry and format only: buffer, buffer length and chunks stay.
    CMemoryAccess& operator=(const CMemoryAccess& other);

    bool SetROI(int32_t left, int32_t top, int32_t width, int32_t height);
    int32_t GetPitch();
    double _GetBytePerPixel();
    double GetBytePerPixel();
    void SetPixelFormat(uint32_t format, const sPixelFormatNode* node);

    void SetBasePointer(unsigned char* buffer, int32_t length);
    void FreeBasePointer(bool release);

    unsigned char* GetImagePointer(int32_t x, int32_t y, int32_t plane);
    // GetImagePointer(x, y0 + k * step, plane) for k = 0 .. rows - 1 in one
    // go, where those rows all exist and lie *pitch bytes apart: no row
    // number, index or offset leaves its 32-bit range and a row step is a
    // whole number of bytes. False otherwise; then ask row by row.
    bool EvenRows(int32_t x, int32_t y0, int32_t step, int32_t rows, int32_t plane, unsigned char** first,
                  std::ptrdiff_t* pitch);
    // Length of the bytes that may be read or written from mpBasePointer on:
    // the larger of miBufferLength and miBoundLength, never negative.
    int64_t BoundLength() const;

    int setChunkOfData(uint32_t id, unsigned char* data, int32_t length, int32_t dataOffset, int32_t dataLength);
    int getChunkOfData(uint32_t id, unsigned char** data, int* dataLength);
    void freeChunkOfData();
    unsigned char* GetChunkPointer(uint32_t id);
    int32_t GetChunkLength(uint32_t id);
    int32_t GetChunkDataLength(uint32_t id);
    int32_t GetLengthOfAllChunks();
    bool CopyChunkData(CMemoryAccess* other, uint32_t leftOut);
    bool CopyChunkDataMap(CMemoryAccess* other);
    bool AdjustChunkDataMap(uint32_t id, int32_t newLength);

    int32_t miWidth;
    int32_t miHeight;
    int32_t miRoiWidth;
    int32_t miRoiHeight;
    int32_t miRoiLeft;
    int32_t miRoiTop;
    int32_t miBufferLength;
    // Bytes behind mpBasePointer that may be touched when the buffer is
    // longer than miBufferLength says: a transform binds only the part of a
    // destination object's buffer that it needs, yet the whole buffer is the
    // bound. 0 unless a transform set it; reset with every new buffer.
    int32_t miBoundLength;
    uint32_t miPixelFormat;
    int32_t miCanals;
    int32_t miDataOffset;
    int32_t miBppEff;
    int32_t miBpp;
    double mdBytePerPixel;
    unsigned char* mpBasePointer;
    PixelFormatMap* mpPixelFormats;
    ChunkDataMap mChunkData;
};

#endif
