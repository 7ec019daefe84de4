// The writing of a whole block to a descriptor, for the file layer alone. No state; any thread.
#pragma once

#include <string_view>

namespace platform {

// Writes all bytes, however many calls that takes. False if one failed; how much of them was written is then
// open.
bool WriteAll(int descriptor, std::string_view bytes);

}  // namespace platform
