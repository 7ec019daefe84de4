// What a tool for the administrator needs of files beside what the server needs: whose a file is, who may
// read it, and giving what it has made to the server's account. No state; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/file.h"

namespace platform {

struct FileRights {
  std::uint32_t Owner = 0;  // the user's number
  std::uint32_t Mode = 0;   // the permission bits
};

// Those of what stands at a path, links followed; none if it can't be looked at.
std::optional<FileRights> RightsOf(const std::string& path);

// 0, or the system's error number for what keeps this account from reading a file, or from listing a
// directory; EISDIR or ENOTDIR if one stands in the place of the other.
int CheckReadable(const std::string& path, PathKind kind);

// Whether this account may put a new content in the place of a file, or behind it where that is a link. The
// file need not exist.
bool CanReplace(const std::string& path);

// Whether both paths lead to the same file or directory.
bool IsSamePlace(const std::string& a, const std::string& b);

// Gives what this process has just made to the owner and the group of the directory in which it lies, so that
// the server's account can use what the system's administrator made. Nothing happens for any other account,
// and to what is not this process's own.
void GiveToParentsOwner(const std::string& path);

// Lets those read a file who may read the directory in which it lies.
void ShareAsParent(const std::string& path);

// Enters a directory. 0, or the system's error number.
int EnterDirectory(const std::string& path);

// The system's words for an error number.
std::string ErrorText(int error);

}  // namespace platform
