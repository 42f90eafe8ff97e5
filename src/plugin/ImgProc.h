// The image object: one camera frame with everything that travels with it,
// and the machinery to convert it. The host sees it only as IKVImage.
#ifndef IMGPROC_H
#define IMGPROC_H

#include <pthread.h>

#include <cstdint>
#include <list>
#include <map>

#include "CKvString.h"
#include "ImgProcConvCopy.h"
#include "ImgProcConvDemosaic.h"
#include "ImgProcConvFilter.h"
#include "ImgProcConvMono.h"
#include "ImgProcConvRGB.h"
#include "ImgProcConvScale.h"
#include "ImgProcConvYUV.h"
#include "MemoryAccess.h"
#include "PixelFormatNode.h"
#include "ikvimage.h"

class IKVFeature;
class IKVValue;

class CImgProc : public IKVImage {
public:
    CImgProc();
    ~CImgProc() override;

    // Feature tree.
    int process_feature(IKVFeature* feature) override;
    bool refresh_feature(IKVFeature* feature, void* context) override;
    bool validate_feature(IKVFeature* feature) override;
    int isFeatureImplemented(KORVA_FeatureId id) override;
    int enable_logging(bool enable) override;

    // Buffers.
    int useExternalBuffer(bool use) override;
    int allocateBuffer(int size) override;
    int freeBuffer() override;
    int isExternBuffer(bool* external) override;
    int get(unsigned char** image) override;
    int getBuffer(unsigned char** buffer) override;
    int getExternalBuffer(unsigned char** buffer) override;
    int setBuffer(unsigned char* buffer, int length) override;
    int setSystemBuffer(unsigned char* buffer, int length) override;
    int setFromFile(char* name, int length) override;
    int getBufferLength(int* maximum, int* minimum, int* current) override;
    int setMaxBufferLength(int length) override;
    int setMinBufferLength(int length) override;
    int getImageLength(int* length) override;

    // Frame description.
    int getSize(int* width, int* height) override;
    int setSize(int width, int height) override;
    int getBpp(int* bits) override;
    int getBppEff(int* bits) override;
    int getPixelFormat(int* format) override;
    int setPixelFormat(int format) override;
    int getDataOffset(int* offset) override;
    int setDataOffset(int offset) override;
    int setNumber(int first, int second) override;
    int getNumber(int* first, int* second) override;
    int getTimeStamp(int* first, int* second) override;
    int setTimeStamp(int first, int second) override;
    int setHeader(unsigned char* data, int length) override;
    int getHeader(unsigned char** data) override;
    int getHeaderLength(int* length) override;
    int getCameraIndex(int* index) override;
    int setCameraIndex(int index) override;

    // Transform driver.
    int doTransformImageObject(IKVImage* destination) override;
    int resetTransformSettings() override;

    // Chunks and status.
    int getChunkOfData(KORVA_ChunkId id, unsigned char** data, int* length) override;
    int setChunkOfData(KORVA_ChunkId id, unsigned char* data, int length, int dataOffset, int dataLength) override;
    void freeChunkOfData() override;
    int getState(KORVA_ImageStatus* state) override;
    int setState(KORVA_ImageStatus state) override;
    int getStateInformation(KORVA_ImageInformation* information) override;
    int setStateInformation(KORVA_ImageInformation information) override;

    int getTransformBufferLength(int* length) override;
    int doTransform(unsigned char* buffer, int length) override;
    int setDestinationPixelFormat(int format) override;
    int getDestinationPixelFormat(int format, KORVA_FeatureState* state, KORVAX_TypeListINT* list) override;
    int setDestinationRange(int left, int top, int right, int bottom) override;
    int getDestinationRange(KORVA_FeatureState* state, KORVAX_TypeROI* range) override;
    int doCopy(unsigned char* buffer, int length) override;
    int setFilter(KORVA_ImageFilter filter, int* matrix, int divisor, int width, int height) override;
    int getFilter(KORVA_FeatureState* state, KORVAX_TypeListINT* filters, KORVAX_TypeMatrixINT* matrix,
                  KORVAX_TypeINT* value) override;
    int setDemosaic(KORVA_Demosaic type) override;
    int setDemosaicColorBalance(double red, double green, double blue) override;
    int getDemosaicColorBalance(double* red, double* green, double* blue) override;
    int getDemosaic(KORVA_FeatureState* state, KORVAX_TypeListINT* list) override;
    int setScale(KORVA_Scale scale) override;
    int getScale(KORVA_FeatureState* state, KORVAX_TypeListINT* list) override;
    int getAverage(double* values, int left, int top, int right, int bottom) override;

    // Non-virtual operations.
    void freeBufferinternal();
    int createFeatureTree();
    int createFileLoadFeature(IKVFeature** feature);
    void DeleteFeatureTree(IKVFeature* feature);
    void DeleteValue(IKVValue* value);
    int CalculateImageSize(int format, int width, int height);
    int NumberOfCanals(int format);
    int isDestinationPixelFormatSupp(int format);
    void AddSupportedPixelFormats(std::list<uint32_t>* formats);
    void createLookUpTables(double gainRed, double gainGreen, double gainBlue, double gamma);
    // Finds mLutShape again from the tables; for whoever writes them other
    // than createLookUpTables.
    void RecordLutShape();
    double Function_SCurve(double x, double exponent, double ignored, double xLow, double xHigh, double xMid,
                           double yLow, double yHigh);
    double GetDataAverage(int, int, int, int, int, double*, double*);

    IKVFeature* mpRootFeature;
    int32_t miBufferType;
    CMemoryAccess mMemSrc;
    CMemoryAccess mMemDst;
    int32_t miLutSrcFormat;
    int32_t miLutDstFormat;
    int32_t miNumber1;
    int32_t miNumber2;
    pthread_mutex_t mMutexSpare;
    int32_t miTimeStamp1;
    int32_t miTimeStamp2;
    bool mbTimeStampSet;
    int32_t miCameraIndex;
    CKvString msModuleName;
    int32_t miMaxBufferLength;
    int32_t miMinBufferLength;
    PixelFormatMap mPixelFormatMap;
    std::list<uint32_t> mSupportedFormats;
    KORVA_ImageStatus miState;
    int32_t miStateInfoSize;
    unsigned char mStateInfo[128];
    bool mbSpareFlag;
    CImgProcConvCopy mConvCopy;
    CImgProcConvDemosaic mConvDemosaic;
    CImgProcConvFilter mConvFilter;
    CImgProcConvScale mConvScale;
    CImgProcConvMono mConvMono;
    CImgProcConvRGB mConvRGB;
    CImgProcConvRGBPlanar mConvRGBPlanar;
    CImgProcConvYUV mConvYUV;
    uint16_t mLutData[3][65536];
    pthread_mutex_t mTransformMutex;
    uint16_t* mpLUT[3];
    // What the tables are, found when they were last built.
    sConvLutShape mLutShape;
    double mdBalanceRed;
    double mdBalanceGreen;
    double mdBalanceBlue;
    double mdLutGain[3];

private:
    // Enters the catalogue of pixel formats, in table order.
    void BuildPixelFormatCatalogue();

    // The two object-to-object paths; both run under the two transform locks.
    int TransformVerbatim(CImgProc& destination);
    int TransformConverting(CImgProc& destination);
    // Same-format branch: the image data goes over raw.
    void CopyImageData();

    CImgProc(const CImgProc&) = delete;
    CImgProc& operator=(const CImgProc&) = delete;
};

#endif
