#include "tests/support/cachedMachine.h"

#include "daemon/trace.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace {

// One patch at a time off the text: 'text', ~'text' or hexadecimal digits.
std::string takeBytes(std::string_view& text) {
    const bool isSwapped = text.starts_with('~');
    if (isSwapped) text.remove_prefix(1);
    std::string bytes;
    if (text.starts_with('\'')) {
        bytes = text.substr(1, text.find('\'', 1) - 1);
        text.remove_prefix(bytes.size() + 2);
    }
    for (; !text.empty() && text[0] != ' '; text.remove_prefix(2))
        bytes += char(std::stoi(std::string(text.substr(0, 2)), nullptr, 16));
    for (size_t i = 0; isSwapped && i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Value& value) {
    return stream << value.status << " '" << value.text << "' " << value.number;
}

template <class R>
void CachedMachine::place(const char* record, R*& pointer) {
    std::vector<char>& bytes = records_.emplace(record, sizeof(R)).first->second;
    for (const auto& [offset, patch] : patches_[record])
        std::copy(patch.begin(), patch.end(), bytes.begin() + ptrdiff_t(offset));
    pointer = patches_.contains(std::string("-") + record) ? nullptr : reinterpret_cast<R*>(bytes.data());
}

CachedMachine::CachedMachine(const std::string& bytes) {
    std::string record;
    for (std::string_view rest = bytes; !rest.empty();) {
        const std::string word(rest.substr(0, rest.find_first_of("= ")));
        rest.remove_prefix(std::min(word.size() + 1, rest.size()));
        if (word.empty()) continue;
        if (isdigit(word[0]) != 0)
            patches_[record][std::stoul(word)] = takeBytes(rest);
        else
            patches_[record = word];
    }
    place("ctrl", controller.mrInfo);
    place("mfc", controller.mrMfcDefaults);
    place("bbu", controller.mrBBUStatus);
    place("capacity", controller.mrBBUCapacityInfo);
    place("properties", controller.mrBBUProperties);
    place("design", controller.mrBBUDesignInfo);
    place("pdList", controller.mrPdList);
    place("enclList", controller.mrEnclList);
    place("config", controller.mrCfgData);
    place("pd", pdInfo_[0]);
    place("sata", sata_[0]);
    for (MR_PD_INFO*& info : enclInfo_) place("encl", info);
    place("status", enclStatus_[0]);
    for (MR_LD_INFO*& info : ldInfo_) place("ld", info);
    for (MR_LD_PROGRESS*& progress : ldProgress_) place("progress", progress);
    controller.ctrlId = CTRL_ID;
    controller.numPd = 1;
    controller.mrPdInfo = pdInfo_;
    controller.mrPdSataInfo = sata_;
    controller.mrEnclInfo = enclInfo_;
    controller.mrEnclStatus = enclStatus_;
    controller.mrLdInfo = ldInfo_;
    controller.mrLdProgress = ldProgress_;
    indexDrives(controller);
    root_->numCtrl = 1;
    root_->mrCtrlInst = controllers_;
}

void ValueTest::describeDevices(const nlohmann::json& devices) {
    const nlohmann::json controller = {{"id", CachedMachine::CTRL_ID}, {"number", 4}, {"devices", devices}};
    describeMachine({{"controllers", {controller}}});
}

std::string ValueTest::traceOf(const std::function<void()>& act) {
    char* text = nullptr;
    size_t size = 0;
    g_traceFile = open_memstream(&text, &size);
    g_traceEnabled = 1;
    act();
    g_traceEnabled = 0;
    fclose(std::exchange(g_traceFile, nullptr));
    const std::unique_ptr<char, void (*)(void*)> owner(text, free);
    return {text, size};
}

std::string ValueTest::addressText(const void* address) {
    char text[16];
    snprintf(text, sizeof text, "0x%x", traceAddress(address));
    return text;
}
