#pragma once
/* SPDX-License-Identifier: Apache-2.0 */
/* A consumer that speaks C only and knows nothing but the standard header. Each function walks
   through one part of the contract and returns NULL, or a text that says what was wrong; the text
   lives until the next call. */

#ifdef __cplusplus
extern "C" {
#endif

/* The file is loaded; every function of the standard must be in it. */
const char* ContractLoad(const char* producerFile);
/* After a part that failed half way. */
void ContractReset(void);
const char* ContractInitAndErrors(void);
const char* ContractInfoQueries(void);
const char* ContractHandles(void);
const char* ContractModulePorts(void);
/* These need a camera on the loopback interface with this address; the registers are those of the
 * camera's features. */
const char* ContractDevice(const char* address);
const char* ContractBuffers(const char* address);
const char* ContractStream(const char* address, unsigned payloadSize, unsigned startRegister,
                           unsigned stopRegister);

#ifdef __cplusplus
}
#endif
