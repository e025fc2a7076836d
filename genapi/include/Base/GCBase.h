#pragma once
// SPDX-License-Identifier: Apache-2.0
// Everything of the base library: types, strings, vectors, exceptions, utilities.

#include <Base/GCArray.h>
#include <Base/GCException.h>
#include <Base/GCString.h>
#include <Base/GCStringVector.h>
#include <Base/GCTypes.h>
#include <Base/GCUtilities.h>
