#pragma once
// SPDX-License-Identifier: Apache-2.0
// Names that differ between compilers, by the header name under which GenApi applications include
// them.

#include <Base/GCCompatibility.h>
#include <GenApi/GenApiNamespace.h>
