#pragma once

// Values of an enclosure, its SES processor, fans, power supplies and temperature sensors. Enclosures are addressed
// by their index into mrEnclList, elements by their number within their kind. Texts come from the enclosure's own
// MR_PD_INFO (INQUIRY data: vendor 12, product 20, revision 36), from its diagnostic pages, which are read anew at
// each call, and from the library.
//
// All return VALUE_BAD_BUFFER without a buffer and VALUE_NO_OBJECT when the enclosure is not in the cache; the
// element functions also without its SL_ENCL_STATUS_T or beyond the elements that it holds. What a page or a
// record does not tell is an empty text or the integer's start value.

#include "platform/storelib.h"
#include "values/valueFunction.h"

// Rows of the enclosure table that the tree asks for by themselves.
constexpr int ENCL_PARAM_PRODUCT = 2; // text: the product; integer: the model code
constexpr int ENCL_PARAM_SUPPORT = 7; // integer: the model code

// Model codes, the library's.
constexpr int ENCL_MODEL_UNKNOWN = 0;
constexpr int ENCL_MODEL_KP17 = 1;
constexpr int ENCL_MODEL_KP23 = 2;
constexpr int ENCL_MODEL_KP17M2 = 3;

// SES diagnostic pages.
constexpr uint8_t SES_PAGE_CONFIGURATION = 1;
constexpr uint8_t SES_PAGE_ELEMENT_DESCRIPTORS = 7;
constexpr uint8_t SES_PAGE_FIRMWARE = 130; // the maker's: firmware versions
constexpr uint8_t SES_PAGE_FRU = 226;      // the maker's: records of the replaceable units
constexpr uint32_t SES_PAGE_SIZE = 8192;

// The integer starts at 0.
int oobMR_getEnclInfo(int paramID, int ctrlIdx, int enclIdx, char* sval, int svalLen, int32_t* ival);
int oobMR_getEnclProcInfo(int paramID, int ctrlIdx, int enclIdx, char* sval, int svalLen, int32_t* ival);
int oobMR_getEnclFanInfo(int paramID, int ctrlIdx, int enclIdx, int fanIdx, char* sval, int svalLen, int32_t* ival);

// The integer, degrees Celsius, starts at -1: a sensor without element data, a limit that is not set.
int oobMR_getEnclTempSensorInfo(int paramID, int ctrlIdx, int enclIdx, int sensorIdx, char* sval, int svalLen,
                                int32_t* ival);

// `page` is the page that the tree read for the enclosure (SES_PAGE_SIZE bytes: SES_PAGE_FRU for a KP17,
// SES_PAGE_ELEMENT_DESCRIPTORS for every other), NULL when it could not be read.
int oobMR_getEnclPsInfo(int paramID, int modelCode, const SL_ENCL_STATUS_T* enclStatus, const uint8_t* page, int psuIdx,
                        char* sval, int svalLen, int32_t* ival);

// Reads one diagnostic page into a buffer of SES_PAGE_SIZE bytes, zeroed before; false when the enclosure
// does not have it or the read failed.
bool readDiagnosticPage(uint32_t ctrlId, uint16_t deviceId, uint8_t pageCode, uint8_t* page);
