#include "DemosaicRows.h"

void DemosaicRowsAvx2(DemosaicRowSet*)
{
}
