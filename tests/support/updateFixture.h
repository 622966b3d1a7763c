#pragma once

// Builds and whole updates in the test's process. The time is fixed: 2026-01-01 00:00:00 UTC on the virtual clock, in
// a zone with summer time.

#include "cache/oobCache.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

class UpdateTest : public testing::Test {
  protected:
    UpdateTest();
    ~UpdateTest() override; // the kept cache is released, what was written is gone

    static nlohmann::json describedServer(const std::string& name); // of machines/
    static void describe(const nlohmann::json& machine);
    static void forget(); // the kept cache, and what was written

    // The document's file after updateRAIDStorageTree, which has to write it.
    static std::string documentOf(const nlohmann::json& machine);

    // Leaves oobMRCache as the build does: NULL when it failed.
    static void buildCache(const nlohmann::json& machine);

  private:
    std::string zone_;
};
