#pragma once
// SPDX-License-Identifier: Apache-2.0
// Where work with the library begins and ends: OpenSystem, then everything through the system that
// it returns, then CloseSystem.

#include <Base/GCString.h>

#include <cstdint>

#include "OrvexExport.h"

namespace Orvex {

class ISystem;

// Loads and initialises the GenTL producer and returns the one system of this process, to be given
// to CloseSystem. The producer is the file named by the environment variable ORVEX_PRODUCER, else
// the one beside this library, else the first on GENICAM_GENTL64_PATH. Throws RuntimeException when
// no producer can be loaded or a system is already open; otherwise what the producer's failure maps
// to. Not to be called by two threads at once.
ORVEX_API ISystem* OpenSystem();

// Closes the system and everything that was opened through it. Destroy devices first: their objects
// are not freed here. Throws InvalidArgumentException for null. The system must not be used again,
// whether or not this throws.
ORVEX_API void CloseSystem(ISystem* pSystem);

// Version of the library, four numbers with dots between.
ORVEX_API GenICam::gcstring GetVersion();

// How many stream buffers of `payloadSize` bytes fit into four fifths of this machine's memory.
// Throws RuntimeException for a size of 0, BadAllocException when not even one fits.
ORVEX_API uint64_t CalculateMaximumNumberOfBuffers(uint64_t payloadSize);

}  // namespace Orvex
