#pragma once

#include "platform/storelib.h"
#include "values/textValue.h"

// Texts of the firmware images (MR_CTRL_INFO, imageComponent); nothing without such an image.

void putFirmwareVersion(const MR_CTRL_INFO& info, TextBuffer& buffer);
void putBiosVersion(const MR_CTRL_INFO& info, TextBuffer& buffer);
void putUefiDriverVersion(const MR_CTRL_INFO& info, TextBuffer& buffer);

// These overwrite what is not printable in the record's dates and times.
void cleanAndPutFirmwareBuildTime(MR_CTRL_INFO& info, TextBuffer& buffer);
void cleanAndPutBiosBuildTime(MR_CTRL_INFO& info, TextBuffer& buffer);
