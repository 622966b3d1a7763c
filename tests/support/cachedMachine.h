#pragma once

// For tests of the value functions: a cache made by hand, of one controller with one drive, one enclosure and two
// logical drives of equal MR_LD_INFO.

#include "cache/oobCache.h"
#include "tests/support/simulatedRoot.h"
#include "values/valueFunction.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <vector>

// What a value function answers: a text, an integer, or a status for a row that is left out.
struct Value {
    int status = VALUE_OK;
    std::string text;
    int32_t number = 0;

    Value(const char* expectedText) : text(expectedText) {}
    Value(int expectedNumber) : number(expectedNumber) {}
    Value(int gotStatus, std::string gotText, int32_t gotNumber)
        : status(gotStatus), text(std::move(gotText)), number(gotNumber) {}
    bool operator==(const Value&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Value& value);

class CachedMachine {
  public:
    static constexpr uint32_t CTRL_ID = 5;

    // Bytes by record and offset, "pd 12='ACME' 370=01 pdList 4=05": texts, hexadecimal bytes, texts of ATA data
    // (~'text', the characters of each word swapped); all else is 0. "-pd": the record was not read. Records:
    // ctrl, mfc, bbu, capacity, properties, design, pdList, enclList, pd, sata, encl, status, config, ld, progress.
    explicit CachedMachine(const std::string& bytes);
    ~CachedMachine() { oobMRCache = nullptr; }
    CachedMachine(const CachedMachine&) = delete;
    CachedMachine& operator=(const CachedMachine&) = delete;

    // The buffer lies on the heap in its exact size, and is filled: what is written beyond it or left out shows.
    template <class Function, class... Index>
    Value ask(Function function, int paramID, Index... index) const {
        std::vector<char> text(size_t(textSize), '#');
        int32_t number = 12345;
        oobMRCache = root_.get();
        const int status = function(paramID, index..., text.data(), textSize, &number);
        return {status, {text.data(), strnlen(text.data(), text.size())}, number};
    }

    MRCtrlInst controller{};
    int textSize = VALUE_TEXT_SIZE;

  private:
    template <class R>
    void place(const char* record, R*& pointer);

    std::map<std::string, std::map<size_t, std::string>> patches_;
    std::map<std::string, std::vector<char>> records_;
    MRCtrlInst* controllers_[1] = {&controller};
    std::unique_ptr<OobMRCache> root_ = std::make_unique<OobMRCache>();
    MR_PD_INFO* pdInfo_[1];
    SataIdentifyData* sata_[1];
    MR_PD_INFO* enclInfo_[ENCLOSURE_CAPACITY];
    SL_ENCL_STATUS_T* enclStatus_[ENCLOSURE_CAPACITY]{};
    MR_LD_INFO* ldInfo_[LD_CONFIG_CAPACITY];
    MR_LD_PROGRESS* ldProgress_[LD_CONFIG_CAPACITY];
};

class ValueTest : public testing::Test {
  protected:
    using Rows = std::vector<std::pair<std::string, Value>>; // the machine's bytes, and what one value is then

    void SetUp() override { simulatedRoot(); }

    // What the library answers by itself: the devices of the controller, whose number is 4.
    static void describeDevices(const nlohmann::json& devices);
    static std::string traceOf(const std::function<void()>& act);
    static std::string addressText(const void* address); // as traces print it

    template <class Function, class... Index>
    static void expectValues(Function function, const std::string& base, int paramID, const Rows& rows,
                             Index... index) {
        for (const auto& [bytes, expected] : rows)
            EXPECT_EQ(CachedMachine(base + " " + bytes).ask(function, paramID, index...), expected)
                << "value " << paramID << " of " << bytes;
    }
};
