// SPDX-License-Identifier: Apache-2.0
#include <sys/sysinfo.h>

#include <memory>
#include <new>
#include <stdexcept>

#include "Orvex/Check.h"
#include "Orvex/System.h"
#include "Orvex/TLSystem.h"
#include "OrvexEntry.h"
#include "gentl/Producer.h"

namespace Orvex {
namespace {

const GenTL::ProducerApi& LoadedProducer() {
  try {
    return GenTL::LoadProducer();
  } catch (const std::runtime_error& error) {
    THROW_PLAIN_FN(RuntimeException, error.what(), "OpenSystem");
  }
}

}  // namespace

ISystem* OpenSystem() {
  const GenTL::ProducerApi& producer = LoadedProducer();
  const GenTL::GC_ERROR status = producer.GCInitLib();
  if (status == GenTL::GC_ERR_RESOURCE_IN_USE) {
    ThrowGenTLAsRuntime("GenTL::GC_ERR_RESOURCE_IN_USE",
                        "Library already initialized (must initialize only once)", "GCInitLib",
                        ORVEX_SITE);
  }
  CHECK_GENTL(status, "Unable to initialize library", "GCInitLib");

  std::unique_ptr<TLSystem> pTLSystem;
  try {
    pTLSystem = std::make_unique<TLSystem>();
  } catch (const std::bad_alloc&) {
    producer.GCCloseLib();
    THROW_PLAIN(BadAllocException, "Library failed to allocate resources");
  }
  if (const GenTL::GC_ERROR openStatus = pTLSystem->Open(); openStatus != 0) {
    // Kept on purpose: the producer stays initialised here, so that callers who try again are told
    // that the library is.
    pTLSystem.reset();
    CHECK_GENTL(openStatus, "Unable to open system", "TLOpen");
  }
  try {
    return new System(pTLSystem.release());
  } catch (...) {
    producer.GCCloseLib();
    throw;
  }
}

void CloseSystem(ISystem* pSystem) {
  auto* pConcrete = dynamic_cast<System*>(pSystem);
  CHECK_ARG(pConcrete != nullptr, InvalidArgumentException, "System is null");
  delete pConcrete;
  CHECK_GENTL(GenTL::Producer().GCCloseLib(), "Unable to close library", "GCCloseLib");
}

GenICam::gcstring GetVersion() {
  return "0.1.95.0";
}

uint64_t CalculateMaximumNumberOfBuffers(uint64_t payloadSize) {
  if (payloadSize == 0) {
    // Kept on purpose: callers match this text, which says packet and means payload.
    THROW_DIRECT(RuntimeException,
                 "Cannot calculate maximum number of buffers with a packet size of 0");
  }
  struct sysinfo memory {};
  ::sysinfo(&memory);
  const uint64_t count = uint64_t{memory.totalram} * 4 / 5 / payloadSize;
  if (count == 0) {
    THROW_DIRECT(BadAllocException,
                 "Insufficient memory found while calculating maximum number of buffers (maximum "
                 "number of buffers is 0)");
  }
  return count;
}

}  // namespace Orvex
