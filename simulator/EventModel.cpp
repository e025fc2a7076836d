// SPDX-License-Identifier: Apache-2.0
#include "simulator/EventModel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "simulator/CameraCore.h"
#include "simulator/Evt3.h"

namespace OrvexSim {
namespace {

constexpr uint32_t sk_width = 1280, sk_height = 720;
constexpr double sk_discRadius = 90, sk_pathRadius = 230;
constexpr double sk_turnUs = 2e6;
constexpr size_t sk_payloadBytes = 1 << 20;
constexpr double sk_maxRate = 1000;  // million events a second

}  // namespace

EventModel::EventModel() : RegionModel({sk_width, sk_height, sk_width, sk_height, false}) {}

std::vector<EnumEntry> EventModel::FormatEntries() const {
  return {{"Data8", 0x01080116}};
}

void EventModel::AddFeatures(CameraCore& camera) {
  RegionModel::AddFeatures(camera);
  FeatureTable& t = camera.Features();
  t.Category("EventSensorControl", "The event sensor.");
  t.Enumeration("EventFormat", {{"EVT3_0", 3}}).Custom().Docu("Encoding of the events.");
  m_limitEnable = &t.Boolean("ErcEnable").Custom().Docu("Whether the event rate is limited.");
  m_limit = &t.Float("ErcRateLimit")
                 .Custom()
                 .Unit("Mev/s")
                 .RealRange(0.001, sk_maxRate)
                 .DefaultReal(sk_maxRate)
                 .Docu("Most events in a second; what is above is left out.");
  m_frameRate = &camera.F("AcquisitionFrameRate");
}

size_t EventModel::PayloadBytes() const {
  return sk_payloadBytes;
}

void EventModel::TakeSettings() {
  m_periodUs = static_cast<uint64_t>(1e6 / m_frameRate->Real());
  m_maxEvents = SIZE_MAX;
  if (m_limitEnable->Bool())
    m_maxEvents = static_cast<size_t>(m_limit->Real() * static_cast<double>(m_periodUs));
  m_fields = LeaderFields();
}

EventModel::Span EventModel::Disc(uint64_t time, int64_t y) {
  const double turn =
      std::fmod(static_cast<double>(time), sk_turnUs) / sk_turnUs * 2 * std::numbers::pi;
  const double middleX = sk_width / 2.0 + sk_pathRadius * std::cos(turn);
  const double middleY = sk_height / 2.0 + sk_pathRadius * std::sin(turn);
  const double dy = static_cast<double>(y) - middleY,
               rest = sk_discRadius * sk_discRadius - dy * dy;
  if (rest <= 0) return {};
  const double half = std::sqrt(rest);
  return {static_cast<int64_t>(std::ceil(middleX - half)),
          static_cast<int64_t>(std::ceil(middleX + half))};
}

void EventModel::Paint(uint64_t frameNumber, Frame& frame) {
  const uint64_t begin = frameNumber * m_periodUs;
  frame.data.clear();
  Evt3Writer writer(frame.data);
  writer.Begin();
  writer.Trigger(begin, 0, true);
  size_t left = m_maxEvents;
  const int64_t firstColumn = m_fields.offsetX, endColumn = firstColumn + m_fields.sizeX;
  const auto run = [&](uint64_t time, int64_t y, int64_t first, int64_t last, bool brighter) {
    first = std::max(first, firstColumn);
    last = std::min(last, endColumn);
    if (first >= last || frame.data.size() + 1024 > sk_payloadBytes) return;
    const size_t count = std::min<size_t>(static_cast<size_t>(last - first), left);
    left -= count;
    writer.Run(time, static_cast<uint32_t>(y), static_cast<uint32_t>(first),
               static_cast<uint32_t>(count), brighter);
  };
  for (int64_t y = m_fields.offsetY; y < static_cast<int64_t>(m_fields.offsetY + m_fields.sizeY);
       ++y) {
    const Span before = Disc(begin, y), after = Disc(begin + m_periodUs, y);
    if (before.first == before.last && after.first == after.last) continue;
    // Rows are read out one after another over the period.
    const uint64_t time = begin + m_periodUs * static_cast<uint64_t>(y) / sk_height;
    if (before.first == before.last || after.first == after.last || before.last <= after.first ||
        after.last <= before.first) {
      run(time, y, before.first, before.last, false);
      run(time, y, after.first, after.last, true);
      continue;
    }
    run(time, y, after.first, before.first, true);
    run(time, y, before.first, after.first, false);
    run(time, y, after.last, before.last, false);
    run(time, y, before.last, after.last, true);
  }
  frame.imageBytes = frame.data.size();
  frame.payloadType = static_cast<uint16_t>(GigEVision::PayloadType::Raw);
  frame.image = m_fields;
}

}  // namespace OrvexSim
