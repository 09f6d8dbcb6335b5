// How the sanitizers behave in the tests, and what they report inside foreign libraries that may be passed over, each
// with its reason.

#pragma GCC visibility push(default)
extern "C" {

const char* __asan_default_options();       // NOLINT(bugprone-reserved-identifier): the names are the runtime's
const char* __tsan_default_options();       // NOLINT(bugprone-reserved-identifier)
const char* __ubsan_default_options();      // NOLINT(bugprone-reserved-identifier)
const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
const char* __tsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)

const char* __asan_default_options() {
    return "detect_stack_use_after_return=1";
}
const char* __tsan_default_options() {
    return "halt_on_error=1:second_deadlock_stack=1";
}
const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}

// argz_add_sep: glibc's setlocale never frees its copy of LOCPATH, 50 bytes once a process.
// libfontconfig: its caches of fonts, asked for by Cairo, live until the process ends.
const char* __lsan_default_suppressions() {
    return "leak:argz_add_sep\nleak:libfontconfig\n";
}
// libcpp-httplib: Debian's is built without the sanitizer, which so does not see that its local statics are made before
// another thread reads them. What it calls of ours is watched.
// libfontconfig: Pango looks fonts up in a thread of its own; fontconfig's locks are not seen either.
const char* __tsan_default_suppressions() {
    return "called_from_lib:libcpp-httplib\nrace:libfontconfig\n";
}
}
#pragma GCC visibility pop
