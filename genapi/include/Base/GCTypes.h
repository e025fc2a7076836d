#pragma once
// SPDX-License-Identifier: Apache-2.0
// Basic types and limits of the GenICam C++ interface, and the macro that exports the base
// library's symbols.

#include <cstddef>
#include <cstdint>
#include <limits>

#include <Base/GCNamespace.h>

#define GCBASE_API   __attribute__((visibility("default")))
#define GC_UNUSED(x) (void)(x)

#define GC_INT8_MAX   INT8_MAX
#define GC_INT8_MIN   INT8_MIN
#define GC_UINT8_MAX  UINT8_MAX
#define GC_INT32_MAX  INT32_MAX
#define GC_INT32_MIN  INT32_MIN
#define GC_UINT32_MAX UINT32_MAX
#define GC_INT64_MAX  INT64_MAX
#define GC_INT64_MIN  INT64_MIN
#define GC_UINT64_MAX UINT64_MAX

#ifndef GENICAM_INTERFACE
#define GENICAM_INTERFACE struct
#endif

namespace GENICAM_NAMESPACE {

using float32_t = float;
using float64_t = double;

// Version triple of a description, a schema or the library.
struct Version_t {
  uint16_t Major;
  uint16_t Minor;
  uint16_t SubMinor;
};

}  // namespace GENICAM_NAMESPACE
