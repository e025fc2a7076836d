#pragma once
// SPDX-License-Identifier: Apache-2.0
// Locks of the node map, by the names under which GenApi applications know them.

#include <Base/GCSynch.h>
#include <GenApi/GenApiNamespace.h>

namespace GENAPI_NAMESPACE {

using GENICAM_NAMESPACE::AutoLock;
using GENICAM_NAMESPACE::CLock;
using GENICAM_NAMESPACE::CLockEx;
using GENICAM_NAMESPACE::LockableObject;

}  // namespace GENAPI_NAMESPACE
