#pragma once
// SPDX-License-Identifier: Apache-2.0
// Everything most applications need of the GenICam C++ interface.

#include <Base/GCBase.h>
#include <GenApi/GenApi.h>
