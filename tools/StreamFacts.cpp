// SPDX-License-Identifier: Apache-2.0
#include "tools/StreamFacts.h"

#include "tools/Nodes.h"

namespace OrvexTools {
namespace {

struct StreamFact {
  const char* key;
  const char* feature;
};

constexpr StreamFact sk_streamFacts[] = {
    {"lost_frames", "StreamLostFrameCount"},
    {"resent_packets", "StreamResentPacketCount"},
    {"lost_packets", "StreamLostPacketCount"},
    {"late_packets", "StreamLatePacketCount"},
    {"resend_requests", "StreamResendRequestCount"},
    {"refused_packets", "StreamRefusedPacketCount"},
    {"seen_packets", "StreamSeenPacketCount"},
    {"socket_drops", "StreamSocketDropCount"},
    {"engine", "StreamEngine"},
    {"packet_size", "DeviceStreamChannelPacketSize"},
    {"socket_buffer", "StreamSocketBufferSize"},
};

}  // namespace

void ReadStreamFacts(GenApi::INodeMap* pNodes, Record& record) {
  for (const StreamFact& fact : sk_streamFacts) {
    GenApi::INode* pNode = pNodes != nullptr ? pNodes->GetNode(fact.feature) : nullptr;
    if (pNode == nullptr) continue;
    const Record feature = DescribeFeature(*pNode);
    if (feature.contains("value")) record[fact.key] = feature["value"];
  }
}

std::int64_t FactOf(const Record& record, const char* pKey) {
  const auto entry = record.find(pKey);
  return entry != record.end() && entry->is_number() ? entry->get<std::int64_t>() : 0;
}

}  // namespace OrvexTools
