#pragma once
// SPDX-License-Identifier: Apache-2.0
// Version of the node-map interface that these headers publish.
#define GENAPI_VERSION_MAJOR        3
#define GENAPI_VERSION_MINOR        4
#define GENAPI_VERSION_SUBMINOR     0
#define GENAPI_VERSION_BUILD        0
#define GENAPI_VERSION_MAJOR_STR    "3"
#define GENAPI_VERSION_MINOR_STR    "4"
#define GENAPI_VERSION_SUBMINOR_STR "0"
#define GENAPI_VERSION_BUILD_STR    "0"
