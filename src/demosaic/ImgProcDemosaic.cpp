#include "ImgProcDemosaic.h"

CImgProcDemosaic::CImgProcDemosaic() {}

CImgProcDemosaic::~CImgProcDemosaic() {}
