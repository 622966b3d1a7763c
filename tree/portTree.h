#pragma once

#include "platform/xmlParser.h"

#include <cstdint>

// The ports of one controller, created below "Adapter": one for each SAS connector with the enclosures behind it,
// and one for the backplane.
void addPortInfo2XML(XMLNode* adapter, int ctrlIndex);

// The enclosures behind one connector, created below "Port".
void addEnclosureInfo2XML(XMLNode* port, int ctrlIndex, int connIndex);

// The drives of one enclosure or backplane, in ascending slot order.
void addPDInfo2XML(XMLNode* parent, int ctrlIndex, uint16_t enclDeviceId);
