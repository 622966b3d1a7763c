#pragma once

#include "platform/xmlParser.h"

enum MxParam : int {
    MX_STATUS,
    MX_STATUS_OVERALL,
    MX_STATUS_ADAPTERS,
    MX_STATUS_LOGICAL_DRIVES,
    MX_STATUS_DISKS,
    MX_PARAM_COUNT
};

// The texts of the multiplexer by paramID, constants all.
struct StatusSummary {
    const char* text[MX_PARAM_COUNT];
};

// Derives the summary from the Status texts of the adapters below `root`, their logical and physical drives.
// The last element that matches decides each text.
[[nodiscard]] StatusSummary computeSummaryStatus(XMLNode* root);
