/// The leaks that the leak sanitizer ignores: Fontconfig keeps what it has read about fonts until
/// the process ends, in ways that the sanitizer cannot follow.
extern "C" const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): its name
  return "leak:libfontconfig.so\n";
}
