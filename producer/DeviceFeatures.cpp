// SPDX-License-Identifier: Apache-2.0
// The node map of a device module (not of the camera itself).
#include <algorithm>

#include "gigevision/Bootstrap.h"
#include "producer/Device.h"
#include "producer/Interface.h"
#include "producer/RemotePort.h"
#include "producer/System.h"

namespace OrvexGev {

using namespace GenTL;
namespace Reg = GigEVision::Bootstrap;

std::unique_ptr<FeatureTable> Device::MakeFeatures(Device& device) {
  auto table = std::make_unique<FeatureTable>("GenTLDevice", "DevicePort");
  Device* self = &device;
  const char* about = "DeviceInformation";
  const auto text = [self](std::string DeviceRecord::*member) {
    return [self, member] { return self->m_record.*member; };
  };
  const auto number = [self](auto DeviceRecord::*member) {
    return [self, member] { return static_cast<int64_t>(self->m_record.*member); };
  };
  table->Add(Feature::String("DeviceID", text(&DeviceRecord::id)).In(about).Expert().Constant());
  table->Add(Feature::String("DeviceSerialNumber", text(&DeviceRecord::serial))
                 .In(about)
                 .Expert()
                 .Constant());
  table->Add(
      Feature::String("DeviceUserID", text(&DeviceRecord::userName)).In(about).Expert().Constant());
  table->Add(Feature::String("DeviceVendorName", text(&DeviceRecord::vendor)).In(about).Constant());
  table->Add(Feature::String("DeviceModelName", text(&DeviceRecord::model)).In(about).Constant());
  // The bootstrap registers do not tell of families.
  table->Add(Feature::String("DeviceFamilyName", [] { return std::string(); }).In(about));
  table->Add(Feature::String("DeviceVersion", text(&DeviceRecord::version)).In(about).Constant());
  table->Add(Feature::String("DeviceManufacturerInfo", text(&DeviceRecord::manufacturerInfo))
                 .In(about)
                 .Constant());
  table->Add(
      Feature::Enumeration("DeviceType", TransportLayerEntries(), [] { return sk_gigEVisionEntry; })
          .In(about)
          .Expert()
          .Constant());
  table->Add(Feature::String("DeviceDisplayName", [self] { return self->m_record.DisplayName(); })
                 .In(about)
                 .Expert()
                 .Constant());
  table->Add(Feature::Integer("DeviceTimestampFrequency",
                              [self] { return static_cast<int64_t>(self->m_tickFrequency); })
                 .In(about)
                 .Unit("Hz"));
  table->Add(Feature::Enumeration("DeviceAccessStatus", AccessStatusEntries(),
                                  [self] { return int64_t{self->AccessStatus()}; })
                 .In(about)
                 .Expert());
  table->Add(Feature::Enumeration("DeviceChunkDataFormat",
                                  {{"None", 0}, {"GigEVision", 1}, {"Custom", 2}},
                                  [] { return int64_t{1}; })
                 .In(about)
                 .Expert()
                 .Constant());
  table->Add(Feature::Enumeration(
                 "DeviceEventDataFormat",
                 {{"None", 0}, {"GigEVision", 1}, {"GigEVisionExtendedId", 2}, {"Custom", 3}},
                 [self] {
                   return (self->m_gvspCapability & Reg::sk_gvspCapLegacyIds) != 0 ? int64_t{1}
                                                                                   : int64_t{2};
                 })
                 .In(about)
                 .Expert());
  table->Add(Feature::Integer("GevDeviceMACAddress", number(&DeviceRecord::mac))
                 .In(about)
                 .Expert()
                 .Shown("MACAddress")
                 .Constant());
  table->Add(Feature::Integer("GevDeviceIPAddress", number(&DeviceRecord::ip))
                 .In(about)
                 .Expert()
                 .Shown("IPV4Address")
                 .Constant());
  table->Add(Feature::Integer("GevDeviceSubnetMask", number(&DeviceRecord::mask))
                 .In(about)
                 .Expert()
                 .Shown("IPV4Address")
                 .Constant());
  table->Add(Feature::Integer("GevDeviceGateway", number(&DeviceRecord::gateway))
                 .In(about)
                 .Expert()
                 .Shown("IPV4Address")
                 .Constant());

  const char* control = "DeviceControl";
  table->Add(Feature::Enumeration(
                 "DeviceEndianessMechanism",
                 {{"Legacy", static_cast<int64_t>(EndianessMechanism::Legacy)},
                  {"Standard", static_cast<int64_t>(EndianessMechanism::Standard)}},
                 [self] { return static_cast<int64_t>(self->m_remote->Mechanism()); },
                 [self](int64_t value) {
                   self->m_remote->SetMechanism(static_cast<EndianessMechanism>(value));
                 })
                 .In(control)
                 .Expert());
  table->Add(
      Feature::Float(
          "LinkCommandTimeout",
          [self] { return static_cast<double>(self->m_channel->Settings().timeout.count()); },
          [self](double value) {
            ControlSettings settings = self->m_channel->Settings();
            settings.timeout = std::chrono::microseconds(static_cast<int64_t>(value));
            self->m_channel->SetSettings(settings);
          })
          .In(control)
          .Guru()
          .Unit("us")
          .FloatRange(1000, 10e6));
  table->Add(Feature::Integer(
                 "LinkCommandRetryCount",
                 [self] { return int64_t{self->m_channel->Settings().retries}; },
                 [self](int64_t value) {
                   ControlSettings settings = self->m_channel->Settings();
                   settings.retries = static_cast<int>(value);
                   self->m_channel->SetSettings(settings);
                 })
                 .In(control)
                 .Guru()
                 .Range(0, 100));

  const char* streams = "StreamEnumeration";
  table->Add(Feature::Integer(
                 "StreamSelector",
                 [self] {
                   const std::lock_guard lock(self->m_mutex);
                   return self->m_streamSelector;
                 },
                 [self](int64_t value) {
                   const std::lock_guard lock(self->m_mutex);
                   self->m_streamSelector = value;
                 })
                 .In(streams)
                 .Max([self] { return std::max<int64_t>(0, int64_t{self->m_streamCount} - 1); }));
  table->Add(Feature::String("StreamID",
                             [self] {
                               const std::lock_guard lock(self->m_mutex);
                               return self->m_streamCount == 0
                                          ? std::string()
                                          : self->StreamId(
                                                static_cast<uint32_t>(self->m_streamSelector));
                             })
                 .In(streams)
                 .SelectedBy("StreamSelector"));
  AddEventControl(*table, self, {{"DeviceLost", sk_eventDeviceLost}});
  table->Finish();
  return table;
}

}  // namespace OrvexGev
