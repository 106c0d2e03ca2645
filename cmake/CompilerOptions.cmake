# Both kinds of release are optimised alike: -O3 makes files larger, not frames faster.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
# Every target of the project links privately to one of these two. tarvinel_bare_options is for
# targets that must neither be instrumented nor depend on a library.
add_library(tarvinel_bare_options INTERFACE)
target_include_directories(tarvinel_bare_options INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(tarvinel_bare_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wformat=2)
# Every release build is hardened, not only that of packages, since they contain the tested objects.
target_compile_options(tarvinel_bare_options INTERFACE
  "$<$<CONFIG:RelWithDebInfo,Release>:-fstack-protector-strong;-D_FORTIFY_SOURCE=2>")
target_link_options(tarvinel_bare_options INTERFACE
  "$<$<CONFIG:RelWithDebInfo,Release>:LINKER:-z,relro,-z,now>")
add_library(tarvinel_options INTERFACE)
target_link_libraries(tarvinel_options INTERFACE tarvinel_bare_options)
# Build results contain no path of this machine, so that a second clone can use the compiler's cache:
# paths of sources are relative to the build folder, that of the build folder to the clone's root. A
# debugger that is started in the root finds them.
file(RELATIVE_PATH root_from_build "${CMAKE_BINARY_DIR}" "${CMAKE_SOURCE_DIR}")
string(REGEX REPLACE "/$" "" root_from_build "${root_from_build}")
file(RELATIVE_PATH build_from_root "${CMAKE_SOURCE_DIR}" "${CMAKE_BINARY_DIR}")
target_compile_options(tarvinel_bare_options INTERFACE
  "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=${root_from_build}"
  "-ffile-prefix-map=${CMAKE_BINARY_DIR}=./${build_from_root}")
# Whether Asio 1.22 uses std::aligned_alloc depends on which header a file includes first, so that
# memory allocated in one file could be freed by another function in the next; this option makes all
# files agree.
target_compile_definitions(tarvinel_options INTERFACE
  ASIO_STANDALONE ASIO_NO_DEPRECATED ASIO_SEPARATE_COMPILATION ASIO_DISABLE_STD_ALIGNED_ALLOC)

# Instrumented code takes long to compile, and up to twice as long with optimisation. Line tables are
# enough debug information for the reports.
if(TARVINEL_SANITIZE)
  target_compile_options(tarvinel_options INTERFACE
    -fsanitize=${TARVINEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O0 -g1)
  target_link_options(tarvinel_options INTERFACE -fsanitize=${TARVINEL_SANITIZE})
  # these warnings of GCC are false positives in instrumented code
  target_compile_options(tarvinel_options INTERFACE
    -Wno-maybe-uninitialized -Wno-tsan)
endif()
