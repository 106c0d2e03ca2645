# Run by embed_text at build time: writes OUT.h and OUT.cpp with the bytes of IN as SYMBOL.
file(READ "${IN}" hex HEX)
string(REGEX REPLACE "(..)" "\\\\x\\1" bytes "${hex}")
# each line is a literal of up to eight bytes; an escape never continues into the next literal
string(REGEX REPLACE "((\\\\x..)(\\\\x..)?(\\\\x..)?(\\\\x..)?(\\\\x..)?(\\\\x..)?(\\\\x..)?(\\\\x..)?)"
       "    \"\\1\"\n" literals "${bytes}")
file(SIZE "${IN}" size)
file(WRITE "${OUT}.h" "#pragma once\n#include <string_view>\n
namespace tarvinel::embedded {\nextern const std::string_view ${SYMBOL};\n}\n")
file(WRITE "${OUT}.cpp" "#include \"embedded/${SYMBOL}.h\"\n
namespace tarvinel::embedded {\nconst std::string_view ${SYMBOL}{\n${literals}    , ${size}};\n}\n")
