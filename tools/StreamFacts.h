#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a producer tells about a running stream: losses by their place, the engine, packet and
// buffer sizes. Used by one thread.

#include <GenApi/GenApi.h>

#include "tools/Report.h"

namespace OrvexTools {

// Puts into `record` what the stream module's features tell, as far as the producer has them; keys
// as in the table in StreamFacts.cpp. Null is a module without features.
void ReadStreamFacts(GenApi::INodeMap* pNodes, Record& record);

// A whole number of such a record, 0 when it is not there.
std::int64_t FactOf(const Record& record, const char* pKey);

}  // namespace OrvexTools
