#pragma once

#include "values/valueFunction.h"

// One value of a controller: most from its cached records, a few from a live query. A value whose record is
// missing is an empty text or 0; so is one of an unknown paramID. May change the cached records: asking for the
// channels in use empties the drives' port bitmaps, asking for build times cleans those texts.
int oobMR_getCtrlInfo(int paramID, int ctrlIndex, char* text, int size, int32_t* value);
