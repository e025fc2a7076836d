// SPDX-License-Identifier: Apache-2.0
#include "Orvex/InfoQuery.h"

#include <array>

namespace Orvex {

GenICam::gcstring GetInfoString(TLInterface* pInterface, const char* pDevId,
                                GenTL::DEVICE_INFO_CMD command) {
  constexpr size_t sk_size = 256;
  std::array<char, sk_size + 1> text{};  // one more than told, so that it always ends
  size_t size = sk_size;
  GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
  CHECK_GENTL(pInterface->GetDeviceInfo(pDevId, command, &type, text.data(), &size),
              "Unable to get device information", "IFGetDeviceInfo");
  CHECK_ARG(type == GenTL::INFO_DATATYPE_STRING, LogicalErrorException,
            "Incorrect datatype returned (string expected)");
  return text.data();
}

}  // namespace Orvex
