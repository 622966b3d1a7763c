#pragma once

// Members of the records of a machine file, read and set wherever the file has them: by name, or in bytes of "raw",
// which lie over the names. What a file cannot express is thrown as a std::runtime_error.

#include "simulator/machine/recordLayout.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace sim {

using Json = nlohmann::ordered_json;

// Of a number, or of the table's word for it; 0: neither.
uint64_t codeOf(const Json& value, std::span<const CodeText> table);

// One record of a controller, a device or a logical drive.
class RecordEdit {
  public:
    // NULL in `owner`'s "records", or none: the record is absent.
    RecordEdit(Json& owner, RecordOwner kind, const char* name);

    bool exists() const { return record_ != nullptr; }
    // `path` names a member as a JSON pointer: "/ldConfig/params/state". 0 for one that is not given.
    uint64_t number(const std::string& path) const;
    std::string text(const std::string& path) const;
    void set(const std::string& path, uint64_t value);

    // Numbers at positions without a name, little-endian.
    uint64_t bytes(uint32_t offset, uint32_t size) const;
    void setBytes(uint32_t offset, uint32_t size, uint64_t value);

    bool hasRaw() const { return exists() && record_->contains("raw"); }
    Json& json() { return *record_; }

  private:
    uint8_t overlay(uint32_t offset, uint8_t named) const;
    bool patchRaw(uint32_t offset, uint8_t value);

    Json* record_ = nullptr;
    const RecordLayout* layout_;
};

Json* findMember(Json& object, const std::string& name); // NULL: absent or null

} // namespace sim
