// The options of the sanitizers, with the suppressions for other libraries. Linked into every
// program of a build with sanitizers, so that the options apply without ctest, too.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

// The slow unwinder is needed because EFL has no frame pointers. With incomplete stacks, only whole
// libraries could be suppressed. Twelve frames reach every function that lsan.supp names.
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
