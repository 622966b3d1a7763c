#pragma once

// Bytes as a RECORD of a machine file: the inverse of machine/recordReader.h.

#include "simulator/machine/recordLayout.h"
#include "simulator/replay/recordFile.h"

namespace sim {

// Named members where they are known, all other bytes that are not zero as raw ones. Zeros behind the record's own
// size, or at the end of one without layout (NULL), are left out.
Json recordToJson(const Bytes& bytes, const RecordLayout* layout);

// A text where the bytes are one, with its NUL and zeros behind it; else a RECORD.
Json itemToJson(const Bytes& bytes);

// Printable ASCII, no NUL.
bool isPlainText(const uint8_t* bytes, size_t size);

} // namespace sim
