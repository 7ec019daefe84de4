// Threads by handle.
//
// A handle stays valid until it is joined or closed, once; 0 is no handle. Any thread may call any function
// here.
#pragma once

#include <cstdint>
#include <functional>

namespace platform {

using ThreadHandle = std::uint64_t;

// Starts a thread on `body`. `prepare`, if given, runs on the calling thread with the new handle before the
// body's first step, so that what the body relies on is in place. The handle, or 0 if the system has no
// thread to give; `prepare` is not called then.
ThreadHandle StartThread(std::function<void()> body, const std::function<void(ThreadHandle)>& prepare = {});

// Waits for the thread's end and releases the handle. 0 passes without effect.
void JoinThread(ThreadHandle handle);

// Releases the handle without waiting; a thread may close its own. 0 passes without effect.
void CloseThreadHandle(ThreadHandle handle);

// The system's id of the calling thread: unique among the threads that live.
std::uint32_t CurrentThreadId();

void SleepMilliseconds(int milliseconds);

// A pseudo-random number from 0 to 32767, from a generator that each thread has for itself, seeded once.
int RandomNumber();

}  // namespace platform
