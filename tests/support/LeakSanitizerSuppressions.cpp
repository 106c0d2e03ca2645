/// What the leak sanitizer is to overlook: Fontconfig keeps what it has read about fonts until the
/// process ends, in ways that the sanitizer cannot follow.
extern "C" const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): its name
  return "leak:libfontconfig.so\n";
}
