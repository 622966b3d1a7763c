#pragma once

// Parses one RECORD of a machine file: named members, then raw bytes laid over them.

#include "simulator/machine/machine.h"
#include "simulator/machine/memberTable.h"
#include "simulator/machine/recordLayout.h"

namespace sim {

Bytes parseRecord(const Node& node, const RecordLayout& layout);
Bytes parseRecord(const Node& node); // no layout: it ends with the highest byte given
Form<Bytes> anyRecordForm();
Json recordSchema(const RecordLayout& layout);
Json anyRecordSchema();

Bytes parseHex(const Node& node);
Json hexSchema();

} // namespace sim
