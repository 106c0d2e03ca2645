# What every target of the project is compiled with; link to it privately.
add_library(tarvinel_options INTERFACE)
target_include_directories(tarvinel_options INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(tarvinel_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wformat=2 -Werror)
# Whether Asio 1.22 uses std::aligned_alloc depends on which header a file includes first, so that
# memory allocated in one file is freed in another way in the next; without it all files agree.
target_compile_definitions(tarvinel_options INTERFACE
  ASIO_STANDALONE ASIO_NO_DEPRECATED ASIO_SEPARATE_COMPILATION ASIO_DISABLE_STD_ALIGNED_ALLOC)

# The debug information of a whole program is not worth the link time in sanitizer builds: line
# tables are enough for their reports.
if(TARVINEL_SANITIZE)
  target_compile_options(tarvinel_options INTERFACE
    -fsanitize=${TARVINEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
  target_link_options(tarvinel_options INTERFACE -fsanitize=${TARVINEL_SANITIZE})
  # GCC's own analyses see ghosts in instrumented code
  target_compile_options(tarvinel_options INTERFACE
    -Wno-maybe-uninitialized -Wno-tsan)
endif()
