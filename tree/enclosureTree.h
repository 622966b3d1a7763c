#pragma once

#include "platform/xmlParser.h"

// "Processor" below "Enclosure", and below it the fans, power supplies and temperature sensors.
void addEnclProcessorInfo2XML(XMLNode* enclosure, int ctrlIndex, int enclIndex);

void addEnclFanInfo2XML(XMLNode* processor, int ctrlIndex, int enclIndex);
void addEnclPsInfo2XML(XMLNode* processor, int ctrlIndex, int enclIndex);
void addEnclTempSensorInfo2XML(XMLNode* processor, int ctrlIndex, int enclIndex);
