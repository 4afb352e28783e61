// Where the sanitizers find what they are to overlook in libraries that are not ours. Linked into
// every program of a build with sanitizers, so that it holds by hand as well as under ctest.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

// Complete stacks: the toolkit has no frame pointers, and a stack that ends in it would leave only
// the choice to overlook whole libraries. Twelve frames reach every function that is named.
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
