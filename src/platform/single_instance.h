// The guard that lets one instance of the program run: an object with a system-wide name that goes with the
// process.
#pragma once

#include <string_view>

namespace platform {

class SingleInstance {
 public:
  SingleInstance() = default;
  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  // Takes the name. False if a live process holds it, or if the system has no such object to give.
  bool Acquire(std::string_view name);

 private:
  int descriptor_ = -1;
};

}  // namespace platform
