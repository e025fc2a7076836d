#pragma once
// SPDX-License-Identifier: Apache-2.0
// The namespace of the node-map interface. The real name carries the version of the interface, so
// that two implementations may live in one process; programs write GenApi.
#define GENAPI_NAMESPACE_MAJOR 3
#define GENAPI_NAMESPACE_MINOR 4
#ifdef GENICAM_COMPANY_SUFFIX
#define GENAPI_JOIN_NAMESPACE(suffix)   GenApi_3_4_##suffix
#define GENAPI_EXPAND_NAMESPACE(suffix) GENAPI_JOIN_NAMESPACE(suffix)
#define GENAPI_NAMESPACE                GENAPI_EXPAND_NAMESPACE(GENICAM_COMPANY_SUFFIX)
#else
#define GENAPI_NAMESPACE GenApi_3_4
#endif

namespace GENAPI_NAMESPACE {}
#ifndef GENICAM_SUPPRESS_NAMESPACE_ALIAS
namespace GenApi = GENAPI_NAMESPACE;
#endif
