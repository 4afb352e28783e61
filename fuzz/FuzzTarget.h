#ifndef QUORVEL_FUZZ_FUZZ_TARGET_H_
#define QUORVEL_FUZZ_FUZZ_TARGET_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// Runs one input. libFuzzer passes generated inputs; Replay.cpp passes stored files. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Aborts the process if the condition does not hold. libFuzzer reports an abort as a finding.
inline void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

#endif  // QUORVEL_FUZZ_FUZZ_TARGET_H_
