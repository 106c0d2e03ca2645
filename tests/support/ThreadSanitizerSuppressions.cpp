/// What the thread sanitizer is to overlook, since it happens in code that it does not see into: an
/// error that crosses threads is counted by libstdc++, so that the last release looks like a race
/// with the reader before it; Pango reads fonts on threads of its own.
extern "C" const char*
__tsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): its name
  return "race:std::__exception_ptr::exception_ptr::_M_release\n"
         "race:libcairo.so\n"
         "race:libfontconfig.so\n"
         "race:libglib-2.0.so\n";
}
