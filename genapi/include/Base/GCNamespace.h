#pragma once
// SPDX-License-Identifier: Apache-2.0
// The versioned namespace of the base library and its everyday alias `GenICam`.
// Define GENICAM_SUPPRESS_NAMESPACE_ALIAS to do without the alias.

#ifdef GENICAM_COMPANY_SUFFIX
#define GENICAM_JOIN_NAMESPACE(suffix)   GenICam_3_4_##suffix
#define GENICAM_EXPAND_NAMESPACE(suffix) GENICAM_JOIN_NAMESPACE(suffix)
#define GENICAM_NAMESPACE                GENICAM_EXPAND_NAMESPACE(GENICAM_COMPANY_SUFFIX)
#else
#define GENICAM_NAMESPACE GenICam_3_4
#endif

namespace GENICAM_NAMESPACE {}

#ifndef GENICAM_SUPPRESS_NAMESPACE_ALIAS
namespace GenICam = GENICAM_NAMESPACE;
#endif
