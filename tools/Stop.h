#pragma once
// SPDX-License-Identifier: Apache-2.0
// The wish to stop: Ctrl-C, a termination request, a closed terminal or a closed pipe set one flag
// that every loop of a command looks at, so that the camera is released before the program ends. A
// second Ctrl-C ends it at once.

#include <chrono>
#include <cstddef>
#include <span>
#include <stop_token>

namespace OrvexTools {

// Installs the handlers for the life of the process. Call once, before threads are started.
void InstallStopHandlers();

// True once a stop was asked for. Any thread.
bool StopRequested() noexcept;

// Waits until a stop was asked for and returns true; returns false when `done` or the end of `time`
// (negative: without limit) comes first. Does not wait when it is already so. One thread at a time.
bool WaitForStop(const std::stop_token& done = {},
                 std::chrono::milliseconds time = std::chrono::milliseconds(-1));

// Waits for what standard input has next and returns its size; 0 once it has ended, a stop was
// asked for, or it is a terminal that another job reads from (reading it would suspend this
// process).
std::size_t ReadInputUntilStop(std::span<char> bytes);

}  // namespace OrvexTools
