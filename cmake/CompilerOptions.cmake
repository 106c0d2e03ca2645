# What every target of the project is compiled with; link to it privately.
add_library(tarvinel_options INTERFACE)
target_include_directories(tarvinel_options INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(tarvinel_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wnull-dereference -Wformat=2 -Werror)
# Asio finds out whether there is aligned allocation from what happens to be included before it; files
# that disagree free each other's memory the wrong way. So it is told.
target_compile_definitions(tarvinel_options INTERFACE ASIO_STANDALONE ASIO_NO_DEPRECATED
  ASIO_SEPARATE_COMPILATION ASIO_HAS_STD_ALIGNED_ALLOC=1)

# The debug information of a whole program is not worth the link time in sanitizer builds: line
# tables are enough for their reports.
if(TARVINEL_SANITIZE)
  target_compile_options(tarvinel_options INTERFACE
    -fsanitize=${TARVINEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
  target_link_options(tarvinel_options INTERFACE -fsanitize=${TARVINEL_SANITIZE})
  # GCC's own analyses see ghosts in instrumented code
  target_compile_options(tarvinel_options INTERFACE
    -Wno-null-dereference -Wno-maybe-uninitialized -Wno-tsan)
endif()
