#include "tree/controllerImages.h"

#include "cache/oobCache.h"
#include "daemon/base/trace.h"

namespace {

constexpr char FIRMWARE_NAME[] = "APP";
constexpr char BIOS_NAME[] = "BIOS";

template <size_t Size>
bool hasName(const MR_IMAGE_COMPONENT& component, const char (&name)[Size]) {
    static_assert(Size - 1 <= sizeof component.name);
    return memcmp(component.name, name, Size - 1) == 0;
}

const MR_IMAGE_COMPONENT* findBios(const MR_CTRL_INFO& info) {
    for (uint32_t i = 0; i < getComponentCount(info); ++i)
        if (hasName(info.imageComponent[i], BIOS_NAME)) return &info.imageComponent[i];
    return nullptr;
}

// As isprint says in the C locale.
template <size_t Width>
void clearUnprintable(char (&field)[Width]) {
    for (char& character : field)
        if (character < 0x20 || character > 0x7E) character = '\0';
}

void cleanBuildTime(MR_IMAGE_COMPONENT& component) {
    clearUnprintable(component.buildDate);
    clearUnprintable(component.buildTime);
}

} // namespace

void putFirmwareVersion(const MR_CTRL_INFO& info, TextBuffer& buffer) {
    for (uint32_t i = 0; i < getComponentCount(info); ++i) {
        const MR_IMAGE_COMPONENT& component = info.imageComponent[i];
        trace("CTRLFWVERSION - Name[%d] ='%s'\n", int(i), endField(component.name).text);
        if (hasName(component, FIRMWARE_NAME)) return put(buffer, viewField(component.version));
    }
}

void putBiosVersion(const MR_CTRL_INFO& info, TextBuffer& buffer) {
    const MR_IMAGE_COMPONENT* bios = findBios(info);
    if (bios == nullptr) return;
    trace("oobMR_getCtrlInfo():CTRLBIOSVERSION:name='%s'\n", endField(bios->name).text);
    const auto version = endField(bios->version);
    put(buffer, std::string_view(version.text, strcspn(version.text, "_")));
}

void putUefiDriverVersion(const MR_CTRL_INFO& info, TextBuffer& buffer) {
    for (uint32_t i = 0; i < getComponentCount(info); ++i) {
        const MR_IMAGE_COMPONENT& component = info.imageComponent[i];
        if (!hasName(component, BIOS_NAME)) continue;
        const auto version = endField(component.version);
        const char* separator = strrchr(version.text, '_');
        if (separator == nullptr) continue;
        trace("oobMR_getCtrlInfo():CTRLUEFIDRIVERVERSION: version='%s'\n", version.text);
        return put(buffer, separator + 1);
    }
}

void cleanAndPutFirmwareBuildTime(MR_CTRL_INFO& info, TextBuffer& buffer) {
    for (uint32_t i = 0; i < getComponentCount(info); ++i) {
        MR_IMAGE_COMPONENT& component = info.imageComponent[i];
        if (!hasName(component, FIRMWARE_NAME)) continue;
        if (component.buildDate[0] == '\0' || component.buildTime[0] == '\0') continue;
        cleanBuildTime(component);
        buffer.length = 0; // the last one counts
        put(buffer, viewField(component.buildDate), " ", viewField(component.buildTime));
    }
}

void cleanAndPutBiosBuildTime(MR_CTRL_INFO& info, TextBuffer& buffer) {
    const MR_IMAGE_COMPONENT* found = findBios(info);
    if (found == nullptr) return;
    MR_IMAGE_COMPONENT& bios = info.imageComponent[found - info.imageComponent];
    cleanBuildTime(bios);
    const auto date = endField(bios.buildDate);
    const auto time = endField(bios.buildTime);
    trace("oobMR_getCtrlInfo():CTRLBIOSBUILDTIME: ptr->buildDate='%s',  ptr->buildTime='%s'\n", date.text, time.text);
    if (strcmp(date.text, time.text) != 0) return put(buffer, date, " ", time);
    // A firmware that wrote one text into both fields let the date run into what followed its year.
    constexpr char year[] = "/2013";
    const char* end = strstr(date.text, year);
    const size_t length = end == nullptr ? strlen(date.text) : size_t(end - date.text) + sizeof year - 1;
    put(buffer, std::string_view(date.text, length));
}
