// Input that is not a whole tree: one clear line, exit status 2, of check 3; and a tree that is being written.

#include "tests/raidtree/command.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int TROUBLE = 2, UNKNOWN = 3;
constexpr int PATIENCE_MILLISECONDS = 20000;

class RaidtreeInput : public Raidtree {};

// show, check and metrics of a document that cannot be read.
void expectRefusal(const Output& show, const Output& check, const Output& metrics, const std::string& says) {
    EXPECT_EQ(show.status, TROUBLE);
    EXPECT_EQ(show.text, "");
    EXPECT_EQ(show.errors, "raidtree: " + says + "\n");
    EXPECT_EQ(check.status, UNKNOWN);
    EXPECT_EQ(check.text, "RAID UNKNOWN - " + says + "\n");
    EXPECT_EQ(metrics.status, TROUBLE);
    EXPECT_TRUE(hasLine(metrics.text, "raid_read_success 0"));
}

TEST_F(RaidtreeInput, whatIsNoTreeIsRefusedInOneLine) {
    const std::string whole = goldenDocument("rich");
    const struct {
        std::string text;
        const char* says;
    } rows[] = {
        {"", "empty; no update has written it"},
        {whole.substr(0, whole.size() / 2), "not whole; its last update was cut off, or the disk is full"},
        {"RAID", "not XML"},
        {std::string(1000, '\0'), "not XML"},
        {"\x7f"
         "ELF\x01\x02\x03",
         "not XML"},
        {"<html><body/></html>", "another document: its root is <html>, not <QPRaidStorageDeviceTree>"},
        {"<QPRaidStorageDeviceTree Version=\"2\"/>", "no <System> in it"},
        {changed(whole, {{"</Adapter>", "</Adaptor>"}}), "not well-formed XML: line 317, Start-end tags mismatch"},
    };
    for (const auto& row : rows) {
        const std::string says = std::string("tree.xml: ") + row.says;
        write("tree.xml", row.text);
        expectRefusal(run("show tree.xml"), run("check tree.xml"), run("metrics tree.xml"), says);
    }
}

TEST_F(RaidtreeInput, filesThatCannotBeReadAreNamed) {
    std::filesystem::create_directory(path("folder"));
    std::filesystem::resize_file(write("large.xml", ""), 100U << 20U); // of which the disk has nothing
    for (const auto& [name, says] : {std::pair{"absent.xml", "No such file or directory"},
                                     {"folder", "a directory"},
                                     {"large.xml", "larger than 32 MiB"},
                                     {"tree.xml/none", "No such file or directory"}})
        expectRefusal(run(std::string("show ") + name), run(std::string("check ") + name),
                      run(std::string("metrics ") + name), std::string(name) + ": " + says);
    const std::string large = path("large.xml");
    EXPECT_EQ(run("show -", large).errors, "raidtree: standard input: larger than 32 MiB\n");
    if (geteuid() == 0) return; // who may read everything
    std::filesystem::permissions(write("secret.xml", "x"), std::filesystem::perms::none);
    EXPECT_EQ(run("show secret.xml").errors, "raidtree: secret.xml: Permission denied\n");
}

TEST_F(RaidtreeInput, standardInputAndPipesAreRead) {
    const std::string file = write("tree.xml", goldenDocument("rich"));
    const std::string wanted = run("show --no-log tree.xml").text;
    EXPECT_EQ(run("show -", file).text, wanted);
    EXPECT_EQ(run("show /dev/stdin", "tree.xml").status, 0);
    write("script", "cat tree.xml | " RAIDTREE " show - >out");
    EXPECT_EQ(std::system(("cd " + path("") + " && sh script").c_str()), 0);
    EXPECT_EQ(textOfFile(path("out")), wanted);
}

// What a number may not be is absent, with one note a kind, and nothing else is lost.
TEST_F(RaidtreeInput, numbersAreDoubted) {
    const std::string plain = goldenDocument("rich");
    const struct {
        const char *from, *to, *pointer; // what is then not in the JSON
    } rows[] = {
        {"<PhysicalSize>3815447<", "<PhysicalSize>99999999999999999999<", "/adapters/0/drives/0/sizeBytes"},
        {"<Slot>0<", "<Slot>-7<", "/adapters/0/drives/0/slot"},
        {"<MediaErrorCount>1<", "<MediaErrorCount>0x1<", "/adapters/0/drives/0/mediaErrors"},
        {"<ForeignConfig>false<", "<ForeignConfig>no<", "/adapters/0/drives/0/foreignConfig"},
        {"<MemorySize>", "<MemorySize>1e9", "/adapters/0/memoryBytes"},
        {"<ChipTemperature>", "<ChipTemperature>-", "/adapters/0/temperatureCelsius"},
        {"<Voltage>", "<Voltage>nan", "/adapters/0/battery/volts"},
    };
    for (const auto& row : rows) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, row.from);
        const nlohmann::json::json_pointer pointer(row.pointer);
        const std::string sound = jsonOf(plain);
        const nlohmann::json before = nlohmann::json::parse(sound);
        const nlohmann::json now = nlohmann::json::parse(jsonOf(changed(plain, {{row.from, row.to}})));
        EXPECT_TRUE(before.contains(pointer));
        EXPECT_FALSE(now.contains(pointer));
        EXPECT_EQ(now["notes"].size(), 1U) << now["notes"];
        EXPECT_EQ(now["adapters"][1], before["adapters"][1]);
    }
    const std::string strange =
        changed(plain, {{"Version=\"2\"", "Version=\"3\""}, {"<Type>SAS<", "<Strange>1</Strange><Type>SAS<"}});
    const nlohmann::json notes = {"elements that are not known: <Strange> in <Adapter>",
                                  "version of the format: \"3\", read as 2"};
    EXPECT_EQ(nlohmann::json::parse(jsonOf(strange))["notes"], notes);
}

// A process whose output is read line by line.
class Running {
  public:
    Running(const std::string& folder, const char* word, const char* file) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) == -1) throw std::runtime_error("pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
        const char* arguments[] = {RAIDTREE, word, file, nullptr};
        if (posix_spawn(&pid_, RAIDTREE, &actions, nullptr, const_cast<char**>(arguments), environ) != 0)
            throw std::runtime_error(RAIDTREE);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        output_ = ends[0];
    }
    ~Running() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        close(output_);
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    // The next one, without the time in front of it; all that comes is waited for, a line for each.
    std::string line() {
        for (;;) {
            if (const size_t end = text_.find('\n'); end != std::string::npos) {
                const std::string found = text_.substr(0, end);
                text_.erase(0, end + 1);
                return found.size() > 21 ? found.substr(21) : found;
            }
            pollfd event = {output_, POLLIN, 0};
            char part[4096];
            const ssize_t count = poll(&event, 1, PATIENCE_MILLISECONDS) > 0 ? read(output_, part, sizeof part) : 0;
            if (count <= 0) return "(nothing more) " + text_;
            text_.append(part, static_cast<size_t>(count));
        }
    }

  private:
    pid_t pid_ = 0;
    int output_ = -1;
    std::string text_;
};

TEST_F(RaidtreeInput, aLockIsHonoured) {
    const std::string tree = goldenDocument("ssd-cache");
    const std::string file = write("tree.xml", tree);
    const int fd = open(file.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(lockf(fd, F_LOCK, 1), 0);
    expectRefusal(run("show tree.xml"), run("check tree.xml"), run("metrics tree.xml"),
                  "tree.xml: locked by another process for half a second");

    // Truncated, seen by the reader, then written and let go.
    ASSERT_EQ(ftruncate(fd, 0), 0);
    const int events = inotify_init1(IN_CLOEXEC);
    ASSERT_NE(inotify_add_watch(events, file.c_str(), IN_OPEN), -1);
    std::thread writer([&] {
        char seen[256];
        EXPECT_GT(read(events, seen, sizeof seen), 0);
        EXPECT_EQ(pwrite(fd, tree.data(), tree.size(), 0), static_cast<ssize_t>(tree.size()));
        EXPECT_EQ(lockf(fd, F_ULOCK, 1), 0);
    });
    const Output output = run("show --short --no-log tree.xml");
    writer.join();
    close(events);
    close(fd);
    EXPECT_EQ(output.status, 0) << output.errors;
    EXPECT_TRUE(output.text.starts_with("files-03: 1 adapter, no problems")) << output.text;
}

TEST_F(RaidtreeInput, watchGoesOnWhateverHappensToTheFile) {
    const std::string tree = goldenDocument("ssd-cache");
    const auto withName = [&](const std::string& name) { return changed(tree, {{"files-03", name}}); };
    const std::string file = write("tree.xml", tree);
    Running watch(path(""), "watch", "tree.xml");
    EXPECT_EQ(watch.line(), "files-03: no problems");
    write("tree.xml", withName("in-place"));
    EXPECT_EQ(watch.line(), "server: name files-03 -> in-place");
    std::filesystem::rename(write("new.xml", withName("replaced")), file);
    EXPECT_EQ(watch.line(), "server: name in-place -> replaced");
    write("tree.xml", "");
    EXPECT_EQ(watch.line(), "tree.xml: empty; no update has written it");
    write("tree.xml", withName("truncated"));
    EXPECT_EQ(watch.line(), "server: name replaced -> truncated");
    std::filesystem::remove(file);
    EXPECT_EQ(watch.line(), "tree.xml: No such file or directory");
    write("tree.xml", withName("removed"));
    EXPECT_EQ(watch.line(), "server: name truncated -> removed");
}

} // namespace
