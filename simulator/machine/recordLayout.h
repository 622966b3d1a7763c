#pragma once

// What a machine file may say of each record: its name, size and members, taken from the headers in platform/.

#include "simulator/machine/codeWords.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace sim {

enum class FieldKind : uint8_t { number, text, record };

// A member. `count` is 0 for a single value; an array's elements lie `size` bytes apart.
struct Field {
    std::string_view name;
    uint32_t offset;
    uint32_t size;
    uint32_t count;
    FieldKind kind;
    std::span<const Field> members; // of a record
    std::string_view sentence;
    std::span<const CodeText> words; // that a file may say for numbers
};

enum class RecordOwner : uint8_t { controller, device, logicalDrive };

struct RecordLayout {
    std::string_view name; // as in the machine file
    RecordOwner owner;
    uint32_t opcode; // raid_ControllerGetOperation answers it by this number; 0: another function does
    uint32_t size;
    std::span<const Field> members;
    std::string_view sentence;
};

std::span<const RecordLayout> recordLayouts();

// NULL: there is no such record.
const RecordLayout* findRecordLayout(RecordOwner owner, std::string_view name);
const RecordLayout* findRecordLayout(uint32_t opcode);

} // namespace sim
