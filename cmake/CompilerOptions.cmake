# Optimised alike, with debug information or without: the third level makes files larger, not frames faster.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
# What every target of the project is compiled with; link to one of them privately. The former is for
# what must be neither instrumented nor depend on a library.
add_library(tarvinel_bare_options INTERFACE)
target_include_directories(tarvinel_bare_options INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(tarvinel_bare_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wformat=2)
# What users run is what is tested: the packages are made of the tested objects.
target_compile_options(tarvinel_bare_options INTERFACE
  "$<$<CONFIG:RelWithDebInfo,Release>:-fstack-protector-strong;-D_FORTIFY_SOURCE=2>")
target_link_options(tarvinel_bare_options INTERFACE
  "$<$<CONFIG:RelWithDebInfo,Release>:LINKER:-z,relro,-z,now>")
add_library(tarvinel_options INTERFACE)
target_link_libraries(tarvinel_options INTERFACE tarvinel_bare_options)
# No path of this machine in what is built, so that a second clone finds the compiler's cache warm:
# sources are named as seen from the build folder, the build folder as seen from the clone's root. A
# debugger started there finds them.
file(RELATIVE_PATH root_from_build "${CMAKE_BINARY_DIR}" "${CMAKE_SOURCE_DIR}")
string(REGEX REPLACE "/$" "" root_from_build "${root_from_build}")
file(RELATIVE_PATH build_from_root "${CMAKE_SOURCE_DIR}" "${CMAKE_BINARY_DIR}")
target_compile_options(tarvinel_bare_options INTERFACE
  "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=${root_from_build}"
  "-ffile-prefix-map=${CMAKE_BINARY_DIR}=./${build_from_root}")
# Whether Asio 1.22 uses std::aligned_alloc depends on which header a file includes first, so that
# memory allocated in one file is freed in another way in the next; without it all files agree.
target_compile_definitions(tarvinel_options INTERFACE
  ASIO_STANDALONE ASIO_NO_DEPRECATED ASIO_SEPARATE_COMPILATION ASIO_DISABLE_STD_ALIGNED_ALLOC)

# Instrumented code takes long to compile, with optimisation up to twice as long. The debug information of
# a whole program is not worth it either: line tables are enough for the reports.
if(TARVINEL_SANITIZE)
  target_compile_options(tarvinel_options INTERFACE
    -fsanitize=${TARVINEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O0 -g1)
  target_link_options(tarvinel_options INTERFACE -fsanitize=${TARVINEL_SANITIZE})
  # GCC's own analyses see ghosts in instrumented code
  target_compile_options(tarvinel_options INTERFACE
    -Wno-maybe-uninitialized -Wno-tsan)
endif()
