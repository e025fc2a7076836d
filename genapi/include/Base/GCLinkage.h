#pragma once
// SPDX-License-Identifier: Apache-2.0
// Linkers of this platform are told their libraries by the build system; this header exists for
// includes written elsewhere.
