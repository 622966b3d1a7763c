#include "values/valueFunction.h"

#include "daemon/base/trace.h"

int beginValue(const ValueRules& rules, bool hasObject, char* text, int size, int32_t* number) {
    *number = rules.startNumber;
    if (text == nullptr || (rules.needsRoom && size <= 0)) return VALUE_BAD_BUFFER;
    if (size > 0 && (hasObject || rules.clearsWithoutObject)) memset(text, 0, size_t(size));
    if (!hasObject) trace("%s", rules.traceWithoutObject);
    return hasObject ? VALUE_OK : VALUE_NO_OBJECT;
}
