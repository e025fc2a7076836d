#pragma once
// SPDX-License-Identifier: Apache-2.0
// Finds, loads and binds the GenTL producer of this process. A producer is loaded once and stays
// loaded until the process ends: its threads and the handles that it gave out outlive any owner
// that we could name. All functions may be called from any thread.

#include "gentl/Functions.h"
#include "gentl/GenTL.h"
#include "gentl/GenTLExtensions.h"

namespace GenTL {

// One pointer per function, never null once loaded. Functions newer than GenTL 1.1 and extensions
// that a producer does not export answer GC_ERR_NOT_IMPLEMENTED.
struct ProducerApi {
#define ORVEX_MEMBER(name) P##name name = nullptr;
  ORVEX_GENTL_ALL_FUNCTIONS(ORVEX_MEMBER)
#undef ORVEX_MEMBER
};

// Loads on the first call: the file that the environment variable ORVEX_PRODUCER names, else
// orvex-gev.cti beside the library or program that contains this code, else the first .cti of
// GENICAM_GENTL64_PATH (entries separated by ':', each a folder or a file). Throws
// std::runtime_error, naming the file and the missing functions, when nothing fits; a later call
// then tries again.
const ProducerApi& LoadProducer();

// The producer that LoadProducer loaded. Throws std::logic_error when there is none.
const ProducerApi& Producer();

// Path of the file that LoadProducer loaded, "" before.
const char* ProducerPath();

}  // namespace GenTL
