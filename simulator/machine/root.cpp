#include "simulator/machine/root.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace sim {
namespace {

// What the firmware's system has and the daemon expects.
constexpr const char* DIRECTORIES[] = {"var", "var/run", "var/log", "tmp", "conf", "proc", "simulator"};

void makeDirectory(const std::string& path) {
    if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST)
        refuseToStart("cannot make the directory " + path + ": " + strerror(errno));
}

std::string layOutRoot() {
    const char* setting = getenv("BMC_ROOT");
    if (setting == nullptr || *setting == 0)
        refuseToStart("BMC_ROOT is not set; it names the directory that takes the place of /");
    makeDirectory(setting);
    char* resolved = realpath(setting, nullptr); // the daemon leaves its working directory
    if (resolved == nullptr) refuseToStart(std::string("BMC_ROOT=") + setting + ": " + strerror(errno));
    std::string root = resolved;
    free(resolved);
    if (root == "/") refuseToStart("BMC_ROOT must not be / itself");
    if (root.size() > PATH_MAX / 2) refuseToStart("BMC_ROOT is too long: " + root);
    for (const char* directory : DIRECTORIES) makeDirectory(root + "/" + directory);
    return root;
}

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        text.remove_prefix(size_t(written));
    }
    return true;
}

} // namespace

std::string_view rootDirectory() {
    static const std::string& root = *new std::string(layOutRoot()); // outlives exit handlers
    return root;
}

const char* pathBelowRoot(const char* fixedPath, char* buffer, size_t size) {
    const std::string_view root = rootDirectory();
    const size_t length = strlen(fixedPath);
    if (root.size() + length >= size) {
        buffer[0] = 0;
        return buffer;
    }
    memcpy(buffer, root.data(), root.size());
    memcpy(buffer + root.size(), fixedPath, length + 1);
    return buffer;
}

std::string simulatorFile(std::string_view name) {
    return std::string(rootDirectory()).append("/simulator/").append(name);
}

void appendToSimulatorFile(std::string_view name, std::string_view text) {
    const NotCancelled guard;
    const int descriptor = open(simulatorFile(name).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (descriptor < 0) return;
    if (write(descriptor, text.data(), text.size()) < 0) {
        const std::string fault = "simulator/" + std::string(name) + ": " + strerror(errno) + "\n";
        writeAll(STDERR_FILENO, fault);
    }
    close(descriptor);
}

bool replaceFile(const std::string& path, std::string_view text) {
    const NotCancelled guard;
    const std::string fresh = path + ".new";
    const int descriptor = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (descriptor < 0) return false;
    const bool written = writeAll(descriptor, text);
    return close(descriptor) == 0 && written && rename(fresh.c_str(), path.c_str()) == 0;
}

bool overwriteFile(const char* path, std::string_view text) {
    const NotCancelled guard;
    const int descriptor = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (descriptor < 0) return false;
    const bool written = pwrite(descriptor, text.data(), text.size(), 0) == ssize_t(text.size());
    close(descriptor);
    return written;
}

void refuseToStart(const std::string& text) {
    writeAll(STDERR_FILENO, "simulator: " + text + "\n");
    _exit(2);
}

FileIdentity identityOf(const struct stat& status) {
    return {status.st_ino, status.st_size, int64_t{status.st_mtim.tv_sec} * 1000000000 + status.st_mtim.tv_nsec};
}

FileIdentity identityOf(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? identityOf(status) : FileIdentity{};
}

NotCancelled::NotCancelled() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_);
}

NotCancelled::~NotCancelled() {
    pthread_setcancelstate(previous_, &previous_);
}

} // namespace sim
