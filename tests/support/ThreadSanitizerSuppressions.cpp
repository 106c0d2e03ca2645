/// The reports that the thread sanitizer suppresses, since it does not see into the code: libstdc++
/// counts the references of an error that crosses threads, so that the last release looks like a
/// race with the reader before it; Pango reads fonts on threads of its own.
extern "C" const char*
__tsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): its name
  return "race:std::__exception_ptr::exception_ptr::_M_release\n"
         "race:libcairo.so\n"
         "race:libfontconfig.so\n"
         "race:libglib-2.0.so\n";
}
