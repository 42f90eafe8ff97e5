#include "DemosaicRows.h"

void DemosaicRowsAvx512(DemosaicRowSet*)
{
}
