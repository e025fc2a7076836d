// SPDX-License-Identifier: Apache-2.0
// A datagram on a port for log records, which anyone on the machine may send.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "TavikLog/LogRecord.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto record = TavikLog::ParseRecord({reinterpret_cast<const char*>(data), size});
  if (record && TavikLog::RecordText(*record).empty()) __builtin_trap();
  return 0;
}
