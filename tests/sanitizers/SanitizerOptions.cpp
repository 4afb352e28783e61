// The options of the sanitizers, with the suppressions for other libraries. A sanitized build links
// this file into every program, so that the options also apply without CTest.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

// EFL has no frame pointers, so only the slow unwinder returns complete stacks. With incomplete
// stacks, a suppression would apply to a whole library. Twelve frames include every function of
// lsan.supp.
const char* __asan_default_options();
const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0:malloc_context_size=12";
}

const char* __lsan_default_options();
const char* __lsan_default_options() {
    return "suppressions=" QUORVEL_SANITIZER_FOLDER "/lsan.supp:print_suppressions=0";
}

const char* __tsan_default_options();
const char* __tsan_default_options() {
    return "suppressions=" QUORVEL_SANITIZER_FOLDER "/tsan.supp:print_suppressions=0";
}

const char* __ubsan_default_options();
const char* __ubsan_default_options() {
    return "suppressions=" QUORVEL_SANITIZER_FOLDER "/ubsan.supp:print_stacktrace=1";
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
