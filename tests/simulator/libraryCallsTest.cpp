#include "simulator/machine/faults.h"
#include "tests/daemon/base/outputs.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <set>

namespace {

// The recorder's table has every function of the firmware's libraries, but for the XML library: its wrappers come of
// it.
TEST(LibraryCalls, areAllInTheTable) {
    const auto platform = std::filesystem::path(__FILE__).parent_path() / "../../platform";
    const std::regex declaration(R"((?:^|\n)[\w[][\w\[\]*\s]*\b(\w+)\([^()]*\);)");
    std::set<std::string> declared;
    for (const auto& entry : std::filesystem::directory_iterator(platform)) {
        if (entry.path().extension() != ".h" || entry.path().stem() == "host" || entry.path().stem() == "xmlParser")
            continue;
        const std::string text = textOf(entry.path());
        for (auto match = std::sregex_iterator(text.begin(), text.end(), declaration); match != std::sregex_iterator();
             ++match)
            declared.insert((*match)[1]);
    }
    std::set<std::string> known;
    for (const sim::LibraryCall& call : sim::libraryCalls()) known.emplace(call.name);
    EXPECT_EQ(declared, known);
}

} // namespace
