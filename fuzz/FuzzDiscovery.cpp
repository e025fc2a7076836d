// SPDX-License-Identifier: Apache-2.0
// What is known of a camera before it is trusted: its answer to a discovery, the place of its
// description, and the names in the description file, plain or zipped. The first byte chooses.
#include <cstdlib>
#include <string>

#include "gigevision/Gvcp.h"
#include "gigevision/XmlUrl.h"
#include "producer/CameraTraits.h"
#include "producer/Limits.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const std::span<const uint8_t> bytes(data + 1, size - 1);
  switch (data[0] % 3) {
    case 0:
      if (const auto ack = GigEVision::DecodeAck(bytes)) {
        const auto fields = GigEVision::DecodeDiscoveryAck(ack->payload);
        if (fields && std::string(fields->manufacturer).size() > 32) std::abort();
      }
      break;
    case 1: {
      const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
      const auto url = GigEVision::ParseXmlUrl(text);
      if (url && url->fileName.size() > text.size()) std::abort();
      break;
    }
    default: {
      const auto traits = OrvexGev::FindTraits(bytes);
      if (traits.StreamCount() < 1 || traits.StreamCount() > 4) std::abort();
      if (OrvexGev::UnpackDescription(bytes).size() > OrvexGev::sk_maxDescriptionText) std::abort();
      break;
    }
  }
  return 0;
}
