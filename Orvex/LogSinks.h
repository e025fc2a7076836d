#pragma once
// SPDX-License-Identifier: Apache-2.0
// The places that log records are written to. One set for the process; each has its own queue,
// lock and thread, so that a slow one holds up nobody. Any thread may push.
#include <string>

namespace Orvex {

enum class LogSinkKind { Console, Json, File };

// Queues the record, whether or not the sink's thread runs.
void PushToLogSink(LogSinkKind kind, const std::string& record);

// Starts the sink's thread, which opens its file in the current directory; does nothing when it
// runs.
void StartLogSink(LogSinkKind kind);

// Ends the sink's thread after it has written what is queued.
void StopLogSink(LogSinkKind kind);

}  // namespace Orvex
