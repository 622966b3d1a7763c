#pragma once

// An enclosure as the value functions see it, and what several of them say of it.

#include "cache/oobCache.h"

#include <optional>

struct Enclosure {
    const MRCtrlInst* controller;
    const MR_PD_INFO* info;         // the enclosure's own device record
    const SL_ENCL_STATUS_T* status; // NULL: not read
    uint16_t deviceId;              // names the enclosure to the library
};

// A fan or temperature sensor by its number within its kind.
struct EnclosureElement : Enclosure {
    uint32_t index;
};

// A model is known by its name within the INQUIRY product.
struct EnclosureModel {
    const char* name; // empty: none that is known
    int code;         // SL_ENCL_MODEL_*
};

// Nothing: the controller, the enclosure or its device record is not in the cache.
[[nodiscard]] std::optional<Enclosure> findEnclosure(int ctrlIdx, int enclIdx);

// Nothing also without its status block, or when the block holds fewer elements of the kind.
[[nodiscard]] std::optional<EnclosureElement> findElement(int ctrlIdx, int enclIdx, ElementKind kind, int index);

EnclosureModel getModel(const MR_PD_INFO& info);
int32_t getEnclosureNumber(const Enclosure& enclosure); // as the library numbers it

// "OK", "Degraded", "Error" or "Unknown"; what a missing block means is the library's to say.
const char* getEnclosureStatusText(const SL_ENCL_STATUS_T* status);
