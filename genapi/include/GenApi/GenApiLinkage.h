#pragma once
// SPDX-License-Identifier: Apache-2.0
// Published compilers' link pragmas live here; with ELF linking nothing is needed beyond the export
// macros.
#include <GenApi/GenApiDll.h>
