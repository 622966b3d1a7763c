#pragma once

// Builds and whole updates in the test's process. The time is fixed: 2026-01-01 00:00:00 UTC on the virtual clock, in
// a zone with summer time.

#include "cache/oobCache.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

class UpdateTest : public testing::Test {
  protected:
    UpdateTest();
    ~UpdateTest() override; // the kept cache is released, what was written is gone

    // A machine of like controllers (ids from 7, number 3) with their records, all bytes 0; "OWNER.RECORD 12=00FF
    // 20='text'" lays bytes over a record, "-OWNER.RECORD" removes it. The owner is a device's id, or a logical drive's
    // target id behind "LD"; there is none for records of the controller. Records that are not there yet are added.
    static nlohmann::json controllersWith(const std::string& bytes, int count = 1);

    static void describe(const nlohmann::json& machine);

    // The document's file after updateRAIDStorageTree, which has to write it.
    static std::string documentOf(const nlohmann::json& machine);

    // Leaves oobMRCache as the build does: NULL when it failed.
    static void buildCache(const nlohmann::json& machine);

    // Builds a cache and its document and releases both, tracing.
    struct Build {
        bool done = false;
        std::vector<std::string> log;        // the time and addresses cut off
        std::vector<std::string> buildTrace; // addresses cut off, down to "CALLOC" and "FREE"
        std::vector<std::string> documentTrace;
        std::vector<std::string> releaseTrace;
        std::vector<std::string> output; // of the allocation table, which lists what was not released
    };
    static Build buildOnce(const nlohmann::json& machine);

  private:
    std::string zone_;
};
