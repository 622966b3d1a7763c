#pragma once

#include "platform/storelib.h"

// Texts of the firmware images (MR_CTRL_INFO, imageComponent); `text` is zeroed and stays so without an image.

void getFirmwareVersion(const MR_CTRL_INFO& info, char* text, int size);
void getBiosVersion(const MR_CTRL_INFO& info, char* text, int size);
void getUefiDriverVersion(const MR_CTRL_INFO& info, char* text, int size);

// These overwrite what is not printable in the record's dates and times.
void getFirmwareBuildTime(MR_CTRL_INFO& info, char* text, int size);
void getBiosBuildTime(MR_CTRL_INFO& info, char* text, int size);
