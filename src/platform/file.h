// Files and directories, one operation each. No state; any thread.
//
// Operations that change the disk give 0, or the system's error number.
#pragma once

#include <string>
#include <string_view>

namespace platform {

inline constexpr char SEPARATOR = '/';

// What stands at a path, links followed. UNKNOWN is a fault of the disk or the process (no descriptor, an
// input/output error, no permission): the path may be there or not.
enum class PathKind { MISSING, FILE, DIRECTORY, OTHER, UNKNOWN };
PathKind ProbePath(const std::string& path);

// Whether a symbolic link stands at the path itself.
bool IsLink(const std::string& path);

// Makes an empty file that only its owner can read; fails if the path exists.
int CreateEmptyFile(const std::string& path);

int CreateDirectory(const std::string& path);
int RemoveDirectory(const std::string& path);
int DeleteFile(const std::string& path);

// Moves a file or a directory within its file system. Fails with EEXIST if the target exists.
int MoveFile(const std::string& from, const std::string& to);

// Puts a directory's entries onto the disk, so that a rename in it outlives a loss of power.
int SyncDirectory(const std::string& path);

// The working directory, and the full path of the running program. Empty if the system does not tell.
std::string CurrentDirectory();
std::string ProgramPath();

// Prepares the process for work with files: what it makes is its own user's alone, and a file that may grow
// no further is an error of the write, never a signal. Once, before any file is made.
void StartFiles();

}  // namespace platform
