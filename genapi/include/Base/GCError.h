#pragma once
// SPDX-License-Identifier: Apache-2.0
// Error numbers of older C interfaces of GenICam. The C++ interface reports by exception
// (Base/GCException.h).

#include <Base/GCTypes.h>

namespace GENICAM_NAMESPACE {

using GC_ERROR = int32_t;

enum GCErrorID {
  GC_ERR_SUCCESS = 0,
  GC_ERR_INVALID_BUFFER_SIZE = -1,
  GC_ERR_INVALID_HANDLE = -2,
  GC_ERR_INVALID_ID = -3,
  GC_ERR_ACCESS_DENIED = -4,
  GC_ERR_NO_DATA = -5,
  GC_ERR_ERROR = -6,
  GC_ERR_INVALID_PARAMETER = -7,
  GC_ERR_TIMEOUT = -8,
  GC_ERR_INVALID_FILENAME = -9,
  GC_ERR_INVALID_ADDRESS = -10,
  GC_ERR_FILE_IO = -11
};

// Which module an error number came from; or-ed into the number.
enum GCModuleID {
  GC_MOD_SYSTEM = 0x0,
  GC_MOD_GENAPI = 0x04000000,
  GC_MOD_FACTORY = 0x08000000,
  GC_MOD_TLISYSTEM = 0x10000000,
  GC_MOD_TLICLIENT = 0x20000000
};

}  // namespace GENICAM_NAMESPACE
