// SPDX-License-Identifier: Apache-2.0
#include "tools/Stop.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>

namespace OrvexTools {
namespace {

constexpr std::array<int, 4> sk_signals{SIGINT, SIGTERM, SIGHUP, SIGPIPE};

std::atomic<bool> g_stopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");
std::array<int, 2> g_wakePipe{-1, -1};

// Safe in a signal handler.
void WriteToPipe() noexcept {
  const char byte = 0;
  [[maybe_unused]] const ssize_t written = ::write(g_wakePipe[1], &byte, 1);
}

extern "C" void OnStopSignal(int signalNumber) {
  if (g_stopRequested && signalNumber == SIGINT) ::_exit(128 + SIGINT);
  g_stopRequested = true;
  const int error = errno;
  WriteToPipe();
  errno = error;
}

}  // namespace

void InstallStopHandlers() {
  if (g_wakePipe[0] >= 0) return;
  if (::pipe2(g_wakePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
  struct sigaction action = {};
  action.sa_handler = &OnStopSignal;
  // Waits inside the library go on; the loops notice the flag between two waits.
  action.sa_flags = SA_RESTART;
  ::sigemptyset(&action.sa_mask);
  for (const int signalNumber : sk_signals) ::sigaction(signalNumber, &action, nullptr);
}

bool StopRequested() noexcept {
  return g_stopRequested;
}

bool WaitForStop(const std::stop_token& done, std::chrono::milliseconds time) {
  const std::stop_callback wake(done, &WriteToPipe);
  pollfd readable{g_wakePipe[0], POLLIN, 0};
  while (!StopRequested() && !done.stop_requested()) {
    if (::poll(&readable, 1, static_cast<int>(time.count())) == 0) break;
  }
  // What another wait left in the pipe only makes the next one look once more.
  char bytes[16];
  while (!StopRequested() && ::read(g_wakePipe[0], bytes, sizeof bytes) > 0) continue;
  return StopRequested();
}

std::size_t ReadInputUntilStop(std::span<char> bytes) {
  std::array<pollfd, 2> readable{pollfd{STDIN_FILENO, POLLIN, 0}, pollfd{g_wakePipe[0], POLLIN, 0}};
  while (!StopRequested()) {
    if (::isatty(STDIN_FILENO) != 0 && ::tcgetpgrp(STDIN_FILENO) != ::getpgrp()) return 0;
    if (::poll(readable.data(), readable.size(), -1) < 0) continue;
    if (readable[0].revents == 0) continue;
    const ssize_t got = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (got > 0) return static_cast<std::size_t>(got);
    if (got == 0 || errno != EINTR) return 0;
  }
  return 0;
}

}  // namespace OrvexTools
