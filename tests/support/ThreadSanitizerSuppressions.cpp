/// What the thread sanitizer is to overlook. An error that crosses threads is counted by libstdc++
/// in code the sanitizer does not see into, so that it takes the last release for a race with the
/// reader before it.
extern "C" const char*
__tsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): its name
  return "race:std::__exception_ptr::exception_ptr::_M_release\n";
}
