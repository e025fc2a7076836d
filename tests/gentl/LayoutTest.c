/* SPDX-License-Identifier: Apache-2.0 */
/* The headers as a C consumer sees them: sizes, offsets and values that binaries of other makers
   rely on. Compiling this file is the test. */
#include "gentl/GenTLExtensions.h"

_Static_assert(sizeof(EVENT_NEW_BUFFER_DATA) == 16, "");
_Static_assert(sizeof(PORT_REGISTER_STACK_ENTRY) == 24, "");
_Static_assert(sizeof(SINGLE_CHUNK_DATA) == 24, "");
_Static_assert(sizeof(DS_BUFFER_INFO_STACKED) == 28, "");
_Static_assert(offsetof(DS_BUFFER_INFO_STACKED, iResult) == 24, "");
_Static_assert(sizeof(DS_BUFFER_PART_INFO_STACKED) == 32, "");
_Static_assert(offsetof(DS_BUFFER_PART_INFO_STACKED, iResult) == 8, "");
_Static_assert(sizeof(bool8_t) == 1, "");
_Static_assert(sizeof(GC_ERROR) == 4 && sizeof(EVENT_TYPE) == 4, "");
_Static_assert(GC_ERR_AMBIGUOUS == -1023 && GC_ERR_BUFFER_TOO_SMALL == -1016, "");
_Static_assert(BUFFER_INFO_IS_COMPOSITE == 31 && BUFFER_INFO_TIMESTAMP_NS == 28, "");
_Static_assert(STREAM_INFO_IS_GRABBING == 8 && STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR == 15, "");
_Static_assert(PAYLOAD_TYPE_GENDC == 11 && PAYLOAD_TYPE_ORVEX_IMAGE_EXTENDED_CHUNK == 0x4001, "");
_Static_assert(GENTL_INFINITE == UINT64_MAX, "");

/* Function types that a consumer binds by hand. */
static PGCInitLib g_init;
static PDSGetBufferInfo g_info;

int GenTlLayoutIsChecked(void) {
  return g_init == NULL && g_info == NULL;
}
