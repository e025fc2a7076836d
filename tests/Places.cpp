// SPDX-License-Identifier: Apache-2.0
#include "tests/Places.h"

namespace places {

const char* const sk_sourceDir = ORVEX_SOURCE_DIR;
const char* const sk_binaryDir = ORVEX_BINARY_DIR;

}  // namespace places
