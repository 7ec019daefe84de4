// ResourceLimit: a lower limit on one of the process's resources for the length of a scope.
#pragma once

#include <sys/resource.h>

namespace velnor::test {

class ResourceLimit {
 public:
  // `resource` is one of the system's RLIMIT numbers.
  ResourceLimit(__rlimit_resource resource, rlim_t most) : resource_(resource) {
    ::getrlimit(resource_, &usual_);
    rlimit lower = usual_;
    lower.rlim_cur = most;
    ::setrlimit(resource_, &lower);
  }
  ~ResourceLimit() { ::setrlimit(resource_, &usual_); }
  ResourceLimit(const ResourceLimit&) = delete;
  ResourceLimit& operator=(const ResourceLimit&) = delete;

 private:
  const __rlimit_resource resource_;
  rlimit usual_{};
};

}  // namespace velnor::test
