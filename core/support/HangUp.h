#pragma once

namespace tarvinel {

/// Whether the program is to end when its terminal does: not under nohup, which has it ignore the
/// signal of that, SIGHUP.
bool endsWithItsTerminal();

}  // namespace tarvinel
