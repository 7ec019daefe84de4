// Running another program, without a shell. It is looked up in $PATH unless its name holds a slash, starts
// with no signal held back, and inherits no descriptor but the standard ones. No state; any thread.
#pragma once

#include <string>
#include <vector>

namespace platform {

struct ProgramResult {
  int Status = -1;     // the exit status; -1: could not be run, died of a signal, or was killed for its time
  std::string Output;  // the first 64 KiB of its standard output
};

// What becomes of a program's standard error.
enum class ErrorOutput { SHOWN, DROPPED };

// Runs a program with an empty standard input and waits for its end. `words` are its name and its arguments.
// One that takes longer than the milliseconds is killed.
ProgramResult RunProgram(const std::vector<std::string>& words, int milliseconds, ErrorOutput errors);

// Starts a program out of sight, with no standard streams, and returns at once. False if it can't be started.
bool StartProgram(const std::vector<std::string>& words);

}  // namespace platform
