// SPDX-License-Identifier: Apache-2.0
#include "Orvex/Port.h"

#include <memory>

#include "Orvex/Check.h"
#include "gentl/Producer.h"

namespace Orvex {
namespace {

// The producer's last text, however long it is. Ports put it into their own message, so that it
// stands there twice.
std::string LastErrorText() {
  size_t size = 250;
  auto text = std::make_unique<char[]>(size + 1);  // one more than told, so that it always ends
  GenTL::GC_ERROR lastStatus = 0;
  GenTL::GC_ERROR status = GenTL::Producer().GCGetLastError(&lastStatus, text.get(), &size);
  if (status == GenTL::GC_ERR_BUFFER_TOO_SMALL) {
    text = std::make_unique<char[]>(size + 1);
    status = GenTL::Producer().GCGetLastError(&lastStatus, text.get(), &size);
  }
  return status == 0 ? text.get() : "Couldn't get last error from GenTL!";
}

}  // namespace

void Port::Read(void* pBuffer, int64_t address, int64_t length) {
  size_t size = static_cast<size_t>(length);
  CHECK_GENTL(m_pPort->ReadPort(static_cast<uint64_t>(address), pBuffer, &size),
              "Unable to read port: " + LastErrorText(), "GCReadPort");
}

void Port::Write(const void* pBuffer, int64_t address, int64_t length) {
  size_t size = static_cast<size_t>(length);
  CHECK_GENTL(m_pPort->WritePort(static_cast<uint64_t>(address), pBuffer, &size),
              "Unable to write port: " + LastErrorText(), "GCWritePort");
}

}  // namespace Orvex
