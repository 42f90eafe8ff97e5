#include "ImgProcConvFilter.h"

#include <algorithm>
#include <cstring>
#include <new>

const int32_t Box3x3[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
const int32_t Box3x3Div = 9;

const int32_t Box5x5[25] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
const int32_t Box5x5Div = 25;

const int32_t Laplace3x3[9] = {
    0, 1,  0,
    1, -4, 1,
    0, 1,  0,
};
const int32_t Laplace3x3Div = 1;

const int32_t Laplace5x5[25] = {
    0, 0, 0,  0, 0,
    0, 0, 1,  0, 0,
    0, 1, -4, 1, 0,
    0, 0, 1,  0, 0,
    0, 0, 0,  0, 0,
};
const int32_t Laplace5x5Div = 1;

CImgProcConvFilter::CImgProcConvFilter()
    : miFilterType(-1),
      mpMatrix(nullptr),
      miMatrixDiv(1),
      miMatrixWidth(0),
      miMatrixHeight(0),
      mpRows(nullptr),
      mpSums(nullptr)
{
}

CImgProcConvFilter::~CImgProcConvFilter()
{
    Free();
}

bool CImgProcConvFilter::SetParameter(KORVA_ImageFilter filter, int* /*matrix*/, int /*divisor*/, int width,
                                      int height)
{
    // Negative values have no kernel either and are refused like those above 5.
    if (filter > 5 || filter <= 0)
        return false;
    if (filter == 5) {
        // A caller's own kernel is not taken; only its size is kept.
        miMatrixWidth = width;
        miMatrixHeight = height;
        return false;
    }

    const int32_t* table = nullptr;
    int32_t tableSize = 0;
    int32_t tableDiv = 0;
    miMatrixDiv = 1;
    switch (static_cast<int32_t>(filter)) {
    case 1:
        table = Box3x3;
        tableSize = 3;
        tableDiv = Box3x3Div;
        break;
    case 2:
        table = Box5x5;
        tableSize = 5;
        tableDiv = Box5x5Div;
        break;
    case 3:
        table = Laplace3x3;
        tableSize = 3;
        tableDiv = Laplace3x3Div;
        break;
    default:
        table = Laplace5x5;
        tableSize = 5;
        tableDiv = Laplace5x5Div;
        break;
    }
    miMatrixWidth = tableSize;
    miMatrixHeight = tableSize;

    // Free clears the sizes when a kernel was held, so every call after the
    // first allocates empty arrays.
    Free();
    if (miMatrixWidth != miMatrixHeight || tableDiv == 0)
        return false;

    const int32_t matrixCount = miMatrixWidth * miMatrixWidth;
    // Zeroed rather than left indeterminate: the constructor's call copies
    // no element into it.
    mpMatrix = new (std::nothrow) int32_t[matrixCount]();
    mpRows = reinterpret_cast<unsigned char**>(new (std::nothrow) unsigned char[miMatrixHeight]());
    mpSums = new (std::nothrow) int32_t[miMatrixHeight]();
    if (mpMatrix == nullptr || mpRows == nullptr || mpSums == nullptr)
        return false;

    // The caller's size decides how much is copied, but never past the
    // kernel table or the array just allocated.
    const int64_t wanted = static_cast<int64_t>(width) * height;
    const int64_t limit = std::min<int64_t>(tableSize * tableSize, matrixCount);
    const int64_t count = std::max<int64_t>(0, std::min(wanted, limit));
    std::memcpy(mpMatrix, table, static_cast<size_t>(count) * sizeof(int32_t));

    miMatrixDiv = tableDiv;
    miMatrixWidth = width;
    miMatrixHeight = height;
    miFilterType = filter;
    return true;
}

void CImgProcConvFilter::Free()
{
    if (mpMatrix != nullptr) {
        delete[] mpMatrix;
        mpMatrix = nullptr;
        miMatrixWidth = 0;
        miMatrixHeight = 0;
    }
    if (mpRows != nullptr) {
        delete[] reinterpret_cast<unsigned char*>(mpRows);
        mpRows = nullptr;
    }
    if (mpSums != nullptr) {
        delete[] mpSums;
        mpSums = nullptr;
    }
}

bool CImgProcConvFilter::Convert()
{
    // The moving-window run comes with the filter work.
    return false;
}

bool CImgProcConvFilter::OnConvert()
{
    return false;
}
