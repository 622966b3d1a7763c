// fuzzer [INPUT...] -ignore_remaining_args=1 TARGET: with clang libFuzzer makes inputs, beginning with those that are
// named; everywhere else they are tried as they are. The words before TARGET are libFuzzer's own.

#include "tests/fuzz/fuzz.h"

#include <fstream>
#include <iterator>
#include <vector>

namespace {

const struct {
    std::string_view name;
    void (*tryInput)(std::string_view bytes);
} TARGETS[] = {{"hostData", tryHostData},     {"inBand", tryInBand}, {"machineFile", tryMachineFile},
               {"parseText", tryParseText},   {"snmp", trySnmp},     {"tree", tryTree},
#ifdef WITH_RAIDTREE // not for every processor
               {"readServer", tryReadServer}, {"serve", tryServe}
#endif
};

void (*tryInput)(std::string_view bytes) = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(const int* argc, char*** argv) {
    for (const auto& target : TARGETS)
        if (target.name == (*argv)[*argc - 1]) tryInput = target.tryInput;
    demand(tryInput != nullptr, "the last argument is a target");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tryInput({reinterpret_cast<const char*>(data), size});
    return 0;
}

#ifndef LIBFUZZER // which has its own
int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    size_t count = 0;
    for (int i = 1; i < argc - 2; ++i) {
        std::vector<std::filesystem::path> files = {argv[i]};
        if (std::filesystem::is_directory(argv[i])) files = {std::filesystem::directory_iterator(argv[i]), {}};
        for (const auto& file : files) {
            fprintf(stderr, "%s\n", file.c_str()); // the last one named is the one that failed
            std::ifstream stream(file, std::ios::binary);
            // Exactly as long as the input, so that a read beyond it shows.
            const std::vector<char> input{std::istreambuf_iterator<char>(stream), {}};
            tryInput({input.data(), input.size()});
            ++count;
        }
    }
    return count > 0 ? 0 : 2;
}
#endif
