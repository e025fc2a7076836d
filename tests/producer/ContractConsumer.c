/* SPDX-License-Identifier: Apache-2.0 */
#include "ContractConsumer.h"

#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include "gentl/Functions.h"
#include "gentl/GenTL.h"

static char g_failure[512];

#define DECLARE(name) static P##name name##_;
ORVEX_GENTL_REQUIRED_FUNCTIONS(DECLARE)
ORVEX_GENTL_NEWER_FUNCTIONS(DECLARE)

#define EXPECT(condition)                                                         \
  do {                                                                            \
    if (!(condition)) {                                                           \
      snprintf(g_failure, sizeof g_failure, "line %d: %s", __LINE__, #condition); \
      return g_failure;                                                           \
    }                                                                             \
  } while (0)
#define EXPECT_CODE(call, code)                                                                    \
  do {                                                                                             \
    const GC_ERROR result_ = (call);                                                               \
    if (result_ != (code)) {                                                                       \
      snprintf(g_failure, sizeof g_failure, "line %d: %s answers %d, not " #code, __LINE__, #call, \
               (int)result_);                                                                      \
      return g_failure;                                                                            \
    }                                                                                              \
  } while (0)
#define EXPECT_OK(call) EXPECT_CODE(call, GC_ERR_SUCCESS)
#define EXPECT_PART(call)                  \
  do {                                     \
    const char* failure_ = (call);         \
    if (failure_ != NULL) return failure_; \
  } while (0)

const char* ContractLoad(const char* producerFile) {
  void* library = dlopen(producerFile, RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    snprintf(g_failure, sizeof g_failure, "%s", dlerror());
    return g_failure;
  }
#define BIND(name)                           \
  *(void**)&name##_ = dlsym(library, #name); \
  EXPECT(name##_ != NULL);
  ORVEX_GENTL_REQUIRED_FUNCTIONS(BIND)
  ORVEX_GENTL_NEWER_FUNCTIONS(BIND)
  return NULL;
}

void ContractReset(void) {
  GCCloseLib_();
}

const char* ContractInitAndErrors(void) {
  TL_HANDLE system = NULL;
  GC_ERROR code = 1;
  char text[256];
  size_t size = sizeof text;
  EXPECT_CODE(TLOpen_(&system), GC_ERR_NOT_INITIALIZED);
  EXPECT_CODE(GCGetLastError_(&code, text, &size), GC_ERR_NOT_INITIALIZED);
  EXPECT_CODE(GCCloseLib_(), GC_ERR_NOT_INITIALIZED);
  for (int round = 0; round < 3; ++round) {
    EXPECT_OK(GCInitLib_());
    size = sizeof text;
    EXPECT_OK(GCGetLastError_(&code, text, &size));
    EXPECT(code == GC_ERR_SUCCESS && strcmp(text, "No Error") == 0 && size == 9);
    EXPECT_CODE(GCInitLib_(), GC_ERR_RESOURCE_IN_USE);
    size = 3;
    EXPECT_CODE(GCGetLastError_(&code, text, &size), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_OK(GCGetLastError_(&code, NULL, &size));
    EXPECT(code == GC_ERR_RESOURCE_IN_USE && size > 1 && size <= sizeof text);
    EXPECT_OK(GCGetLastError_(&code, text, &size));
    EXPECT(strlen(text) + 1 == size);
    EXPECT_CODE(GCGetLastError_(NULL, text, &size), GC_ERR_INVALID_PARAMETER);
    EXPECT_OK(TLOpen_(&system));
    EXPECT_CODE(TLOpen_(&system), GC_ERR_RESOURCE_IN_USE);
    if (round != 1) EXPECT_OK(TLClose_(system)); /* the library closes what was left open */
    EXPECT_OK(GCCloseLib_());
    EXPECT_CODE(TLClose_(system), GC_ERR_NOT_INITIALIZED);
  }
  return NULL;
}

const char* ContractInfoQueries(void) {
  EXPECT_OK(GCInitLib_());
  TL_HANDLE system;
  EXPECT_OK(TLOpen_(&system));
  for (TL_INFO_CMD command = TL_INFO_ID; command <= TL_INFO_GENTL_VER_MINOR; ++command) {
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN, again = INFO_DATATYPE_UNKNOWN;
    char first[1024], second[1024];
    size_t needed = (size_t)-7; /* left uninitialised by consumers */
    EXPECT_OK(GCGetInfo_(command, &type, NULL, &needed));
    EXPECT(needed > 0 && needed <= sizeof first && type != INFO_DATATYPE_UNKNOWN);
    if (type == INFO_DATATYPE_STRING) EXPECT(needed > 1);
    size_t size = needed - 1;
    first[0] = 'x';
    EXPECT_CODE(GCGetInfo_(command, &type, first, &size), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT(first[0] == 'x');
    size = sizeof first;
    EXPECT_OK(GCGetInfo_(command, &type, first, &size));
    EXPECT(size == needed);
    size = sizeof second;
    EXPECT_OK(TLGetInfo_(system, command, &again, second, &size));
    EXPECT(again == type && size == needed && memcmp(first, second, needed) == 0);
    EXPECT_CODE(GCGetInfo_(command, NULL, first, &size), GC_ERR_INVALID_PARAMETER);
    EXPECT_CODE(GCGetInfo_(command, &type, first, NULL), GC_ERR_INVALID_PARAMETER);
  }
  INFO_DATATYPE type;
  char text[256];
  size_t size = sizeof text;
  EXPECT_CODE(TLGetInfo_(system, 900, &type, text, &size), GC_ERR_NOT_IMPLEMENTED);
  /* Interfaces are known before the first update. */
  uint32_t count = 0;
  EXPECT_OK(TLGetNumInterfaces_(system, &count));
  EXPECT(count > 0);
  for (uint32_t i = 0; i < count; ++i) {
    char id[20];
    size = sizeof id;
    EXPECT_OK(TLGetInterfaceID_(system, i, id, &size));
    size = sizeof text;
    EXPECT_OK(TLGetInterfaceInfo_(system, id, INTERFACE_INFO_TLTYPE, &type, text, &size));
    EXPECT(strcmp(text, "GEV") == 0 && size == 4);
    uint64_t ip = 0;
    size = sizeof ip;
    EXPECT_OK(TLGetInterfaceInfo_(system, id, 1002, &type, &ip, &size));
    EXPECT(ip != 0 && ip >> 32 == 0);
  }
  size = sizeof text;
  EXPECT_CODE(TLGetInterfaceID_(system, count, text, &size), GC_ERR_INVALID_INDEX);
  EXPECT_CODE(TLGetInterfaceInfo_(system, "none", 0, &type, text, &size), GC_ERR_INVALID_ID);
  bool8_t changed = 1;
  EXPECT_OK(TLUpdateInterfaceList_(system, &changed, GENTL_INFINITE));
  EXPECT(changed == 0);
  EXPECT_OK(TLUpdateInterfaceList_(system, NULL, 0));
  EXPECT_OK(GCCloseLib_());
  return NULL;
}

const char* ContractHandles(void) {
  EXPECT_OK(GCInitLib_());
  TL_HANDLE system;
  IF_HANDLE interface, second;
  EXPECT_OK(TLOpen_(&system));
  EXPECT_OK(TLOpenInterface_(system, "lo", &interface));
  EXPECT_CODE(TLOpenInterface_(system, "lo", &second), GC_ERR_RESOURCE_IN_USE);
  EXPECT_CODE(TLOpenInterface_(system, "none", &second), GC_ERR_INVALID_ID);
  EXPECT_CODE(TLOpenInterface_(system, NULL, &second), GC_ERR_INVALID_PARAMETER);
  EXPECT_CODE(TLOpenInterface_(system, "lo", NULL), GC_ERR_INVALID_PARAMETER);
  TL_HANDLE parent;
  EXPECT_OK(IFGetParentTL_(interface, &parent));
  EXPECT(parent == system);
  /* None of these may be looked into. */
  int local = 0;
  void* const wrong[] = {NULL, (void*)-1, (void*)8, &local, system};
  uint32_t count;
  for (size_t i = 0; i < sizeof wrong / sizeof wrong[0]; ++i) {
    EXPECT_CODE(IFGetNumDevices_(wrong[i], &count), GC_ERR_INVALID_HANDLE);
    EXPECT_CODE(DevClose_(wrong[i]), GC_ERR_INVALID_HANDLE);
    EXPECT_CODE(DSStopAcquisition_(wrong[i], 0), GC_ERR_INVALID_HANDLE);
    EXPECT_CODE(EventKill_(wrong[i]), GC_ERR_INVALID_HANDLE);
  }
  EXPECT_CODE(TLGetNumInterfaces_(interface, &count), GC_ERR_INVALID_HANDLE);
  /* A parent that is closed takes its children along; reopening works. */
  EXPECT_OK(TLClose_(system));
  EXPECT_CODE(IFGetNumDevices_(interface, &count), GC_ERR_INVALID_HANDLE);
  EXPECT_CODE(TLClose_(system), GC_ERR_INVALID_HANDLE);
  EXPECT_OK(TLOpen_(&system));
  EXPECT_OK(TLOpenInterface_(system, "lo", &interface));
  EXPECT_OK(IFClose_(interface));
  EXPECT_CODE(IFClose_(interface), GC_ERR_INVALID_HANDLE);
  EXPECT_OK(TLOpenInterface_(system, "lo", &interface));
  /* Events: one per type, known types only. */
  EVENT_HANDLE event, another;
  EXPECT_CODE(GCRegisterEvent_(interface, EVENT_NEW_BUFFER, &event), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_OK(GCRegisterEvent_(interface, EVENT_ERROR, &event));
  EXPECT_CODE(GCRegisterEvent_(interface, EVENT_ERROR, &another), GC_ERR_RESOURCE_IN_USE);
  char data[64];
  size_t size = sizeof data;
  EXPECT_CODE(EventGetData_(event, data, &size, 0), GC_ERR_TIMEOUT);
  EXPECT_OK(EventKill_(event));
  EXPECT_CODE(EventGetData_(event, data, &size, 0), GC_ERR_ABORT);
  EXPECT_CODE(EventGetData_(event, data, &size, 1), GC_ERR_TIMEOUT);
  EXPECT_CODE(GCUnregisterEvent_(interface, EVENT_MODULE), GC_ERR_NOT_INITIALIZED);
  EXPECT_OK(GCUnregisterEvent_(interface, EVENT_ERROR));
  EXPECT_CODE(EventKill_(event), GC_ERR_INVALID_HANDLE);
  EXPECT_OK(GCCloseLib_());
  return NULL;
}

static const char* CheckPort(PORT_HANDLE port, const char* module, const char* portName,
                             const char* xmlName) {
  INFO_DATATYPE type;
  char text[600];
  size_t size = sizeof text;
  EXPECT_OK(GCGetPortInfo_(port, PORT_INFO_MODULE, &type, text, &size));
  EXPECT(strcmp(text, module) == 0);
  size = sizeof text;
  EXPECT_OK(GCGetPortInfo_(port, PORT_INFO_PORTNAME, &type, text, &size));
  EXPECT(strcmp(text, portName) == 0);
  bool8_t little = 0;
  size = sizeof little;
  EXPECT_OK(GCGetPortInfo_(port, PORT_INFO_LITTLE_ENDIAN, &type, &little, &size));
  EXPECT(little == 1 && type == INFO_DATATYPE_BOOL8);

  uint32_t urls = 0;
  EXPECT_OK(GCGetNumPortURLs_(port, &urls));
  EXPECT(urls == 1);
  size = sizeof text;
  EXPECT_OK(GCGetPortURL_(port, text, &size));
  EXPECT(size == strlen(text) + 2 && text[size - 2] == 0 && text[size - 1] == 0);
  EXPECT(strncmp(text, "local:", 6) == 0 && strstr(text, xmlName) != NULL && strlen(text) < 256);
  EXPECT(strstr(text, "?SchemaVersion=1.1.0") != NULL);
  unsigned long long address = 0, length = 0;
  EXPECT(sscanf(strchr(text, ';'), ";%llx;%llx", &address, &length) == 2);
  uint64_t value = 0;
  size = sizeof value;
  EXPECT_OK(GCGetPortURLInfo_(port, 0, URL_INFO_FILE_SIZE, &type, &value, &size));
  EXPECT(value == length);
  EXPECT_CODE(GCGetPortURLInfo_(port, 1, URL_INFO_URL, &type, text, &size), GC_ERR_INVALID_INDEX);

  static char xml[1 << 17];
  EXPECT(length < sizeof xml);
  size = length;
  EXPECT_OK(GCReadPort_(port, address, xml, &size));
  xml[length] = 0;
  EXPECT(strncmp(xml, "<?xml", 5) == 0 &&
         strstr(xml, "</RegisterDescription>\n") == xml + length - 23);
  size = length + 1;
  EXPECT_CODE(GCReadPort_(port, address, xml, &size), GC_ERR_INVALID_ADDRESS);

  /* Stacked: in order, and the number that succeeded. */
  char start[5], again[3];
  PORT_REGISTER_STACK_ENTRY entries[3] = {
      {address, start, 5}, {address + 2, again, 3}, {7, text, 4}};
  size_t done = 2;
  EXPECT_OK(GCReadPortStacked_(port, entries, &done));
  EXPECT(done == 2 && memcmp(start, "<?xml", 5) == 0 && memcmp(again, "xml", 3) == 0);
  done = 3;
  EXPECT_CODE(GCReadPortStacked_(port, entries, &done), GC_ERR_INVALID_ADDRESS);
  EXPECT(done == 2);
  size = 4;
  EXPECT_CODE(GCWritePort_(port, address, "abcd", &size), GC_ERR_ACCESS_DENIED);
  EXPECT_CODE(GCReadPort_(port, address, NULL, &size), GC_ERR_INVALID_PARAMETER);
  EXPECT_CODE(GCReadPort_(port, address, xml, NULL), GC_ERR_INVALID_PARAMETER);
  return NULL;
}

const char* ContractModulePorts(void) {
  EXPECT_OK(GCInitLib_());
  TL_HANDLE system;
  IF_HANDLE interface;
  EXPECT_OK(TLOpen_(&system));
  EXPECT_OK(TLOpenInterface_(system, "lo", &interface));
  EXPECT_PART(CheckPort(system, "TLSystem", "TLPort", "GenTLSystem"));
  EXPECT_PART(CheckPort(interface, "TLInterface", "InterfacePort", "GenTLInterface"));
  EXPECT_OK(GCCloseLib_());
  return NULL;
}

/* Opens by the address, on fresh handles and without any list. */
static const char* OpenAt(const char* address, TL_HANDLE* system, DEV_HANDLE* device) {
  IF_HANDLE interface;
  EXPECT_OK(GCInitLib_());
  EXPECT_OK(TLOpen_(system));
  EXPECT_OK(TLOpenInterface_(*system, "lo", &interface));
  EXPECT_OK(IFOpenDevice_(interface, address, DEVICE_ACCESS_CONTROL, device));
  return NULL;
}

const char* ContractDevice(const char* address) {
  EXPECT_OK(GCInitLib_());
  TL_HANDLE system;
  IF_HANDLE interface, parent;
  DEV_HANDLE device, second;
  EXPECT_OK(TLOpen_(&system));
  EXPECT_OK(TLOpenInterface_(system, "lo", &interface));
  bool8_t changed = 0;
  EXPECT_OK(IFUpdateDeviceList_(interface, &changed, 1000));
  EXPECT(changed == 1);
  uint32_t count = 0;
  EXPECT_OK(IFGetNumDevices_(interface, &count));
  EXPECT(count == 1);
  char id[50];
  size_t size = sizeof id;
  EXPECT_OK(IFGetDeviceID_(interface, 0, id, &size));
  EXPECT_CODE(IFGetDeviceID_(interface, 1, id, &size), GC_ERR_INVALID_INDEX);
  EXPECT_OK(IFUpdateDeviceList_(interface, &changed, 1000));
  EXPECT(changed == 0);

  INFO_DATATYPE type;
  int32_t status = 0;
  size = sizeof status;
  EXPECT_OK(IFGetDeviceInfo_(interface, id, DEVICE_INFO_ACCESS_STATUS, &type, &status, &size));
  EXPECT(status == DEVICE_ACCESS_STATUS_READWRITE);
  static const struct {
    DEVICE_INFO_CMD command;
    INFO_DATATYPE type;
    size_t size; /* 0: a string */
  } rows[] = {{DEVICE_INFO_ID, INFO_DATATYPE_STRING, 0},
              {DEVICE_INFO_VENDOR, INFO_DATATYPE_STRING, 0},
              {DEVICE_INFO_MODEL, INFO_DATATYPE_STRING, 0},
              {DEVICE_INFO_TLTYPE, INFO_DATATYPE_STRING, 0},
              {DEVICE_INFO_DISPLAYNAME, INFO_DATATYPE_STRING, 0},
              {DEVICE_INFO_USER_DEFINED_NAME, INFO_DATATYPE_STRING, 0},
              {DEVICE_INFO_SERIAL_NUMBER, INFO_DATATYPE_STRING, 0},
              {DEVICE_INFO_VERSION, INFO_DATATYPE_STRING, 0},
              {1002, INFO_DATATYPE_UINT32, 4},
              {1003, INFO_DATATYPE_UINT32, 4},
              {1004, INFO_DATATYPE_UINT64, 8},
              {1005, INFO_DATATYPE_UINT32, 4},
              {1006, INFO_DATATYPE_BOOL8, 1},
              {1007, INFO_DATATYPE_BOOL8, 1},
              {1008, INFO_DATATYPE_BOOL8, 1},
              {1009, INFO_DATATYPE_BOOL8, 1}};
  for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    char value[256];
    size = sizeof value;
    EXPECT_OK(IFGetDeviceInfo_(interface, id, rows[i].command, &type, value, &size));
    EXPECT(type == rows[i].type);
    EXPECT(rows[i].size == 0 ? size == strlen(value) + 1 : size == rows[i].size);
  }
  EXPECT_CODE(IFGetDeviceInfo_(interface, "none", DEVICE_INFO_ID, &type, id, &size),
              GC_ERR_INVALID_ID);

  EXPECT_CODE(IFOpenDevice_(interface, id, DEVICE_ACCESS_UNKNOWN, &device),
              GC_ERR_INVALID_PARAMETER);
  EXPECT_CODE(IFOpenDevice_(interface, id, 77, &device), GC_ERR_INVALID_PARAMETER);
  EXPECT_OK(IFOpenDevice_(interface, id, DEVICE_ACCESS_EXCLUSIVE, &device));
  EXPECT_CODE(IFOpenDevice_(interface, address, DEVICE_ACCESS_CONTROL, &second),
              GC_ERR_RESOURCE_IN_USE);
  EXPECT_OK(DevGetParentIF_(device, &parent));
  EXPECT(parent == interface);
  size = sizeof status;
  EXPECT_OK(DevGetInfo_(device, DEVICE_INFO_ACCESS_STATUS, &type, &status, &size));
  EXPECT(status == DEVICE_ACCESS_STATUS_OPEN_READWRITE);
  uint64_t frequency = 0;
  size = sizeof frequency;
  EXPECT_OK(DevGetInfo_(device, DEVICE_INFO_TIMESTAMP_FREQUENCY, &type, &frequency, &size));
  EXPECT(frequency > 0);
  EXPECT_PART(CheckPort(device, "TLDevice", "DevicePort", "GenTLDevice"));

  /* The camera's own port: any alignment and length, and the description that starts as a zip file
   * does. */
  PORT_HANDLE remote;
  EXPECT_OK(DevGetPort_(device, &remote));
  EXPECT_CODE(DevClose_(remote), GC_ERR_INVALID_HANDLE);
  EVENT_HANDLE event;
  EXPECT_CODE(GCRegisterEvent_(remote, EVENT_ERROR, &event), GC_ERR_INVALID_HANDLE);
  bool8_t big = 0;
  size = sizeof big;
  EXPECT_OK(GCGetPortInfo_(remote, PORT_INFO_BIG_ENDIAN, &type, &big, &size));
  EXPECT(big == 1);
  unsigned char whole[0xF8], part[64];
  size = sizeof whole;
  EXPECT_OK(GCReadPort_(remote, 0, whole, &size));
  for (size_t offset = 0x48; offset < 0x60; ++offset) {
    for (size_t length = 1; length < 12; ++length) {
      size = length;
      memset(part, 0xA5, sizeof part);
      EXPECT_OK(GCReadPort_(remote, offset, part, &size));
      EXPECT(memcmp(part, whole + offset, length) == 0 && part[length] == 0xA5);
    }
  }
  uint64_t address64 = 0, length64 = 0;
  size = 8;
  EXPECT_OK(GCGetPortURLInfo_(remote, 0, URL_INFO_FILE_REGISTER_ADDRESS, &type, &address64, &size));
  size = 8;
  EXPECT_OK(GCGetPortURLInfo_(remote, 0, URL_INFO_FILE_SIZE, &type, &length64, &size));
  static unsigned char file[1 << 20];
  EXPECT(length64 < sizeof file);
  size = length64; /* in one call */
  EXPECT_OK(GCReadPort_(remote, address64, file, &size));
  EXPECT(file[0] == 'P' && file[1] == 'K');
  size = 4;
  EXPECT_CODE(GCReadPort_(remote, 0xFFFFFFFFFull, part, &size), GC_ERR_INVALID_ADDRESS);
  EXPECT_CODE(GCWritePort_(remote, 0x48, "abcd", &size), GC_ERR_ACCESS_DENIED);
  /* User-defined name: bytes in the middle of a word keep their neighbours. */
  size = 16;
  EXPECT_OK(GCWritePort_(remote, 0xE8, "0123456789abcdef", &size));
  size = 5;
  EXPECT_OK(GCWritePort_(remote, 0xE8 + 3, "VWXYZ", &size));
  size = 16;
  EXPECT_OK(GCReadPort_(remote, 0xE8, part, &size));
  EXPECT(memcmp(part, "012VWXYZ89abcdef", 16) == 0);

  EXPECT_OK(DevClose_(device));
  EXPECT_CODE(GCReadPort_(remote, 0, whole, &size), GC_ERR_INVALID_HANDLE);
  EXPECT_OK(IFOpenDevice_(interface, id, DEVICE_ACCESS_CONTROL, &device));
  EXPECT_OK(GCCloseLib_());
  return NULL;
}

const char* ContractBuffers(const char* address) {
  TL_HANDLE system;
  DEV_HANDLE device, parent;
  EXPECT_PART(OpenAt(address, &system, &device));
  uint32_t streams = 0;
  EXPECT_OK(DevGetNumDataStreams_(device, &streams));
  EXPECT(streams >= 1);
  char id[64];
  size_t size = sizeof id;
  EXPECT_OK(DevGetDataStreamID_(device, 0, id, &size));
  EXPECT_CODE(DevGetDataStreamID_(device, streams, id, &size), GC_ERR_INVALID_INDEX);
  DS_HANDLE stream, second;
  EXPECT_CODE(DevOpenDataStream_(device, "none", &stream), GC_ERR_INVALID_ID);
  size = sizeof id;
  EXPECT_OK(DevGetDataStreamID_(device, 0, id, &size));
  EXPECT_OK(DevOpenDataStream_(device, id, &stream));
  EXPECT_CODE(DevOpenDataStream_(device, id, &second), GC_ERR_RESOURCE_IN_USE);
  EXPECT_OK(DSGetParentDev_(stream, &parent));
  EXPECT(parent == device);
  EXPECT_PART(CheckPort(stream, "TLDataStream", "StreamPort", "GenTLDataStream"));

  EXPECT_CODE(DSStartAcquisition_(stream, 0, 0), GC_ERR_INVALID_PARAMETER);
  EXPECT_CODE(DSStartAcquisition_(stream, 5, 1), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_CODE(DSStartAcquisition_(stream, 0, 1), GC_ERR_INVALID_BUFFER);
  EXPECT_CODE(DSStopAcquisition_(stream, 0), GC_ERR_RESOURCE_IN_USE);

  static char memory[3][4096];
  BUFFER_HANDLE buffers[3], other;
  for (int i = 0; i < 3; ++i)
    EXPECT_OK(DSAnnounceBuffer_(stream, memory[i], sizeof memory[i], &memory[i], &buffers[i]));
  EXPECT_CODE(DSAnnounceBuffer_(stream, memory[1], 100, NULL, &other), GC_ERR_RESOURCE_IN_USE);
  EXPECT_CODE(DSAnnounceBuffer_(stream, NULL, 100, NULL, &other), GC_ERR_INVALID_PARAMETER);
  INFO_DATATYPE type;
  void* pointer = NULL;
  size = sizeof pointer;
  EXPECT_OK(DSGetBufferInfo_(stream, buffers[1], BUFFER_INFO_BASE, &type, &pointer, &size));
  EXPECT(pointer == memory[1] && type == INFO_DATATYPE_PTR);
  EXPECT_OK(DSGetBufferInfo_(stream, buffers[1], BUFFER_INFO_USER_PTR, &type, &pointer, &size));
  EXPECT(pointer == &memory[1]);
  bool8_t flag = 1;
  size = 1;
  EXPECT_OK(DSGetBufferInfo_(stream, buffers[1], BUFFER_INFO_IS_QUEUED, &type, &flag, &size));
  EXPECT(flag == 0);
  uint32_t parts;
  EXPECT_CODE(DSGetNumBufferParts_(stream, buffers[1], &parts), GC_ERR_NO_DATA);
  SINGLE_CHUNK_DATA chunk;
  size = 1;
  EXPECT_CODE(DSGetBufferChunkData_(stream, buffers[1], &chunk, &size), GC_ERR_NO_DATA);
  EXPECT_CODE(GCGetPortInfo_(buffers[1], PORT_INFO_ID, &type, id, &size), GC_ERR_NOT_IMPLEMENTED);

  /* Queues. An event that is registered late finds what is already in the output queue. */
  EXPECT_OK(DSQueueBuffer_(stream, buffers[0]));
  EXPECT_CODE(DSQueueBuffer_(stream, buffers[0]), GC_ERR_RESOURCE_IN_USE);
  EXPECT_CODE(DSRevokeBuffer_(stream, buffers[0], NULL, NULL), GC_ERR_BUSY);
  EXPECT_OK(DSQueueBuffer_(stream, buffers[2]));
  EXPECT_CODE(DSFlushQueue_(stream, 77), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_OK(DSFlushQueue_(stream, ACQ_QUEUE_INPUT_TO_OUTPUT));
  EVENT_HANDLE event;
  EXPECT_OK(GCRegisterEvent_(stream, EVENT_NEW_BUFFER, &event));
  size_t count = 0;
  size = sizeof count;
  EXPECT_OK(EventGetInfo_(event, EVENT_NUM_IN_QUEUE, &type, &count, &size));
  EXPECT(count == 2);
  EXPECT_OK(EventGetInfo_(event, EVENT_SIZE_MAX, &type, &count, &size));
  EXPECT(count == 16);
  EVENT_NEW_BUFFER_DATA data;
  size = 8;
  EXPECT_CODE(EventGetData_(event, &data, &size, 0), GC_ERR_BUFFER_TOO_SMALL);
  size = sizeof data;
  EXPECT_OK(EventGetData_(event, &data, &size, GENTL_INFINITE));
  EXPECT(size == 16 && data.BufferHandle == buffers[0] && data.pUserPointer == &memory[0]);
  size = sizeof pointer;
  EXPECT_OK(EventGetDataInfo_(event, &data, 16, EVENT_DATA_ID, &type, &pointer, &size));
  EXPECT(pointer == buffers[0]);
  size = 1;
  EXPECT_OK(DSGetBufferInfo_(stream, buffers[0], BUFFER_INFO_NEW_DATA, &type, &flag, &size));
  EXPECT(flag == 0);
  EXPECT_OK(EventGetData_(event, NULL, &size, 0)); /* thrown away */
  EXPECT_OK(DSQueueBuffer_(stream, buffers[2]));
  EXPECT_OK(DSFlushQueue_(stream, ACQ_QUEUE_UNQUEUED_TO_INPUT));
  size = sizeof count;
  EXPECT_OK(DSGetInfo_(stream, STREAM_INFO_NUM_QUEUED, &type, &count, &size));
  EXPECT(count == 3);
  EXPECT_OK(DSFlushQueue_(stream, ACQ_QUEUE_ALL_DISCARD));

  /* Several commands in one call; what fails stays with its entry. */
  EXPECT_CODE(DSQueueBuffer_(stream, stream), GC_ERR_INVALID_HANDLE);
  DS_BUFFER_INFO_STACKED infos[3];
  memset(infos, 0, sizeof infos);
  size_t bytes = 0;
  infos[0].iInfoCmd = BUFFER_INFO_SIZE;
  infos[0].pBuffer = &bytes;
  infos[0].iSize = sizeof bytes;
  infos[1].iInfoCmd = 999;
  infos[1].pBuffer = &bytes;
  infos[2].iInfoCmd = BUFFER_INFO_TLTYPE;
  EXPECT_OK(DSGetBufferInfoStacked_(stream, buffers[0], infos, 3));
  EXPECT(infos[0].iResult == GC_ERR_SUCCESS && bytes == 4096 &&
         infos[0].iType == INFO_DATATYPE_SIZET);
  EXPECT(infos[1].iResult == GC_ERR_NOT_IMPLEMENTED);
  EXPECT(infos[2].iResult == GC_ERR_SUCCESS && infos[2].iSize == 4);
  GC_ERROR last;
  EXPECT_OK(GCGetLastError_(&last, NULL, &size));
  EXPECT(last == GC_ERR_INVALID_HANDLE);

  /* Revoked by index 0 until none is left. */
  void *base = NULL, *user = NULL;
  for (int i = 0; i < 3; ++i) {
    EXPECT_OK(DSGetBufferID_(stream, 0, &other));
    EXPECT(other == buffers[i]);
    EXPECT_OK(DSRevokeBuffer_(stream, other, &base, &user));
    EXPECT(base == memory[i] && user == &memory[i]);
    EXPECT_CODE(DSQueueBuffer_(stream, other), GC_ERR_INVALID_HANDLE);
  }
  EXPECT_CODE(DSGetBufferID_(stream, 0, &other), GC_ERR_INVALID_INDEX);
  EXPECT_OK(DSAllocAndAnnounceBuffer_(stream, 100, NULL, &other));
  EXPECT_CODE(DSAnnounceBuffer_(stream, memory[0], 100, NULL, &buffers[0]), GC_ERR_INVALID_BUFFER);
  EXPECT_OK(DSRevokeBuffer_(stream, other, &base, &user));
  EXPECT(base == NULL);
  EXPECT_OK(DSClose_(stream));
  EXPECT_CODE(EventFlush_(event), GC_ERR_INVALID_HANDLE);
  EXPECT_OK(GCCloseLib_());
  return NULL;
}

static GC_ERROR g_waitResult;

static void* WaitForever(void* event) {
  char data[16];
  size_t size = sizeof data;
  g_waitResult = EventGetData_(event, data, &size, GENTL_INFINITE);
  return NULL;
}

static GC_ERROR WriteWord(PORT_HANDLE port, unsigned address, unsigned char value) {
  const unsigned char word[4] = {0, 0, 0, value};
  size_t size = sizeof word;
  return GCWritePort_(port, address, word, &size);
}

const char* ContractStream(const char* address, unsigned payloadSize, unsigned startRegister,
                           unsigned stopRegister) {
  TL_HANDLE system;
  DEV_HANDLE device;
  PORT_HANDLE remote;
  DS_HANDLE stream;
  EXPECT_PART(OpenAt(address, &system, &device));
  EXPECT_OK(DevGetPort_(device, &remote));
  char id[64];
  size_t size = sizeof id;
  EXPECT_OK(DevGetDataStreamID_(device, 0, id, &size));
  EXPECT_OK(DevOpenDataStream_(device, id, &stream));
  BUFFER_HANDLE buffer;
  for (int i = 0; i < 4; ++i) {
    EXPECT_OK(DSAllocAndAnnounceBuffer_(stream, payloadSize, NULL, &buffer));
    void* base = NULL;
    INFO_DATATYPE baseType;
    size = sizeof base;
    EXPECT_OK(DSGetBufferInfo_(stream, buffer, BUFFER_INFO_BASE, &baseType, &base, &size));
    EXPECT(base != NULL);
    EXPECT_OK(DSQueueBuffer_(stream, buffer));
  }
  EXPECT_OK(DSStartAcquisition_(stream, ACQ_START_FLAGS_DEFAULT, 6));
  EXPECT_CODE(DSStartAcquisition_(stream, ACQ_START_FLAGS_DEFAULT, 6), GC_ERR_RESOURCE_IN_USE);
  EXPECT_CODE(DSAllocAndAnnounceBuffer_(stream, payloadSize, NULL, &buffer), GC_ERR_BUSY);
  EVENT_HANDLE event;
  EXPECT_OK(GCRegisterEvent_(stream, EVENT_NEW_BUFFER, &event));
  EXPECT_OK(WriteWord(remote, startRegister, 1));
  uint64_t last = 0;
  INFO_DATATYPE type;
  for (int i = 0; i < 6; ++i) {
    EVENT_NEW_BUFFER_DATA data;
    size = sizeof data;
    EXPECT_OK(EventGetData_(event, &data, &size, 3000));
    bool8_t incomplete = 1, isNew = 0, queued = 1;
    uint64_t frame = 0;
    size_t filled = 0, width = 0;
    size = 1;
    EXPECT_OK(DSGetBufferInfo_(stream, data.BufferHandle, BUFFER_INFO_IS_INCOMPLETE, &type,
                               &incomplete, &size));
    EXPECT_OK(
        DSGetBufferInfo_(stream, data.BufferHandle, BUFFER_INFO_NEW_DATA, &type, &isNew, &size));
    EXPECT_OK(
        DSGetBufferInfo_(stream, data.BufferHandle, BUFFER_INFO_IS_QUEUED, &type, &queued, &size));
    size = 8;
    EXPECT_OK(
        DSGetBufferInfo_(stream, data.BufferHandle, BUFFER_INFO_FRAMEID, &type, &frame, &size));
    EXPECT_OK(DSGetBufferInfo_(stream, data.BufferHandle, BUFFER_INFO_SIZE_FILLED, &type, &filled,
                               &size));
    EXPECT_OK(DSGetBufferInfo_(stream, data.BufferHandle, BUFFER_INFO_WIDTH, &type, &width, &size));
    EXPECT(!incomplete && isNew && !queued && filled == payloadSize && width > 0 && frame > last);
    last = frame;
    EXPECT_OK(DSQueueBuffer_(stream, data.BufferHandle));
  }
  /* Six were asked for: the seventh does not come, and the engine has stopped by itself. */
  char data[16];
  size = sizeof data;
  EXPECT_CODE(EventGetData_(event, data, &size, 200), GC_ERR_TIMEOUT);
  bool8_t grabbing = 1;
  size = 1;
  EXPECT_OK(DSGetInfo_(stream, STREAM_INFO_IS_GRABBING, &type, &grabbing, &size));
  EXPECT(grabbing == 0);
  /* An endless wait is ended by a kill from here. */
  pthread_t waiter;
  EXPECT(pthread_create(&waiter, NULL, WaitForever, event) == 0);
  EXPECT_OK(EventKill_(event));
  pthread_join(waiter, NULL);
  EXPECT(g_waitResult == GC_ERR_ABORT);
  EXPECT_OK(WriteWord(remote, stopRegister, 1));
  EXPECT_OK(DSStopAcquisition_(stream, ACQ_STOP_FLAGS_DEFAULT));
  EXPECT_CODE(DSStopAcquisition_(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_RESOURCE_IN_USE);
  /* Running again, and then closed from the top in the middle of it. */
  EXPECT_OK(DSStartAcquisition_(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
  EXPECT_OK(WriteWord(remote, startRegister, 1));
  size = sizeof data;
  EXPECT_OK(EventGetData_(event, data, &size, 3000));
  EXPECT_OK(TLClose_(system));
  EXPECT_CODE(EventGetData_(event, data, &size, 0), GC_ERR_INVALID_HANDLE);
  EXPECT_CODE(DSStopAcquisition_(stream, ACQ_STOP_FLAGS_KILL), GC_ERR_INVALID_HANDLE);
  EXPECT_OK(GCCloseLib_());
  return NULL;
}
