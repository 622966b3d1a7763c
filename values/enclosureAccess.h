#pragma once

// An enclosure as the value functions see it, and what several of them say of it.

#include "cache/oobCache.h"
#include "values/textValue.h"

struct Enclosure {
    const MRCtrlInst* controller;
    const MR_PD_INFO* info;         // the enclosure's own device record
    const SL_ENCL_STATUS_T* status; // NULL: not read
    uint16_t deviceId;              // names the enclosure to the library
};

// A model is known by its name within the INQUIRY product.
struct EnclosureModel {
    const char* name; // empty: none that is known
    int code;         // ENCL_MODEL_*
};

// false: the controller, the enclosure or its device record is not in the cache.
bool findEnclosure(int ctrlIdx, int enclIdx, Enclosure& enclosure);

// false also without its status block, or when the block holds fewer elements of the kind.
bool findElement(int ctrlIdx, int enclIdx, EnclosureElement kind, int index, Enclosure& enclosure);

EnclosureModel getModel(const MR_PD_INFO& info);
int32_t getEnclosureNumber(const Enclosure& enclosure);

// "OK", "Degraded", "Error" or "Unknown"; what a missing block means is the library's to say.
const char* getEnclosureStatusText(const SL_ENCL_STATUS_T* status);
