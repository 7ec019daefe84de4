// Standard output and standard error of a program without a window.
#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

// Puts something harmless in the place of standard input, output or error if the process was started without
// it, so that no file and no connection is opened there. Before anything else is opened.
void HoldStandardDescriptors();

// What became of a write to standard output: all written; nothing written because the reader took nothing
// within the time; or the reader is gone for good.
enum class OutputResult { WRITTEN, STALLED, CLOSED };

// The most bytes of one write, so that it never waits once the output has room.
inline constexpr std::size_t OUTPUT_LIMIT = 4096;

// Writes at most OUTPUT_LIMIT bytes to standard output, waiting at most so long for room.
OutputResult WriteStandardOutput(std::string_view text, int milliseconds);

// Writes a text to standard error, without regard to success.
void WriteStandardError(std::string_view text);

}  // namespace platform
