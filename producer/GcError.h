#pragma once
// SPDX-License-Identifier: Apache-2.0
// How failures travel: inside the producer as GcError, across the C interface as a code, with the
// text kept per thread for GCGetLastError. Guard is the only place where the two meet. Safe from
// any thread.

#include <exception>
#include <string>

#include "gentl/GenTL.h"

namespace OrvexGev {

class GcError : public std::exception {
 public:
  GcError(GenTL::GC_ERROR code, std::string text) : m_code(code), m_text(std::move(text)) {}
  GenTL::GC_ERROR Code() const noexcept { return m_code; }
  const char* what() const noexcept override { return m_text.c_str(); }

 private:
  GenTL::GC_ERROR m_code;
  std::string m_text;
};

// Throws GcError with the code and the text when the condition does not hold.
inline void Require(bool condition, GenTL::GC_ERROR code, const char* text) {
  if (!condition) throw GcError(code, text);
}

struct LastError {
  GenTL::GC_ERROR code = GenTL::GC_ERR_SUCCESS;
  std::string text = "No Error";
};

// The calling thread's record; empty again after the library was initialised anew.
LastError& ThreadLastError();
void BeginErrorEpoch();

// Translates the exception being handled, stores it as the thread's last error and returns its
// code.
GenTL::GC_ERROR StoreCurrentException() noexcept;

// Runs a body that may throw and returns its code; nothing leaves.
template <typename Body>
GenTL::GC_ERROR Guard(Body&& body) noexcept {
  try {
    body();
    return GenTL::GC_ERR_SUCCESS;
  } catch (...) {
    return StoreCurrentException();
  }
}

}  // namespace OrvexGev
