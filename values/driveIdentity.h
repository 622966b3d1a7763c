#pragma once

// What a drive says of itself: vendor, product, firmware and serial number, from its INQUIRY data (MR_PD_INFO,
// bytes 12 to 59) and, for SATA drives, its ATA IDENTIFY DEVICE data.

#include "cache/oobCache.h"
#include "values/textValue.h"

// Put nothing else into the buffer. sata is NULL where it was not read.
void putDriveVendor(const MR_PD_INFO& info, const SataIdentifyData* sata, TextBuffer& buffer);
void putDriveProduct(const MR_PD_INFO& info, TextBuffer& buffer);
void putDriveFirmware(const MR_PD_INFO& info, const SataIdentifyData* sata, TextBuffer& buffer);
void putDriveSerialNumber(const MR_PD_INFO& info, const SataIdentifyData* sata, TextBuffer& buffer);
