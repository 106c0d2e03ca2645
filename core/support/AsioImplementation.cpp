// Compiles Asio's own code once, instead of in every file that uses it.
#include <asio/impl/src.hpp>
