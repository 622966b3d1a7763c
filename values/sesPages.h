#pragma once

// The diagnostic pages of an enclosure: reading them, and what they say of its parts.

#include "values/enclosureAccess.h"
#include "values/textValue.h"

#include <cstddef>

constexpr uint8_t SES_PAGE_CONFIGURATION = 1;
constexpr uint8_t SES_PAGE_ELEMENT_DESCRIPTORS = 7;
constexpr uint8_t SES_PAGE_FIRMWARE = 130; // the maker's: firmware versions
constexpr uint8_t SES_PAGE_FRU = 226;      // the maker's: records of the replaceable units
constexpr uint32_t SES_PAGE_SIZE = 8192;

// Reads one page into a buffer of SES_PAGE_SIZE bytes, zeroed before; false when the enclosure does not have it or
// the read failed.
[[nodiscard]] bool readDiagnosticPage(const Enclosure& enclosure, uint8_t pageCode, uint8_t* page);

// Replaceable unit: a record of SES_PAGE_FRU.
struct [[gnu::packed]] SesFruRecord {
    uint8_t reserved0[16];
    char serialNumber[10];
    uint8_t reserved26[6];
    char revision[5];
    uint8_t reserved37[3];
};
static_assert(sizeof(SesFruRecord) == 40);
static_assert(offsetof(SesFruRecord, serialNumber) == 16);
static_assert(offsetof(SesFruRecord, revision) == 32);

// SES_PAGE_FRU: records of the processor, then of two power supplies.
struct [[gnu::packed]] SesFruPage {
    uint8_t header[4];
    SesFruRecord processor;
    SesFruRecord powerSupply[2];
};
static_assert(offsetof(SesFruPage, processor) == 4);
static_assert(offsetof(SesFruPage, powerSupply) == 44);

SesFruPage getFruPage(const uint8_t* page);

// The field up to its first character that is not printable.
template <size_t width>
FieldText<width> getPrintableText(const char (&field)[width]) {
    FieldText<width> printable{};
    for (size_t i = 0; i < width && field[i] >= ' ' && field[i] <= '~'; ++i) printable.text[i] = field[i];
    return printable;
}

// Descriptor text of one element in SES_PAGE_ELEMENT_DESCRIPTORS; it lies in the page and has no NUL.
struct SesDescriptor {
    const char* text; // NULL: the page ends before it
    size_t length;
};

// Element `index` of a kind; the counts of the status block tell how many descriptors each kind before it has. status
// may be NULL: there is no text then.
SesDescriptor findDescriptor(const uint8_t* page, const SL_ENCL_STATUS_T* status, ElementKind kind, uint32_t index);

// What follows the marker in a descriptor text, up to the end of its line; nothing without it.
constexpr const char* SES_MARKER_SERIAL_NUMBER = "SN: ";
constexpr const char* SES_MARKER_REVISION = "REV: ";
void putMarkedText(const SesDescriptor& descriptor, const char* marker, TextBuffer& buffer);
