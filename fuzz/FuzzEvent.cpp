// SPDX-License-Identifier: Apache-2.0
// Event messages, foreign until parsed: the first byte chooses the transport, the rest is the
// message.
#include <GenApi/EventAdapter1394.h>
#include <GenApi/EventAdapterCL.h>
#include <GenApi/EventAdapterGEV.h>
#include <GenApi/EventAdapterU3V.h>
#include <GenApi/GenApi.h>

#include <cstring>
#include <memory>

#include "tests/genapi/SmallMap.h"

namespace {

const char* const sk_nodes = R"(
<Category Name="Root"><pFeature>Id</pFeature></Category>
<Port Name="Event"><EventID>9001</EventID></Port>
<IntReg Name="Id"><Address>2</Address><Length>2</Length><AccessMode>RO</AccessMode><pPort>Event</pPort>
  <Endianess>BigEndian</Endianess></IntReg>
<IntReg Name="Data"><Address>24</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>Event</pPort>
  <Endianess>BigEndian</Endianess></IntReg>
)";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
  static OrvexTest::SmallMap map(sk_nodes);
  static GenApi::CEventAdapterGEV gev(map.Map._Ptr);
  static GenApi::CEventAdapterU3V usb(map.Map._Ptr);
  static GenApi::CEventAdapterCL serial(map.Map._Ptr);
  static GenApi::CEventAdapter1394 bus(map.Map._Ptr);
  static GenApi::CEventAdapter* const adapters[] = {&gev, &usb, &serial, &bus};
  if (size < 1) return 0;
  const size_t bytes = size - 1;
  const std::unique_ptr<uint8_t[]> message(new uint8_t[bytes]);
  if (bytes > 0) std::memcpy(message.get(), pData + 1, bytes);
  try {
    adapters[pData[0] % 4]->DeliverMessage(message.get(), uint32_t(bytes));
  } catch (const GenICam::RuntimeException&) {
  }
  for (const char* pName : {"Id", "Data"}) {
    try {
      map.Text(pName);
    } catch (const GenICam::GenericException&) {
      // No event yet, or a shorter one.
    }
  }
  return 0;
}
