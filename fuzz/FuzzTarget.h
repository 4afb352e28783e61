#ifndef QUORVEL_FUZZ_FUZZ_TARGET_H_
#define QUORVEL_FUZZ_FUZZ_TARGET_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// Runs one input. The fuzzer calls it with what it made up, the replay with the files of a folder.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Ends the process, which is what the fuzzer takes for a finding.
inline void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

#endif  // QUORVEL_FUZZ_FUZZ_TARGET_H_
