#pragma once
// SPDX-License-Identifier: Apache-2.0
// Version numbers and the names of the environment variables that carry the version. Preprocessor
// only.

#include <_GenICamVersion.h>

// Names of environment variables: installation root, XML cache, log configuration, CLProtocol
// folder.
#define GENICAM_ROOT "GENICAM_ROOT_V" GENICAM_VERSION_MAJOR_STR "_" GENICAM_VERSION_MINOR_STR
#define GENICAM_CACHE_VERSION \
  "GENICAM_CACHE_V" GENICAM_VERSION_MAJOR_STR "_" GENICAM_VERSION_MINOR_STR
#define GENICAM_LOG_CONFIG_VERSION \
  "GENICAM_LOG_CONFIG_V" GENICAM_VERSION_MAJOR_STR "_" GENICAM_VERSION_MINOR_STR
#define GENICAM_CLPROTOCOL "GENICAM_CLPROTOCOL"
