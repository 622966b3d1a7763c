#pragma once

#include "values/valueFunction.h"

enum EnclParam : int {
    ENCL_NUMBER,
    ENCL_VENDOR,
    ENCL_PRODUCT, // text: the product; integer: the model code
    ENCL_HARDWARE_VERSION,
    ENCL_LOGICAL_ID,
    ENCL_NAME,
    ENCL_STATUS,
    ENCL_SUPPORT, // integer: the model code
    ENCL_PARAM_COUNT
};

// One value of an enclosure, by its index into mrEnclList: from its own MR_PD_INFO (INQUIRY data: vendor 12, product
// 20, revision 36) and the library's answers; state and logical identifier are read at each call. VALUE_BAD_BUFFER
// without a buffer, VALUE_NO_OBJECT when the enclosure is not in the cache; what cannot be read is an empty text.
// *ival is 0 unless the value is an integer.
[[nodiscard]] int oobMR_getEnclInfo(int paramID, int ctrlIdx, int enclIdx, char* sval, int svalLen, int32_t* ival);
