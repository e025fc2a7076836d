// SPDX-License-Identifier: Apache-2.0
// Frames with chunks, foreign until parsed: the first byte chooses the layout, eight more an
// address, the rest is the frame. Nothing outside of the frame may be read, whatever the nodes'
// addresses are.
#include <GenApi/ChunkAdapterDcam.h>
#include <GenApi/ChunkAdapterGEV.h>
#include <GenApi/ChunkAdapterU3V.h>
#include <GenApi/GenApi.h>

#include <cstring>
#include <memory>

#include "tests/genapi/SmallMap.h"

namespace {

const char* const sk_nodes = R"(
<Category Name="Root"><pFeature>First</pFeature></Category>
<Port Name="A"><ChunkID>1</ChunkID></Port>
<Port Name="B"><ChunkID>A5A5</ChunkID><CacheChunkData>Yes</CacheChunkData></Port>
<Port Name="C"><ChunkID>00112233445566778899aabbccddeeff</ChunkID></Port>
<IntReg Name="First"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>A</pPort>
  <Endianess>BigEndian</Endianess></IntReg>
<IntReg Name="Last"><Address>-8</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>A</pPort>
  <Endianess>LittleEndian</Endianess></IntReg>
<IntReg Name="Length"><Address>9223372036854775792</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>A</pPort>
  <Endianess>LittleEndian</Endianess></IntReg>
<IntReg Name="Floating"><pAddress>Where</pAddress><Length>4</Length><AccessMode>RO</AccessMode><pPort>B</pPort>
  <Endianess>BigEndian</Endianess></IntReg>
<Integer Name="Where"><Value>0</Value></Integer>
<StringReg Name="Text"><Address>0</Address><pLength>Length</pLength><AccessMode>RO</AccessMode><pPort>B</pPort></StringReg>
<FloatReg Name="Number"><Address>4</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>C</pPort>
  <Endianess>BigEndian</Endianess></FloatReg>
)";

void ReadAll(OrvexTest::SmallMap& map) {
  for (const char* pName : {"First", "Last", "Length", "Floating", "Text", "Number"}) {
    try {
      map.Text(pName);
    } catch (const GenICam::GenericException&) {
      // Missing chunk, or outside of it.
    }
  }
}

template <class Adapter>
void Run(OrvexTest::SmallMap& map, uint8_t* pFrame, size_t size) {
  Adapter adapter(map.Map._Ptr);
  try {
    adapter.AttachBuffer(pFrame, int64_t(size));
  } catch (const GenICam::RuntimeException&) {
  }
  ReadAll(map);
  adapter.DetachBuffer();
  ReadAll(map);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
  static OrvexTest::SmallMap map(sk_nodes);
  if (size < 9) return 0;
  int64_t where = 0;
  std::memcpy(&where, pData + 1, 8);
  map.Get<GenApi::IInteger>("Where").SetValue(where);
  // An exact copy, so that the address sanitizer sees the first byte too many.
  const size_t bytes = size - 9;
  const std::unique_ptr<uint8_t[]> frame(new uint8_t[bytes]);
  if (bytes > 0) std::memcpy(frame.get(), pData + 9, bytes);
  switch (pData[0] % 3) {
    case 0:
      Run<GenApi::CChunkAdapterGEV>(map, frame.get(), bytes);
      break;
    case 1:
      Run<GenApi::CChunkAdapterU3V>(map, frame.get(), bytes);
      break;
    default:
      Run<GenApi::CChunkAdapterDcam>(map, frame.get(), bytes);
  }
  return 0;
}
