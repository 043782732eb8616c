// What the test program tells AddressSanitizer. It does nothing in other builds.

/// Sizes that no machine has are refused with a null pointer, as malloc does, instead of ending the
/// program: tests ask for them. And freed memory waits in a small quarantine: the usual 256 MB, in
/// pieces, leave a 32-bit program that runs all tests without room for large ones.
extern "C" __attribute__((used, visibility("default"))) const char *__asan_default_options() {
  return "allocator_may_return_null=1:quarantine_size_mb=32";
}
