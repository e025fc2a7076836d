// SPDX-License-Identifier: Apache-2.0
#pragma once

// Where the tree and its build lie, for tests that read files or start programs. Compiled into one
// unit alone, so that checkouts in different folders share compiled tests.
namespace places {

extern const char* const sk_sourceDir;
extern const char* const sk_binaryDir;

}  // namespace places
