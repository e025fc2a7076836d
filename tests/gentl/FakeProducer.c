/* SPDX-License-Identifier: Apache-2.0 */
/* Shared objects that the loader's tests load: each exports a choice of functions, all of which
   answer their own code. FAKE_WITHOUT_REQUIRED leaves one function of GenTL 1.0 out, FAKE_OLD
   everything newer than 1.1. */
#define X(name)                                           \
  __attribute__((visibility("default"))) int name(void) { \
    return 4711;                                          \
  }
#include "gentl/Functions.h"

#ifdef FAKE_WITHOUT_REQUIRED
#define TLClose   HiddenTLClose
#define EventKill HiddenEventKill
#endif

ORVEX_GENTL_REQUIRED_FUNCTIONS(X)

#ifndef FAKE_OLD
ORVEX_GENTL_NEWER_FUNCTIONS(X)
ORVEX_GENTL_EXTENSION_FUNCTIONS(X)
#endif
