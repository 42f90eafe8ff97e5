// Resampling entry points of the scaling stage. None of them computes
// anything: each answers 0.
#ifndef KVIMAGESTRETCH_H
#define KVIMAGESTRETCH_H

#include <cstdint>

// Resampling filter. Only 0 is ever passed; no named value is known.
enum eKVIMGFILTYPE : int32_t {};

class CKvImageStretch {
public:
    CKvImageStretch();
    ~CKvImageStretch();

    int Transform(eKVIMGFILTYPE filter, unsigned int canals, unsigned int bytesPerPixel, char* src,
                  unsigned int srcWidth, unsigned int srcHeight, char*& dst, unsigned int dstWidth,
                  unsigned int dstHeight);
    int TransformFix(eKVIMGFILTYPE filter, unsigned int canals, unsigned int bytesPerPixel, char* src,
                     unsigned int srcWidth, unsigned int srcHeight, char* dst, unsigned int dstWidth,
                     unsigned int dstHeight);
    int TransformFixByRoi(eKVIMGFILTYPE filter, unsigned int canals, double bytePerPixel, char* src,
                          unsigned int roiWidth, unsigned int roiHeight, unsigned int roiLeft, unsigned int roiTop,
                          unsigned int width, unsigned int height, char* dst, unsigned int dstWidth,
                          unsigned int dstHeight);

    int32_t miStretchState;
    void* mpStretchBuffer;
    int32_t miStretchIndex;

private:
    CKvImageStretch(const CKvImageStretch&) = delete;
    CKvImageStretch& operator=(const CKvImageStretch&) = delete;
};

#endif
