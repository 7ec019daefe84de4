// CriticalSection: the one kind of lock in the program, known to clang's thread-safety analysis.
//
// A section is held for a few statements and never across input or output; two are never held at once.
#pragma once

#include <mutex>

#if defined(__clang__)
#define VELNOR_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VELNOR_THREAD_ANNOTATION(x)
#endif

#define GUARDED_BY(section) VELNOR_THREAD_ANNOTATION(guarded_by(section))
#define REQUIRES(section) VELNOR_THREAD_ANNOTATION(requires_capability(section))

namespace platform {

class VELNOR_THREAD_ANNOTATION(capability("mutex")) CriticalSection {
 public:
  void Enter() VELNOR_THREAD_ANNOTATION(acquire_capability()) { mutex_.lock(); }
  void Leave() VELNOR_THREAD_ANNOTATION(release_capability()) { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

// Holds a section from its construction to the end of its scope.
class VELNOR_THREAD_ANNOTATION(scoped_lockable) SectionGuard {
 public:
  explicit SectionGuard(CriticalSection& section) VELNOR_THREAD_ANNOTATION(acquire_capability(section))
      : section_(section) {
    section_.Enter();
  }
  ~SectionGuard() VELNOR_THREAD_ANNOTATION(release_capability()) { section_.Leave(); }
  SectionGuard(const SectionGuard&) = delete;
  SectionGuard& operator=(const SectionGuard&) = delete;

 private:
  CriticalSection& section_;
};

}  // namespace platform
