#include "platform/thread.h"

#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <random>
#include <semaphore>
#include <thread>
#include <utility>

namespace platform {
namespace {

struct Start {
  std::function<void()> body;
  std::binary_semaphore ready{0};
};

void* RunThread(void* argument) {
  const std::unique_ptr<Start> start(static_cast<Start*>(argument));
  start->ready.acquire();
  start->body();
  return nullptr;
}

}  // namespace

ThreadHandle StartThread(std::function<void()> body, const std::function<void(ThreadHandle)>& prepare) {
  auto start = std::make_unique<Start>();
  start->body = std::move(body);
  pthread_t thread{};
  if (::pthread_create(&thread, nullptr, RunThread, start.get()) != 0) return 0;
  Start* const owned_by_thread = start.release();
  const auto handle = static_cast<ThreadHandle>(thread);
  if (prepare) prepare(handle);
  owned_by_thread->ready.release();
  return handle;
}

void JoinThread(ThreadHandle handle) {
  if (handle != 0) ::pthread_join(static_cast<pthread_t>(handle), nullptr);
}

void CloseThreadHandle(ThreadHandle handle) {
  if (handle != 0) ::pthread_detach(static_cast<pthread_t>(handle));
}

std::uint32_t CurrentThreadId() {
  return static_cast<std::uint32_t>(::gettid());
}

void SleepMilliseconds(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

int RandomNumber() {
  thread_local std::minstd_rand generator(std::random_device{}());
  return static_cast<int>(generator() >> 8 & 0x7fff);
}

}  // namespace platform
