#pragma once

// What a drive says of itself: vendor, product, firmware and serial number, from its INQUIRY data (MR_PD_INFO,
// bytes 12 to 59) and, for SATA drives, its ATA IDENTIFY DEVICE data.

#include "cache/oobCache.h"
#include "values/textValue.h"

// sata is NULL where it was not read.
void setDriveVendor(const MR_PD_INFO& info, const SataIdentifyData* sata, char* sval, int svalLen);
void setDriveProduct(const MR_PD_INFO& info, char* sval, int svalLen);
void setDriveFirmware(const MR_PD_INFO& info, const SataIdentifyData* sata, char* sval, int svalLen);
void setDriveSerialNumber(const MR_PD_INFO& info, const SataIdentifyData* sata, char* sval, int svalLen);
