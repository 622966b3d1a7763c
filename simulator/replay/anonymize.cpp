#include "simulator/replay/anonymize.h"

#include "platform/storelib.h"
#include "simulator/machine/faults.h"
#include "simulator/record/callRecorder.h"
#include "simulator/replay/recordWriter.h"
#include "simulator/replay/sources.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <unordered_map>

namespace sim {
namespace {

constexpr size_t SHORTEST_SECRET = 6; // characters that are looked for everywhere; fewer stand by chance too
constexpr size_t ADDRESS = sizeof(uint64_t);

// A piece of a record that tells whose it is.
enum class Secret : uint8_t {
    text,
    swappedText, // each two characters in reversed order
    address,     // 64 bits
    number,      // 16 bits
};
struct SecretField {
    std::string_view record;
    size_t offset;
    size_t size;
    Secret kind;
};
#define SECRET(record, member, kind)                                                                                   \
    { #record, offsetof(record, member), sizeof(record::member), Secret::kind }
constexpr size_t LOGICAL_DRIVE_NAME = offsetof(MR_LD_CONFIG, properties) + offsetof(MR_LD_PROPERTIES, name);
constexpr size_t NAME_SIZE = sizeof(MR_LD_PROPERTIES::name);
constexpr SecretField SECRET_FIELDS[] = {
    SECRET(MR_CTRL_INFO, serialNumber, text),
    SECRET(MR_MFC_DEFAULTS, sasAddr, address),
    SECRET(MR_BBU_DESIGN_INFO, serialNumber, number),
    SECRET(MR_PD_INFO, vendorSpecific, text), // the serial number
    SECRET(MR_PD_INFO, sasAddr, address),
    {"MR_LD_INFO", offsetof(MR_LD_INFO, ldConfig) + LOGICAL_DRIVE_NAME, NAME_SIZE, Secret::text},
    {"MR_CONFIG_DATA", offsetof(MR_CONFIG_DATA, ld) + LOGICAL_DRIVE_NAME, NAME_SIZE, Secret::text},
    {"MR_CONFIG_DATA", offsetof(MR_CONFIG_DATA, ld) + sizeof(MR_LD_CONFIG) + LOGICAL_DRIVE_NAME, NAME_SIZE,
     Secret::text},
    // ATA IDENTIFY DEVICE: the serial number, the world wide name, the medium's serial number.
    {"SATA_IDENTIFY", 20, 20, Secret::swappedText},
    {"SATA_IDENTIFY", 216, 8, Secret::address},
    {"SATA_IDENTIFY", 352, 60, Secret::swappedText},
};

// In diagnostic pages: the enclosure's logical identifier (page 1), serial numbers of its units (page 226), texts
// behind "SN: " (page 7).
constexpr char SERIAL_NUMBER_MARKER[] = "SN: ";
constexpr uint8_t DESCRIPTOR_PAGE = 7;
constexpr uint8_t GET_USER_NAME = 0x46;
constexpr SecretField PAGE_FIELDS[] = {{"1", 12, ADDRESS, Secret::address},
                                       {"226", 20, 10, Secret::text},
                                       {"226", 60, 10, Secret::text},
                                       {"226", 100, 10, Secret::text}};

// The same numbers for the same bytes.
class Numbers {
  public:
    explicit Numbers(const std::string& secret) : state_(hashOf(secret.data(), secret.size())) {}
    uint8_t next(unsigned count) {
        state_ = (state_ ^ state_ >> 29) * 0xBF58476D1CE4E5B9 + 0x9E3779B97F4A7C15;
        return uint8_t((state_ >> 40) % count);
    }

  private:
    uint64_t state_;
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isHexLetter(char c) {
    return (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Numbers and points: an address that stays one.
bool isDotted(const std::string& text) {
    return std::count(text.begin(), text.end(), '.') == 3 &&
           std::all_of(text.begin(), text.end(), [](char c) { return isDigit(c) || c == '.'; });
}
bool isColoned(const std::string& text) {
    return text.find(':') != std::string::npos &&
           std::all_of(text.begin(), text.end(), [](char c) { return isDigit(c) || isHexLetter(c) || c == ':'; });
}

std::string standInFor(const std::string& secret) {
    Numbers numbers(secret);
    const bool keepsHex = isColoned(secret);
    const bool keepsOctets = isDotted(secret);
    std::string text = secret;
    for (size_t i = 0; i < text.size(); ++i) {
        char& c = text[i];
        const bool isFirst = i == 0 || secret[i - 1] == '.';
        if (isDigit(c) && keepsOctets && isFirst)
            c = '1'; // no octet gets beyond 199
        else if (isDigit(c))
            c = char('0' + numbers.next(10));
        else if (c >= 'A' && c <= 'Z')
            c = char('A' + numbers.next(keepsHex ? 6 : 26));
        else if (c >= 'a' && c <= 'z')
            c = char('a' + numbers.next(keepsHex ? 6 : 26));
    }
    return text;
}

// The upper four bits say what kind of address it is.
std::string standInForAddress(const std::string& bigEndian) {
    Numbers numbers(bigEndian);
    std::string address = bigEndian;
    for (size_t i = 0; i < address.size(); ++i) {
        const auto byte = uint8_t(1 + numbers.next(255));
        address[i] = char(i == 0 ? (address[0] & 0xF0) | (byte & 0x0F) : byte);
    }
    return address;
}

// Of 16 bits, with as many decimal digits; all bits set say that there is none.
std::string standInForNumber(const std::string& bytes) {
    uint16_t number = 0;
    memcpy(&number, bytes.data(), sizeof number);
    unsigned least = 1;
    while (least * 10 <= number) least *= 10;
    const unsigned span = std::min(least * 9, UINT16_MAX + 1 - least);
    const auto fresh = uint16_t(least + hashOf(bytes.data(), bytes.size()) % span);
    std::string result = bytes;
    if (number != 0 && number != UINT16_MAX) memcpy(result.data(), &fresh, sizeof fresh);
    return result;
}

std::string reversed(std::string bytes) {
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

std::string swapped(std::string bytes) {
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

std::string stringOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

// Where a text stands between blanks and NULs.
struct Core {
    size_t start;
    size_t size;
};
Core coreOf(const std::string& text) {
    constexpr std::string_view padding(" \0", 2);
    const size_t start = text.find_first_not_of(padding);
    if (start == std::string::npos) return {0, 0};
    return {start, text.find_last_not_of(padding) + 1 - start};
}

class Anonymizer {
  public:
    Anonymizer(std::vector<ReplayedCall>& calls, const BlockIndex& blocks) : calls_(calls), blocks_(blocks) {}

    void run() {
        for (ReplayedCall& call : calls_) collect(call);
        for (ReplayedCall& call : calls_) replaceOutput(call);
        for (ReplayedCall& call : calls_) replaceArguments(call);
    }

  private:
    // First all secrets are learnt, where they are known to stand.
    void collect(const ReplayedCall& call) {
        if (call.values.is_array()) {
            for (const Json& entry : call.values) collectParameter(entry);
        } else if (call.output) {
            const std::string bytes = stringOf(*call.output);
            forEachField(call, [&](const SecretField& field) { collectField(bytes.substr(field.offset), field); });
            forEachText(call, bytes, [&](size_t start, size_t size) { addText(bytes.substr(start, size)); });
        }
        if (call.name == "LCMconfigSpaceWrite" && call.arguments.at(2).is_string())
            collectItem(bytesOfHex(call.arguments.at(2).get<std::string>()));
    }

    template <class Visit>
    static void forEachField(const ReplayedCall& call, Visit visit) {
        const RecordLayout* layout = recordReadBy(call);
        const auto ifInside = [&](const SecretField& field, std::string_view name) {
            if (field.record == name && field.offset + field.size <= call.output->size()) visit(field);
        };
        if (layout != nullptr)
            for (const SecretField& field : SECRET_FIELDS) ifInside(field, layout->name);
        if (call.name == "raid_ReceiveDiagnosticResults")
            for (const SecretField& field : PAGE_FIELDS) ifInside(field, call.arguments.at(2).dump());
    }

    // Texts at no fixed place.
    template <class Visit>
    static void forEachText(const ReplayedCall& call, const std::string& bytes, Visit visit) {
        if (call.name == "raid_ReceiveDiagnosticResults" && call.arguments.at(2) == DESCRIPTOR_PAGE)
            forEachBehind(
                bytes, SERIAL_NUMBER_MARKER, [](char c) { return c < ' ' || c > '~'; }, visit);
        if (call.name == "LCMconfigSpaceRead") {
            const Core core = coreOf(bytes);
            if (core.size > 1) visit(core.start, core.size);
        }
        if (call.name == "ipmiSendCmd" && call.arguments.at(1) == GET_USER_NAME && bytes.size() > 1)
            visit(1, bytes.size() - 1); // behind the completion code
        if (call.name == "ReadReceivedDQMImessage")
            for (const char* element : {"SerialNumber>", "Address>", "HostName>", "<System>\n    <Name>"})
                forEachBehind(
                    bytes, element, [](char c) { return c == '<'; }, visit);
    }

    template <class IsEnd, class Visit>
    static void forEachBehind(const std::string& bytes, const std::string& marker, IsEnd isEnd, Visit visit) {
        for (size_t at = bytes.find(marker); at != std::string::npos; at = bytes.find(marker, at + 1)) {
            const auto start = bytes.begin() + static_cast<ptrdiff_t>(at + marker.size());
            const auto end = std::find_if(start, bytes.end(), isEnd);
            visit(at + marker.size(), size_t(end - start));
        }
    }

    void collectField(const std::string& bytes, const SecretField& field) {
        const std::string own = bytes.substr(0, field.size);
        if (field.kind == Secret::text) addText(own);
        if (field.kind == Secret::swappedText) addText(swapped(own));
        for (size_t i = 0; field.kind == Secret::address && i < own.size(); i += ADDRESS)
            addAddress(field.record == "1" || field.record == "SATA_IDENTIFY" ? own : reversed(own.substr(i, ADDRESS)));
    }

    void collectParameter(const Json& entry) {
        if (isHostText(entry)) collectItem(bytesOfHex(entry.at(3).get<std::string>()));
    }
    // [state, type, length, bytes]: raw or a text.
    static bool isHostText(const Json& entry) { return entry.at(3).is_string() && entry.at(1).get<uint32_t>() <= 1; }
    void collectItem(const Bytes& bytes) {
        const std::string text = stringOf(bytes);
        if (coreOf(text).size > 2) addText(text);
    }

    // As a text or, where it has other bytes, as a number of its length.
    void addText(const std::string& padded) {
        const Core core = coreOf(padded);
        const std::string secret = padded.substr(core.start, core.size);
        if (secret.empty() || standIns_.contains(secret)) return;
        const auto* bytes = reinterpret_cast<const uint8_t*>(secret.data());
        std::string standIn = isPlainText(bytes, secret.size()) ? standInFor(secret) : standInForAddress(secret);
        if (isPlainText(bytes, secret.size())) add(swapped(secret), swapped(standIn));
        add(secret, standIn);
    }
    void addAddress(const std::string& bigEndian) {
        if (bigEndian.find_first_not_of(bigEndian[0]) == std::string::npos) return; // none
        const std::string standIn = standInForAddress(bigEndian);
        add(bigEndian, standIn);
        add(reversed(bigEndian), reversed(standIn));
    }
    void add(const std::string& secret, const std::string& standIn) {
        if (!standIns_.try_emplace(secret, standIn).second || secret.size() < SHORTEST_SECRET) return;
        std::vector<std::string>& all = byStart_[secret.substr(0, SHORTEST_SECRET)];
        all.push_back(secret);
        std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.size() > b.size(); });
    }

    // Of bytes that are a text: it may be a short secret as a whole.
    std::string replaced(const std::string& bytes) const {
        const Core core = coreOf(bytes);
        const auto whole = standIns_.find(bytes.substr(core.start, core.size));
        return whole != standIns_.end() ? std::string(bytes).replace(core.start, core.size, whole->second)
                                        : replacedInside(bytes);
    }

    // Wherever a secret stands that is not short.
    std::string replacedInside(const std::string& bytes) const {
        std::string result = bytes;
        for (size_t at = 0; at + SHORTEST_SECRET <= bytes.size(); ++at) {
            const auto candidates = byStart_.find(bytes.substr(at, SHORTEST_SECRET));
            if (candidates == byStart_.end()) continue;
            for (const std::string& secret : candidates->second) {
                if (bytes.compare(at, secret.size(), secret) != 0) continue;
                result.replace(at, secret.size(), standIns_.at(secret));
                at += secret.size() - 1;
                break;
            }
        }
        return result;
    }

    void replaceOutput(ReplayedCall& call) {
        for (Json& entry : call.values)
            if (isHostText(entry)) entry.at(3) = replacedHex(entry.at(3).get<std::string>());
        if (call.result.is_string()) call.result = replaced(call.result.get<std::string>());
        if (!call.output) return;
        const std::string before = stringOf(*call.output);
        const LibraryCall* function = findLibraryCall(call.name);
        const bool isText = function != nullptr && function->kind == CallKind::computes;
        std::string after = isText ? replaced(before) : replacedInside(before);
        forEachField(call, [&](const SecretField& field) { replaceField(before, after, field); });
        forEachText(call, before, [&](size_t start, size_t size) {
            after.replace(start, size, replaced(before.substr(start, size)));
        });
        if (const RecordLayout* layout = recordReadBy(call); layout != nullptr && !layout->members.empty())
            clearUnnamed(after, *layout);
        call.output = Bytes(after.begin(), after.end());
        noteHashes(before, after);
    }

    void replaceField(const std::string& before, std::string& after, const SecretField& field) const {
        const std::string own = before.substr(field.offset, field.size);
        std::string fresh = own;
        if (field.kind == Secret::text) fresh = replaced(own);
        if (field.kind == Secret::swappedText) fresh = swapped(replaced(swapped(own)));
        if (field.kind == Secret::address) return; // found everywhere
        if (field.kind == Secret::number) fresh = standInForNumber(own);
        after.replace(field.offset, field.size, fresh);
    }

    // What has no name is not read by the daemon, and may be anything.
    static void clearUnnamed(std::string& bytes, const RecordLayout& layout) {
        std::string named(bytes.size(), '\0');
        markNamed(named, 0, layout.members);
        for (size_t i = 0; i < bytes.size(); ++i)
            if (named[i] == 0) bytes[i] = 0;
    }
    static void markNamed(std::string& named, size_t offset, std::span<const Field> fields) {
        for (const Field& field : fields)
            for (size_t i = 0; i < std::max<size_t>(field.count, 1); ++i) {
                const size_t start = offset + field.offset + i * field.size;
                if (field.kind == FieldKind::record) markNamed(named, start, field.members);
                for (size_t at = start; field.kind != FieldKind::record && at < start + field.size && at < named.size();
                     ++at)
                    named[at] = 1;
            }
    }

    // Blocks that are handed back are pieces of what was handed out.
    void noteHashes(const std::string& before, const std::string& after) {
        if (before == after) return;
        for (const size_t size : blocks_.sizes()) {
            Bytes block(before.begin(), before.end());
            block.resize(size);
            const std::string hash = BlockIndex::hashOfBlock(block);
            if (!blocks_.find(hash)) continue;
            block.assign(after.begin(), after.end());
            block.resize(size);
            hashes_[hash] = BlockIndex::hashOfBlock(block);
        }
    }

    void replaceArguments(ReplayedCall& call) {
        for (Json& argument : call.arguments) {
            if (!argument.is_string()) continue;
            const std::string text = argument.get<std::string>();
            if (BlockIndex::isHash(argument)) {
                if (const auto found = hashes_.find(text); found != hashes_.end()) argument = found->second;
            } else if (takesBytes(call.name)) {
                argument = replacedHex(text);
            }
        }
    }
    static bool takesBytes(const std::string& name) {
        return name == "LCMconfigSpaceWrite" || name.starts_with("raid_");
    }
    std::string replacedHex(const std::string& hex) const {
        const std::string bytes = replaced(stringOf(bytesOfHex(hex)));
        return hexOf(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }

    std::vector<ReplayedCall>& calls_;
    const BlockIndex& blocks_;
    std::map<std::string, std::string> standIns_;
    std::unordered_map<std::string, std::vector<std::string>> byStart_;
    std::map<std::string, std::string, std::less<>> hashes_; // new ones by old ones
};

} // namespace

void anonymize(std::vector<ReplayedCall>& calls, const BlockIndex& blocks) {
    Anonymizer(calls, blocks).run();
}

} // namespace sim
