#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// The whole library in one include. Applications need no other header of it.

#include <GenApi/GenApi.h>

#include "DeviceInfo.h"
#include "FeatureStream.h"
#include "GenApiCustom.h"
#include "IBuffer.h"
#include "IChunkData.h"
#include "ICompressedImage.h"
#include "IDevice.h"
#include "IDisconnectCallback.h"
#include "IImage.h"
#include "IImageCallback.h"
#include "ISystem.h"
#include "ImageFactory.h"
#include "InterfaceInfo.h"
#include "OrvexEntry.h"
#include "OrvexExport.h"
#include "PFNC.h"
#include "PixelFormat.h"
#include "Socket.h"
