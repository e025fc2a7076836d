// SPDX-License-Identifier: Apache-2.0
#include "producer/GcError.h"

#include <atomic>
#include <new>
#include <system_error>

namespace OrvexGev {

namespace {

std::atomic<uint64_t> g_epoch{0};

}  // namespace

LastError& ThreadLastError() {
  thread_local LastError t_lastError;
  thread_local uint64_t t_epoch = 0;
  if (const uint64_t now = g_epoch; t_epoch != now) {
    t_epoch = now;
    t_lastError = {};
  }
  return t_lastError;
}

void BeginErrorEpoch() {
  ++g_epoch;
}

namespace {

// Consumers that tear a lost camera down see the failure only through layers that pass texts on,
// and look for the code in them.
constexpr const char* sk_lostCode = " (Code:-1010)";
static_assert(GenTL::GC_ERR_IO == -1010);

void Store(GenTL::GC_ERROR code, const char* text) noexcept {
  try {
    ThreadLastError() = {code, code == GenTL::GC_ERR_IO ? std::string(text) + sk_lostCode : text};
  } catch (...) {
    // No memory for the text: the code alone is still true.
    ThreadLastError().code = code;
    ThreadLastError().text.clear();
  }
}

}  // namespace

GenTL::GC_ERROR StoreCurrentException() noexcept {
  try {
    throw;
  } catch (const GcError& error) {
    Store(error.Code(), error.what());
    return error.Code();
  } catch (const std::bad_alloc&) {
    Store(GenTL::GC_ERR_OUT_OF_MEMORY, "Out of memory");
    return GenTL::GC_ERR_OUT_OF_MEMORY;
  } catch (const std::system_error& error) {
    Store(GenTL::GC_ERR_IO, error.what());
    return GenTL::GC_ERR_IO;
  } catch (const std::exception& error) {
    Store(GenTL::GC_ERR_ERROR, error.what());
    return GenTL::GC_ERR_ERROR;
  } catch (...) {
    Store(GenTL::GC_ERR_ERROR, "Unknown failure");
    return GenTL::GC_ERR_ERROR;
  }
}

}  // namespace OrvexGev
