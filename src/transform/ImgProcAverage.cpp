// Brightness statistics of the image object.
#include "ImgProc.h"

int CImgProc::getAverage(double*, int, int, int, int)
{
    return RESULT_NOT_SUPPORTED;
}
