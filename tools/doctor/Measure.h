#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the doctor measures with an opened camera: the packet sizes that arrive, and a short test
// stream with counters read before and after. The camera is left as it was. Used by one thread.

#include <vector>

#include "tools/Session.h"
#include "tools/doctor/Checks.h"

namespace OrvexTools {

// Has the camera send test packets of growing sizes up to the link's MTU. Empty for a camera whose
// registers cannot be reached.
std::vector<ProbedSize> ProbePath(Camera& camera, const HostLink& link);

// Streams for that long. What goes wrong is told in the result, not thrown.
TestStream RunTestStream(Camera& camera, const Host& host, const std::string& link, double seconds);

}  // namespace OrvexTools
