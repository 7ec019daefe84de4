#include "platform/standard_output.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

void HoldStandardDescriptors() {
  int descriptor = 0;
  do {
    descriptor = ::open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0) ::close(descriptor);
}

OutputResult WriteStandardOutput(std::string_view text, int milliseconds) {
  while (!text.empty()) {
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    const int ready = ::poll(&output, 1, milliseconds);
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) return OutputResult::STALLED;
    const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == EAGAIN) return OutputResult::STALLED;
    if (count <= 0) return OutputResult::CLOSED;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return OutputResult::WRITTEN;
}

void WriteStandardError(std::string_view text) {
  // There is nobody to tell of a failure here.
  [[maybe_unused]] const ssize_t count = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace platform
