// SPDX-License-Identifier: Apache-2.0
#include "simulator/Faults.h"

#include <algorithm>
#include <charconv>

#include "simulator/Feature.h"
#include "simulator/Limits.h"

namespace OrvexSim {
namespace {

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

bool ParsePacket(std::string_view text, uint32_t& packet) {
  text = Trim(text);
  if (text == "leader") return packet = 0, true;
  if (text == "trailer") return packet = sk_trailerPacket, true;
  return ParseNumber(text, packet);
}

bool ParseRange(std::string_view item, PacketRange& range) {
  const size_t colon = item.find(':');
  if (colon == std::string_view::npos) return false;
  const std::string_view block = Trim(item.substr(0, colon)), packets = item.substr(colon + 1);
  if (block != "*" && (!ParseNumber(block, range.block) || range.block == 0)) return false;
  const size_t dash = packets.find('-');
  if (!ParsePacket(packets.substr(0, dash), range.first)) return false;
  range.last = range.first;
  if (dash != std::string_view::npos && !ParsePacket(packets.substr(dash + 1), range.last))
    return false;
  return range.first <= range.last;
}

bool ParseAddress(std::string_view text, uint32_t& address) {
  text = Trim(text);
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), address, hex ? 16 : 10);
  return error == std::errc{} && end == text.data() + text.size();
}

bool ParseAddresses(std::string_view item, const FeatureTable& table, AddressRange& range) {
  if (const Feature* feature = table.Find(std::string(item))) {
    range.first = feature->Address();
    range.last = range.first + feature->Bytes() - 1;
    return range.first != 0;
  }
  const size_t dash = item.find('-');
  if (!ParseAddress(item.substr(0, dash), range.first)) return false;
  range.last = range.first;
  if (dash != std::string_view::npos && !ParseAddress(item.substr(dash + 1), range.last))
    return false;
  range.last |= 3;  // whole words
  return range.first <= range.last;
}

// Items between commas.
template <typename Range, typename Parse>
bool ParseList(std::string_view text, const Parse& parse, std::vector<Range>& ranges) {
  std::vector<Range> result;
  while (!Trim(text).empty()) {
    const size_t comma = text.find(',');
    Range range;
    if (result.size() == sk_maxListedRanges || !parse(Trim(text.substr(0, comma)), range))
      return false;
    result.push_back(range);
    text = comma == std::string_view::npos ? std::string_view{} : text.substr(comma + 1);
  }
  ranges = std::move(result);
  return true;
}

struct FaultRow {
  PacketFault fault;
  const char* rate;
  const char* list;
  const char* docu;
};
constexpr FaultRow sk_faults[] = {
    {PacketFault::Drop, "SimDropRate", "SimDropList", "that are lost"},
    {PacketFault::Duplicate, "SimDuplicateRate", "SimDuplicateList", "sent twice"},
    {PacketFault::Reorder, "SimReorderRate", "SimReorderList", "that later ones overtake"},
    {PacketFault::Corrupt, "SimCorruptRate", "SimCorruptList", "with one byte changed"},
    {PacketFault::Delay, "SimDelayRate", "SimDelayList", "before which the camera pauses"},
};

}  // namespace

bool ParsePacketList(std::string_view text, std::vector<PacketRange>& ranges) {
  return ParseList(text, &ParseRange, ranges);
}

bool ParseAddressList(std::string_view text, const FeatureTable& table,
                      std::vector<AddressRange>& ranges) {
  const auto parse = [&](std::string_view item, AddressRange& range) {
    return ParseAddresses(item, table, range);
  };
  return ParseList(text, parse, ranges);
}

bool Touches(const std::vector<AddressRange>& ranges, uint32_t address, size_t bytes) {
  const uint64_t end = uint64_t{address} + bytes;
  return std::any_of(ranges.begin(), ranges.end(), [&](const AddressRange& range) {
    return address <= range.last && end > range.first;
  });
}

bool FaultSettings::AnyOnSending() const {
  return loseLeader > 0 || loseTrailer > 0 ||
         std::any_of(rules.begin(), rules.end(), [](const auto& rule) { return rule.Any(); });
}

FaultDice::FaultDice(const FaultSettings& settings, uint64_t blockId, uint32_t trailerId)
    : m_settings(settings),
      m_blockId(blockId),
      m_state(settings.seed * 0x9E3779B97F4A7C15 + blockId),
      m_trailerId(trailerId) {}

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

bool FaultDice::Listed(const std::vector<PacketRange>& list, uint32_t packetId) const {
  return std::any_of(list.begin(), list.end(), [&](const PacketRange& range) {
    if (range.block != 0 && range.block != m_blockId) return false;
    return (packetId >= range.first && packetId <= range.last) ||
           (packetId == m_trailerId && range.last == sk_trailerPacket);
  });
}

// A burst begins so often that the share of lost packets is the one asked for.
bool FaultDice::Lost() {
  if (m_burstLeft > 0) {
    --m_burstLeft;
    return true;
  }
  if (!Hit(m_settings.Rule(PacketFault::Drop).share / m_settings.burst)) return false;
  m_burstLeft = m_settings.burst - 1;
  return true;
}

bool FaultDice::Happens(PacketFault fault, uint32_t packetId) {
  const PacketFaultRule& rule = m_settings.Rule(fault);
  const bool data = packetId != 0 && packetId != m_trailerId;
  const bool drawn = data && (fault == PacketFault::Drop ? Lost() : Hit(rule.share));
  return drawn || Listed(rule.list, packetId);
}

void AddFaultFeatures(FeatureTable& t) {
  t.Category("SimulatorControl", "Faults that the virtual camera makes on request.");
  const auto share = [&](const char* name, const char* docu) {
    t.Float(name).Custom().Expert().Unit("%").RealRange(0, 100).Docu(docu);
  };
  for (const FaultRow& row : sk_faults) {
    share(row.rate, ("Share of data packets " + std::string(row.docu) + ".").c_str());
    t.String(row.list, sk_faultListSize)
        .Custom()
        .Expert()
        .OnSetText([](const std::string& text) {
          std::vector<PacketRange> ranges;
          return ParsePacketList(text, ranges) ? Status::Success : Status::InvalidParameter;
        })
        .Docu("Packets " + std::string(row.docu) +
              ": block:packet or block:first-last, separated by commas; * for every block, "
              "leader and trailer for these.");
  }
  t.Integer("SimDropBurst")
      .Custom()
      .Expert()
      .Range(1, 1000)
      .Default(1)
      .Docu("Packets lost in a row.");
  share("SimDropResentRate", "Share of packets sent again that are lost.");
  t.Integer("SimReorderDistance")
      .Custom()
      .Expert()
      .Range(1, 10000)
      .Default(8)
      .Docu("How many packets overtake a reordered one.");
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
  for (const FaultRow& row : sk_faults) {
    PacketFaultRule& rule = faults.rules[static_cast<size_t>(row.fault)];
    rule.share = share(row.rate);
    ParsePacketList(table.Find(row.list)->Text(), rule.list);
  }
  faults.burst = number("SimDropBurst");
  faults.dropResent = share("SimDropResentRate");
  faults.reorderDistance = number("SimReorderDistance");
  faults.delayUs = number("SimDelayTime");
  faults.loseLeader = share("SimLoseLeaderRate");
  faults.loseTrailer = share("SimLoseTrailerRate");
  faults.refuseResends = table.Find("SimRefuseResends")->Bool();
  faults.seed = number("SimSeed");
  return faults;
}

}  // namespace OrvexSim
