// What is wrong with the rights of a file or directory of the configuration. The thread of the command.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "control/config_check.h"

namespace velnor {

// The permission bits that make a file unsafe: for one without a secret, for a directory of mail, and for one
// with a password in it.
inline constexpr std::uint32_t WRITABLE_BY_OTHERS = 022;
inline constexpr std::uint32_t OPEN_TO_OTHERS = 027;
inline constexpr std::uint32_t OPEN_TO_ANYBODY_ELSE = 077;

// Adds a fault if something is there and can't be read, or if it has one of the permission bits. Nothing for
// what is not there. Whether it could be read.
bool CheckFile(const std::string& path, std::uint32_t unsafe_bits, std::vector<ConfigFault>& faults);

// The same for a directory.
bool CheckDirectory(const std::string& path, std::uint32_t unsafe_bits, std::vector<ConfigFault>& faults);

// Adds a fault for each file of a directory, if that can be listed, that can't be read.
void CheckFilesOf(const std::string& directory, std::vector<ConfigFault>& faults);

}  // namespace velnor
