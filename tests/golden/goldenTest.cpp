// Each described server of machines/ in, its document out, byte for byte, at a fixed time and in a fixed zone. The
// large server's document is kept as its size, a checksum and how it begins.
//
// After an intended change, and with a look at what it changes:
//     REGENERATE_GOLDEN=1 build/tests/unitTests --gtest_filter='Golden*'

#include "tests/daemon/outputs.h"
#include "tests/support/updateFixture.h"

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

namespace {

const std::filesystem::path GOLDEN = std::filesystem::path(__FILE__).parent_path();
const std::filesystem::path MACHINES = GOLDEN.parent_path().parent_path() / "machines";
constexpr size_t EXCERPT_LINES = 200;

class Golden : public UpdateTest {
  protected:
    static void compare(const std::string& file, const std::string& document) {
        if (getenv("REGENERATE_GOLDEN") != nullptr) std::ofstream(GOLDEN / file) << document;
        EXPECT_EQ(textOf(GOLDEN / file), document) << file;
    }
};

TEST_F(Golden, documentsOfTheDescribedServers) {
    for (const auto& entry : std::filesystem::directory_iterator(MACHINES)) {
        if (entry.path().extension() != ".json") continue;
        const std::string document = documentOf(nlohmann::json::parse(std::ifstream(entry.path())));
        compare(entry.path().stem().string() + ".xml", document);
    }
}

std::string outputOf(const std::string& command) {
    // NOLINTNEXTLINE(cert-env33-c): a command of the tree
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    char part[4096];
    for (size_t length = 0; (length = fread(part, 1, sizeof part, pipe.get())) > 0;) output.append(part, length);
    return output;
}

uint64_t checksumOf(const std::string& text) { // FNV-1a
    uint64_t sum = 0xcbf29ce484222325;
    for (const char c : text) sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return sum;
}

TEST_F(Golden, documentOfALargeServer) {
    const std::string document =
        documentOf(nlohmann::json::parse(outputOf("'" + (MACHINES / "make-large").string() + "'")));
    char head[64];
    snprintf(head, sizeof head, "%zu bytes, checksum %016" PRIx64 "\n", document.size(), checksumOf(document));
    size_t end = 0;
    for (size_t i = 0; i < EXCERPT_LINES; ++i) end = document.find('\n', end) + 1;
    compare("large.txt", head + document.substr(0, end));
}

} // namespace
