// Asio's own code, compiled once here instead of in every file that uses it.
#include <asio/impl/src.hpp>
