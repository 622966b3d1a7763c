// What the daemon makes of described servers, byte for byte, at a fixed time and in a fixed zone:
// - of those in machines/ at the root, the document; of the large one its size, a checksum and how it begins;
// - of the hostile ones in machines/ here, whose records are raw bytes, all that one update after the other writes.
//
// After an intended change, and with a look at what it changes:
//     REGENERATE_GOLDEN=1 build/tests/unitTests --gtest_filter='Golden*'

#include "daemon/base/accounting.h"
#include "daemon/base/logs.h"
#include "rst/treeWriters.h"
#include "rst/updateCycle.h"
#include "tests/daemon/base/outputs.h"
#include "tests/support/steadyText.h"
#include "tests/support/updateFixture.h"

#include <cinttypes>
#include <cstdio>
#include <filesystem>

namespace {

using nlohmann::json;

const std::filesystem::path GOLDEN = std::filesystem::path(__FILE__).parent_path();
const std::filesystem::path MACHINES = GOLDEN.parent_path().parent_path() / "machines";
const std::filesystem::path HOSTILE_MACHINES = GOLDEN / "machines";
constexpr size_t LARGE = 100'000;
constexpr size_t EXCERPT_LINES = 200;

uint64_t checksumOf(const std::string& text) { // FNV-1a
    uint64_t sum = 0xcbf29ce484222325;
    for (const char c : text) sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return sum;
}

class Golden : public UpdateTest {
  protected:
    static void compare(const std::filesystem::path& file, const std::string& text) {
        if (getenv("REGENERATE_GOLDEN") != nullptr) std::ofstream(file) << text;
        EXPECT_EQ(textOf(file), text) << file;
    }

    // Of a large one its size, a checksum and how it begins.
    static void compareDocument(const std::string& name, const std::string& document) {
        if (document.size() < LARGE) return compare(GOLDEN / (name + ".xml"), document);
        char head[64];
        snprintf(head, sizeof head, "%zu bytes, checksum %016" PRIx64 "\n", document.size(), checksumOf(document));
        size_t end = 0;
        for (size_t i = 0; i < EXCERPT_LINES; ++i) end = document.find('\n', end) + 1;
        compare(GOLDEN / (name + ".txt"), head + document.substr(0, end));
    }

    // A machine and patches of it (RFC 6902), an update after each; all of them are traced.
    static std::string outputsOf(const json& steps) {
        forget();
        const std::string trace = below("/tmp/TraceFile.RST");
        g_allocCount = 0;
        SteadyText steady;
        json machine;
        std::string outputs;
        std::string document;
        for (const json& step : steps) {
            machine = machine.is_null() ? step : machine.patch(step);
            describe(machine);
            std::filesystem::remove(below(RST_LOG_FILE));
            if (g_traceFile == nullptr) std::ofstream(trace).flush(); // a file that is there: the update is traced
            const auto told = size_t(std::filesystem::file_size(trace));
            testing::internal::CaptureStdout();
            outputs += "==== update: " + std::to_string(updateRAIDStorageTree()) + "\n";
            outputs += steady.of(testing::internal::GetCapturedStdout()) + "==== log\n" +
                       steady.of(textOf(below(RST_LOG_FILE))) + "==== trace\n" + steady.of(textOf(trace).substr(told));
            const std::string newDocument = textOf(below(RST_FILE));
            if (newDocument != document) outputs += "==== document\n" + newDocument;
            document = newDocument;
        }
        if (g_traceFile != nullptr) fclose(std::exchange(g_traceFile, nullptr));
        g_traceEnabled = 0;
        std::filesystem::remove(trace);
        return outputs;
    }
};

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& directory) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        if (entry.path().extension() == ".json") files.push_back(entry.path());
    return files;
}

TEST_F(Golden, documentsOfTheDescribedServers) {
    for (const auto& file : filesIn(MACHINES))
        compareDocument(file.stem(), documentOf(json::parse(std::ifstream(file))));
}

TEST_F(Golden, detailsOfAServerShow) {
    std::string longText = "0d0a534e3a204c4f4e470d0a"; // a line "SN: LONG"
    while (longText.size() < 512) longText += "20";
    const struct {
        const char* where;
        json value;
        const char* shown;
    } rows[] = {
        {"/controllers/0/records/MR_CTRL_INFO/imageComponent/1/buildDate", "M", ">M 16:04:48<"},
        {"/faults", {{{"call", "raid_PhysicalDriveGetEnclosureNumber"}, {"kind", "error"}}}, "ST4000QN0012 (0:0)<"},
        {"/controllers/0/records/MR_CONFIG_DATA/ld/0/properties/name", "M", "<Name>M<"},
        {"/controllers/0/records/MR_CONFIG_DATA/ld/0/properties/name", "M", "<DisplayName>M<"},
        {"/controllers/0/devices/10/ataRpm", 15050, "<RPM>15.1<"},
        {"/controllers/0/devices/10/ataRpm", 5250, "<RPM>5.2<"},
        {"/controllers/0/devices/10/records/MR_PD_INFO/deviceSpeed", 5, "<TransferSpeed>5<"},
        {"/controllers/0/devices/61/pages/7/raw/29", "00000100" + longText, "<SerialNumber>LONG<"},
    };
    for (const auto& row : rows) {
        json machine = describedServer("rich");
        forget();
        EXPECT_EQ(documentOf(machine).find(row.shown), std::string::npos) << row.where;
        machine[json::json_pointer(row.where)] = row.value;
        EXPECT_NE(documentOf(machine).find(row.shown), std::string::npos) << row.where;
    }
}

TEST_F(Golden, updatesOnHostileServers) {
    const std::string list = textOf(GOLDEN / "README.md");
    for (std::filesystem::path file : filesIn(HOSTILE_MACHINES)) {
        EXPECT_NE(list.find("| `" + file.stem().string() + "` | "), std::string::npos) << file << ": what does it pin?";
        const std::string outputs = outputsOf(json::parse(std::ifstream(file)));
        compare(file.replace_extension(".txt"), outputs);
    }
}

// Eight controllers of 240 drives.
TEST_F(Golden, documentOfALargeServer) {
    json machine = describedServer("jbod-240");
    for (int i = 1; i < 8; ++i) {
        json controller = machine["controllers"][0];
        controller["id"] = controller["number"] = controller["records"]["MR_CTRL_INFO"]["ctrlIdWord"] = i;
        machine["controllers"].push_back(controller);
    }
    compareDocument("large", documentOf(machine));
}

} // namespace
