#pragma once
// SPDX-License-Identifier: Apache-2.0
// The version of the published GenICam C++ interface that these headers offer. Preprocessor only.

#define GENICAM_VERSION_MAJOR    3
#define GENICAM_VERSION_MINOR    4
#define GENICAM_VERSION_SUBMINOR 0
#define GENICAM_VERSION_BUILD    0
#define GENICAM_COMPILER         GCC

#define GENICAM_VERSION_MAJOR_STR    "3"
#define GENICAM_VERSION_MINOR_STR    "4"
#define GENICAM_VERSION_SUBMINOR_STR "0"
#define GENICAM_VERSION_BUILD_STR    "0"
#define GENICAM_COMPILER_STR         "GCC"
