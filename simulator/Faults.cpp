// SPDX-License-Identifier: Apache-2.0
#include "simulator/Faults.h"

#include <algorithm>
#include <charconv>

#include "simulator/Feature.h"
#include "simulator/Limits.h"

namespace OrvexSim {
namespace {

constexpr uint32_t sk_listSize = 256;  // bytes of the packet list's register

std::string_view Trim(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

template <typename T>
bool ParseNumber(std::string_view text, T& value) {
  text = Trim(text);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc{} && end == text.data() + text.size();
}

bool ParseRange(std::string_view item, PacketRange& range) {
  const size_t colon = item.find(':');
  if (colon == std::string_view::npos) return false;
  const std::string_view block = Trim(item.substr(0, colon)), packets = item.substr(colon + 1);
  if (block != "*" && (!ParseNumber(block, range.block) || range.block == 0)) return false;
  const size_t dash = packets.find('-');
  if (!ParseNumber(packets.substr(0, dash), range.first)) return false;
  range.last = range.first;
  if (dash != std::string_view::npos && !ParseNumber(packets.substr(dash + 1), range.last))
    return false;
  return range.first <= range.last;
}

}  // namespace

bool ParsePacketList(std::string_view text, std::vector<PacketRange>& ranges) {
  std::vector<PacketRange> result;
  while (!Trim(text).empty()) {
    const size_t comma = text.find(',');
    PacketRange range;
    if (result.size() == sk_maxListedRanges || !ParseRange(Trim(text.substr(0, comma)), range))
      return false;
    result.push_back(range);
    text = comma == std::string_view::npos ? std::string_view{} : text.substr(comma + 1);
  }
  ranges = std::move(result);
  return true;
}

bool FaultSettings::AnyOnSending() const {
  return drop > 0 || duplicate > 0 || reorder > 0 || corrupt > 0 || delay > 0 || loseLeader > 0 ||
         loseTrailer > 0 || !dropList.empty();
}

FaultDice::FaultDice(const FaultSettings& settings, uint64_t blockId)
    : m_settings(settings),
      m_blockId(blockId),
      m_state(settings.seed * 0x9E3779B97F4A7C15 + blockId) {}

// A splitmix generator: every state gives a well mixed number, so that blocks with neighbouring ids
// have nothing in common.
uint64_t FaultDice::Next() {
  m_state += 0x9E3779B97F4A7C15;
  uint64_t z = m_state;
  z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
  z = (z ^ z >> 27) * 0x94D049BB133111EB;
  return z ^ z >> 31;
}

bool FaultDice::Hit(double share) {
  if (share <= 0) return false;
  return static_cast<double>(Next() >> 11) * 0x1p-53 < share;
}

uint32_t FaultDice::Below(uint32_t limit) {
  return limit == 0 ? 0 : static_cast<uint32_t>(Next() % limit);
}

bool FaultDice::Drops(uint32_t packetId) {
  const bool listed = std::any_of(m_settings.dropList.begin(), m_settings.dropList.end(),
                                  [&](const PacketRange& range) {
                                    return (range.block == 0 || range.block == m_blockId) &&
                                           packetId >= range.first && packetId <= range.last;
                                  });
  if (m_burstLeft > 0) {
    --m_burstLeft;
    return true;
  }
  // A burst begins so often that the share of lost packets is the one asked for.
  if (Hit(m_settings.drop / m_settings.burst)) {
    m_burstLeft = m_settings.burst - 1;
    return true;
  }
  return listed;
}

void AddFaultFeatures(FeatureTable& t) {
  t.Category("SimulatorControl", "Faults that the virtual camera makes on request.");
  const auto share = [&](const char* name, const char* docu) {
    t.Float(name).Custom().Expert().Unit("%").RealRange(0, 100).Docu(docu);
  };
  share("SimDropRate", "Share of data packets that are lost.");
  t.Integer("SimDropBurst")
      .Custom()
      .Expert()
      .Range(1, 1000)
      .Default(1)
      .Docu("Packets lost in a row.");
  t.String("SimDropList", sk_listSize)
      .Custom()
      .Expert()
      .OnSetText([](const std::string& text) {
        std::vector<PacketRange> ranges;
        return ParsePacketList(text, ranges) ? Status::Success : Status::InvalidParameter;
      })
      .Docu(
          "Packets that are lost: block:packet or block:first-last, separated by commas, * for "
          "every block.");
  share("SimDropResentRate", "Share of packets sent again that are lost.");
  share("SimDuplicateRate", "Share of data packets sent twice.");
  share("SimReorderRate", "Share of data packets that later ones overtake.");
  t.Integer("SimReorderDistance")
      .Custom()
      .Expert()
      .Range(1, 10000)
      .Default(8)
      .Docu("How many packets overtake a reordered one.");
  share("SimCorruptRate", "Share of data packets with one byte changed.");
  share("SimDelayRate", "Share of data packets before which the camera pauses.");
  t.Integer("SimDelayTime")
      .Custom()
      .Expert()
      .Unit("us")
      .Range(1, 1'000'000)
      .Default(1000)
      .Docu("How long the camera pauses.");
  share("SimLoseLeaderRate", "Share of lost leaders.");
  share("SimLoseTrailerRate", "Share of lost trailers.");
  t.Boolean("SimRefuseResends")
      .Custom()
      .Expert()
      .Docu("Answers every resend request with a refusal.");
  t.Integer("SimSeed")
      .Custom()
      .Expert()
      .Range(1, 0xFFFFFFFF)
      .Default(1)
      .Docu("What the draws of all faults begin with.");
  share("SimDropAckRate",
        "Share of commands that stay without an answer although they take effect.");
  t.Boolean("SimIgnoreHeartbeat")
      .Custom()
      .Expert()
      .Docu("Does not answer reads of the control register.");
  t.Integer("SimDenyAddress")
      .Custom()
      .Expert()
      .Representation("HexNumber")
      .Range(0, 0xFFFFFFFF)
      .Docu("Register that refuses all access; 0 for none.");
  t.Integer("SimSlowAddress")
      .Custom()
      .Expert()
      .Representation("HexNumber")
      .Range(0, 0xFFFFFFFF)
      .Docu("Register that takes SimSlowTime to answer; 0 for none.");
  t.Integer("SimSlowTime")
      .Custom()
      .Expert()
      .Unit("ms")
      .Range(0, sk_maxRegisterDelayMs)
      .Default(500)
      .Docu("How long the slow register takes.");
  t.Boolean("SimSegmentationOffload")
      .Custom()
      .Expert()
      .Default(1)
      .Docu(
          "Lets the kernel cut runs of packets; rules of a network lab that count packets need it "
          "off.");
  t.Boolean("SimBrokenDescription")
      .Custom()
      .Expert()
      .Transient()
      .Docu("Serves a damaged description.");
}

FaultSettings TakeFaults(const FeatureTable& table) {
  const auto share = [&](const char* name) { return table.Find(name)->Real() / 100; };
  const auto number = [&](const char* name) {
    return static_cast<uint32_t>(table.Find(name)->Int());
  };
  FaultSettings faults;
  faults.drop = share("SimDropRate");
  faults.burst = number("SimDropBurst");
  faults.dropResent = share("SimDropResentRate");
  faults.duplicate = share("SimDuplicateRate");
  faults.reorder = share("SimReorderRate");
  faults.reorderDistance = number("SimReorderDistance");
  faults.corrupt = share("SimCorruptRate");
  faults.delay = share("SimDelayRate");
  faults.delayUs = number("SimDelayTime");
  faults.loseLeader = share("SimLoseLeaderRate");
  faults.loseTrailer = share("SimLoseTrailerRate");
  faults.refuseResends = table.Find("SimRefuseResends")->Bool();
  faults.seed = number("SimSeed");
  ParsePacketList(table.Find("SimDropList")->Text(), faults.dropList);
  return faults;
}

}  // namespace OrvexSim
