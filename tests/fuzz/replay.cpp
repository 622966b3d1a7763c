// Runs a target over kept inputs: the files of the directories that are named, or single files.

#include "tests/fuzz/fuzz.h"

#include <fstream>
#include <iterator>
#include <vector>

namespace {

void replay(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    // Exactly as long as the input, so that a read beyond it shows.
    const std::vector<uint8_t> input(bytes.begin(), bytes.end());
    fprintf(stderr, "%s\n", file.c_str()); // the last one named is the one that failed
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

} // namespace

int main(int argc, char** argv) {
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<std::filesystem::path> files = {argv[i]};
        if (std::filesystem::is_directory(argv[i])) files = {std::filesystem::directory_iterator(argv[i]), {}};
        std::sort(files.begin(), files.end());
        for (const auto& file : files) replay(file);
        count += files.size();
    }
    return count > 0 ? 0 : 2;
}
