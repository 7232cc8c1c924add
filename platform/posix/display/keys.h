// Keys of Windows by the X server's names for them.
#pragma once

namespace platform {

// The symbol of a virtual-key code; 0 for one without.
unsigned long symbol_of_key(unsigned char virtual_key);

}  // namespace platform
