// SPDX-License-Identifier: Apache-2.0
// Streams of event-based sensors: their frames hold events, so their size follows from the output
// format, and a second event tells of triggers.
#include "GenApiCustom.h"
#include "Orvex/ALogger.h"
#include "Orvex/Check.h"
#include "Orvex/Device.h"

namespace Orvex {
namespace {

using GenICam::gcstring;

constexpr uint64_t sk_timeToBuffer = 1000;

constexpr uint64_t sk_encodedToDecoded = 2;
constexpr uint64_t sk_bytesPerXytpEvent = 16;
constexpr uint64_t sk_bytesPerColourPixel = 3;

}  // namespace

uint64_t Device::EvsBufferSize() {
  GenApi::INodeMap* pStreamMap = GetTLStreamNodeMap(m_streamNumber);
  const auto format = GetNodeValue<gcstring>(pStreamMap, "StreamEvsOutputFormat");
  const auto bitDepth = GetNodeValue<gcstring>(pStreamMap, "StreamEvsBitDepth");
  const auto number = [this](const char* name) {
    return static_cast<uint64_t>(GetNodeValue<int64_t>(m_pDeviceNodeMap, name));
  };
  const uint64_t payloadSize = number("PayloadSize");
  const uint64_t numPixels = number("Width") * number("Height");
  if (format == "RawFrameEncoded") return payloadSize;
  if (format == "RawFrameDecoded") return payloadSize * sk_encodedToDecoded;
  if (format == "XYTPFrame") return numPixels * sk_bytesPerXytpEvent;
  if (format == "CDFrame" && bitDepth == "Bits24") return numPixels * sk_bytesPerColourPixel;
  return numPixels;
}

void Device::StartStreamEVS(int stream, size_t numBuffers) {
  ThrowIfInsideCallback("A stream cannot be started from inside an image callback", __func__);
  const std::lock_guard lock(m_streamMutex);
  CHECK_ARG(numBuffers != 0, InvalidArgumentException,
            "Number of acquisition buffers must be 1 or greater");
  CHECK_ARG(m_pDeviceNodeMap != nullptr, RuntimeException, "Node map not present");
  m_streamNumber = SelectStream();
  const uint64_t bufferSize = EvsBufferSize();
  if (numBuffers == static_cast<size_t>(-1))
    numBuffers = AutomaticBufferCount(m_pDeviceNodeMap, bufferSize, sk_timeToBuffer);
  ALogger::Info("Orvex::Device(): Using " + std::to_string(numBuffers) + " image buffers of size " +
                std::to_string(bufferSize) + " bytes.");
  StreamInfo* pInfo = m_streams.at(static_cast<size_t>(stream));
  AnnounceAndQueueBuffers(
      pInfo, numBuffers, [bufferSize] { return bufferSize; }, __func__);
  SetupResendParams(pInfo, true);
  StartHostAndCamera(stream, numBuffers, true, __func__);
}

void Device::StopStreamEVS(int stream) {
  StopHostAndCamera(stream, true, __func__);
}

}  // namespace Orvex
