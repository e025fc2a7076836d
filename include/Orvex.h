#pragma once
// SPDX-License-Identifier: Apache-2.0
// The whole library in one include. Applications need no other header of it.

#include <GenApi/GenApi.h>

#include "DeviceInfo.h"
#include "FeatureStream.h"
#include "GenApiCustom.h"
#include "IDevice.h"
#include "IDisconnectCallback.h"
#include "IImageCallback.h"
#include "ISystem.h"
#include "InterfaceInfo.h"
#include "OrvexEntry.h"
#include "OrvexExport.h"
