// AddressSanitizer options of the test program; without effect in other builds.

/// Impossible sizes return a null pointer, as malloc does, instead of ending the program: tests
/// request them. Freed memory waits in a small quarantine: the default of 256 MB fragments the
/// address space, and a 32-bit program that runs all tests could no longer allocate large blocks.
extern "C" __attribute__((used, visibility("default"))) const char *__asan_default_options() {
  return "allocator_may_return_null=1:quarantine_size_mb=32";
}
