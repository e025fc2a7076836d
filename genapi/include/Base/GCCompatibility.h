#pragma once
// SPDX-License-Identifier: Apache-2.0
// Names that differ between compilers, for code that was written with several in mind.

#include <cstdio>
#include <cstring>

#include <Base/GCTypes.h>

#ifndef INTMAX_MAX
#define INTMAX_MAX GC_INT64_MAX
#endif
