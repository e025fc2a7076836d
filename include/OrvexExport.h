#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// What the shared library offers is marked with ORVEX_API; everything else in it stays hidden.

#if defined(_WIN32)
#error "This library is built for 64-bit Linux"
#endif

/// Put before each class and free function that applications may use.
#define ORVEX_API __attribute__((visibility("default")))
