// The image interface that the host sees. The order of the virtual
// operations is a binary contract with the host: never reorder, insert or
// remove an entry.
#ifndef IKVIMAGE_H
#define IKVIMAGE_H

#include "IKVBasicAPI.h"
#include "KorvaPixelFormats.h"
#include "KorvaTypes.h"

class IKVFeature;

class IKVImage : public IKVBasicAPI {
public:
    virtual ~IKVImage();                                                          // 0, 1

    virtual int process_feature(IKVFeature* feature) = 0;                         // 2
    virtual bool refresh_feature(IKVFeature* feature, void* context) = 0;         // 3
    virtual bool validate_feature(IKVFeature* feature) = 0;                       // 4
    virtual int isFeatureImplemented(KORVA_FeatureId id) = 0;                     // 5
    virtual int enable_logging(bool enable) = 0;                                  // 6

    virtual int useExternalBuffer(bool use) = 0;                                  // 7
    virtual int allocateBuffer(int size) = 0;                                     // 8
    virtual int freeBuffer() = 0;                                                 // 9
    virtual int isExternBuffer(bool* external) = 0;                               // 10
    virtual int get(unsigned char** image) = 0;                                   // 11
    virtual int getBuffer(unsigned char** buffer) = 0;                            // 12
    virtual int getExternalBuffer(unsigned char** buffer) = 0;                    // 13
    virtual int setBuffer(unsigned char* buffer, int length) = 0;                 // 14
    virtual int setSystemBuffer(unsigned char* buffer, int length);               // 15
    virtual int setFromFile(char* name, int length) = 0;                          // 16
    virtual int getBufferLength(int* maximum, int* minimum, int* current) = 0;    // 17
    virtual int setMaxBufferLength(int length) = 0;                               // 18
    virtual int setMinBufferLength(int length) = 0;                               // 19
    virtual int getImageLength(int* length) = 0;                                  // 20

    virtual int getSize(int* width, int* height) = 0;                             // 21
    virtual int setSize(int width, int height) = 0;                               // 22
    virtual int getBpp(int* bits) = 0;                                            // 23
    virtual int getBppEff(int* bits) = 0;                                         // 24
    virtual int getPixelFormat(int* format) = 0;                                  // 25
    virtual int setPixelFormat(int format) = 0;                                   // 26
    virtual int getDataOffset(int* offset) = 0;                                   // 27
    virtual int setDataOffset(int offset) = 0;                                    // 28
    virtual int setNumber(int first, int second) = 0;                             // 29
    virtual int getNumber(int* first, int* second) = 0;                           // 30
    virtual int getTimeStamp(int* first, int* second) = 0;                        // 31
    virtual int setTimeStamp(int first, int second) = 0;                          // 32
    virtual int setHeader(unsigned char* data, int length) = 0;                   // 33
    virtual int getHeader(unsigned char** data) = 0;                              // 34
    virtual int getHeaderLength(int* length) = 0;                                 // 35
    virtual int getCameraIndex(int* index) = 0;                                   // 36
    virtual int setCameraIndex(int index) = 0;                                    // 37

    virtual int doTransformImageObject(IKVImage* destination) = 0;                // 38
    virtual int resetTransformSettings() = 0;                                     // 39

    virtual int getChunkOfData(KORVA_ChunkId id, unsigned char** data, int* length);          // 40
    virtual int setChunkOfData(KORVA_ChunkId id, unsigned char* data, int length, int dataOffset,
                               int dataLength);                                                // 41
    virtual void freeChunkOfData();                                                            // 42
    virtual int getState(KORVA_ImageStatus* state);                                            // 43
    virtual int setState(KORVA_ImageStatus state);                                             // 44
    virtual int getStateInformation(KORVA_ImageInformation* information);                      // 45
    virtual int setStateInformation(KORVA_ImageInformation information);                       // 46

    virtual int getTransformBufferLength(int* length) = 0;                                     // 47
    virtual int doTransform(unsigned char* buffer, int length) = 0;                            // 48
    virtual int setDestinationPixelFormat(int format) = 0;                                     // 49
    virtual int getDestinationPixelFormat(int format, KORVA_FeatureState* state,
                                          KORVAX_TypeListINT* list) = 0;                       // 50
    virtual int setDestinationRange(int left, int top, int right, int bottom) = 0;             // 51
    virtual int getDestinationRange(KORVA_FeatureState* state, KORVAX_TypeROI* range) = 0;     // 52
    virtual int doCopy(unsigned char* buffer, int length) = 0;                                 // 53
    virtual int setFilter(KORVA_ImageFilter filter, int* matrix, int divisor, int width,
                          int height) = 0;                                                     // 54
    virtual int getFilter(KORVA_FeatureState* state, KORVAX_TypeListINT* filters,
                          KORVAX_TypeMatrixINT* matrix, KORVAX_TypeINT* value) = 0;            // 55
    virtual int setDemosaic(KORVA_Demosaic type) = 0;                                          // 56
    virtual int setDemosaicColorBalance(double red, double green, double blue) = 0;            // 57
    virtual int getDemosaicColorBalance(double* red, double* green, double* blue) = 0;         // 58
    virtual int getDemosaic(KORVA_FeatureState* state, KORVAX_TypeListINT* list) = 0;          // 59
    virtual int setScale(KORVA_Scale scale) = 0;                                               // 60
    virtual int getScale(KORVA_FeatureState* state, KORVAX_TypeListINT* list) = 0;             // 61
    virtual int getAverage(double* values, int left, int top, int right, int bottom) = 0;      // 62
};

#endif
