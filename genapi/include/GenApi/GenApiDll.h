#pragma once
// SPDX-License-Identifier: Apache-2.0
// Export macros of the node-map library. Everything that is not marked stays inside the library.
#if defined(__GNUC__) || defined(__clang__)
#define GENAPI_DECL __attribute__((visibility("default")))
#else
#define GENAPI_DECL
#endif
// Interfaces have no code of their own, but their type information must be one across library
// borders.
#define GENAPI_DECL_ABSTRACT GENAPI_DECL
