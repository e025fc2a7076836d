#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// Where work with the library begins and ends: OpenSystem, then everything through the system that
/// it returns, then CloseSystem.

#include <Base/GCString.h>

#include <cstdint>

#include "OrvexExport.h"

/// Cameras, their streams, frames and features.
namespace Orvex {

class ISystem;

/// Loads and initialises the GenTL producer and opens the one system of this process. The producer
/// is the file named by the environment variable ORVEX_PRODUCER, else the one beside this library,
/// else the first on GENICAM_GENTL64_PATH. Logging begins as the file "tavik_log.conf" of the
/// current directory asks for it; without that file nothing is logged. Not to be called by two
/// threads at once.
/// @return The system. The caller gives it to CloseSystem.
/// @throws GenICam::RuntimeException when no producer can be loaded or a system is already open;
/// otherwise the class that belongs to the producer's status. After a producer that would not open
/// ("Unable to open system") the library counts as open until the process ends.
/// @throws GenICam::BadAllocException when there is no memory.
ORVEX_API ISystem* OpenSystem();

/// Closes the system, its interfaces and the producer. Destroy devices first: their objects are not
/// freed here. Nothing of the library may run meanwhile.
/// @param pSystem The open system. It must not be used again, whether or not this throws.
/// @throws GenICam::InvalidArgumentException for null; otherwise the class that belongs to the
/// producer's status.
ORVEX_API void CloseSystem(ISystem* pSystem);

/// Version of the library. Any thread may ask, at any time.
/// @return Four numbers with dots between.
ORVEX_API GenICam::gcstring GetVersion();

/// How many stream buffers fit into four fifths of this machine's memory. Any thread may ask, at
/// any time.
/// @param payloadSize Bytes of one buffer.
/// @return Number of buffers, at least 1.
/// @throws GenICam::RuntimeException for a size of 0.
/// @throws GenICam::BadAllocException when not even one fits.
ORVEX_API uint64_t CalculateMaximumNumberOfBuffers(uint64_t payloadSize);

}  // namespace Orvex
