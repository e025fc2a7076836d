// SPDX-License-Identifier: Apache-2.0
// The rows that every model has: identity, acquisition, user sets.
#include <cmath>
#include <stdexcept>

#include "simulator/CameraCore.h"
#include "simulator/Faults.h"

namespace OrvexSim {
namespace {

constexpr int64_t sk_linkBytesPerSecond = 1'250'000'000;
constexpr double sk_minFrameRate = 0.1, sk_maxFrameRate = 10000;
constexpr uint64_t sk_minThroughput = 1'000'000, sk_maxThroughput = 100'000'000'000;

// A temperature that wanders a little, as real ones do.
double Temperature(uint64_t now, double base) {
  return base + 1.5 * std::sin(static_cast<double>(now) * 1e-9 / 20);
}

}  // namespace

void CameraCore::AddDeviceFeatures() {
  if (!(m_options.frameRate >= sk_minFrameRate && m_options.frameRate <= sk_maxFrameRate)) {
    throw std::invalid_argument("the frame rate must be from 0.1 to 10000");
  }
  if (m_options.throughputLimit < sk_minThroughput ||
      m_options.throughputLimit > sk_maxThroughput) {
    throw std::invalid_argument(
        "the throughput limit must be from 1000000 to 100000000000 bytes a second");
  }
  FeatureTable& t = m_features;
  t.Category("DeviceControl", "Identity and state of the camera.");
  t.Enumeration("DeviceType",
                {{"Transmitter", 0}, {"Receiver", 1}, {"Transceiver", 2}, {"Peripheral", 3}})
      .ReadOnly()
      .Guru()
      .Docu("What the device does on its link.");
  t.Enumeration("DeviceScanType",
                {{"Areascan", 0}, {"Linescan", 1}, {"Areascan3D", 2}, {"Linescan3D", 3}})
      .ReadOnly()
      .Expert()
      .Docu("How the sensor scans.");
  t.String("DeviceVendorName", 32).ReadOnly().DefaultText("Orvex").Docu("Who makes the camera.");
  t.String("DeviceModelName", 32)
      .ReadOnly()
      .GetText([this] { return m_model->Name(); })
      .Docu("Name of the model.");
  t.String("DeviceFamilyName", 32)
      .ReadOnly()
      .DefaultText("VirtualCamera")
      .Docu("Family of models it belongs to.");
  t.String("DeviceManufacturerInfo", 48)
      .ReadOnly()
      .DefaultText("virtual camera")
      .Docu("More from the maker.");
  t.String("DeviceVersion", 32).ReadOnly().DefaultText("1.0.0").Docu("Version of the camera.");
  t.String("DeviceFirmwareVersion", 32)
      .ReadOnly()
      .DefaultText("1.0.0")
      .Docu("Version of its firmware.");
  t.String("DeviceSerialNumber", 16)
      .ReadOnly()
      .Expert()
      .GetText([this] { return m_serial; })
      .Docu("Serial number, unique for each camera.");
  t.String("DeviceUserID", 16)
      .Transient()
      .GetText([this] { return m_userName; })
      .OnSetText([this](const std::string& name) { return m_userName = name, KeepState(); })
      .Docu("Name that the user gave the camera.");
  t.Integer("DeviceSFNCVersionMajor")
      .ReadOnly()
      .Default(2)
      .Docu("Version of the feature naming convention.");
  t.Integer("DeviceSFNCVersionMinor")
      .ReadOnly()
      .Default(7)
      .Docu("Version of the feature naming convention.");
  t.Integer("DeviceSFNCVersionSubMinor")
      .ReadOnly()
      .Default(1)
      .Docu("Version of the feature naming convention.");
  t.Enumeration("DeviceTLType", {{"GigEVision", 0}})
      .ReadOnly()
      .Docu("Transport layer of the camera.");
  t.Integer("DeviceTLVersionMajor")
      .ReadOnly()
      .Default(2)
      .Docu("Version of the transport layer standard.");
  t.Integer("DeviceTLVersionMinor")
      .ReadOnly()
      .Default(0)
      .Docu("Version of the transport layer standard.");
  t.Integer("DeviceMaxThroughput")
      .ReadOnly()
      .Expert()
      .Unit("Bps")
      .Size(8)
      .Default(sk_linkBytesPerSecond)
      .Docu("Most bytes that the camera can send in a second.");
  t.Integer("DeviceLinkSpeed")
      .ReadOnly()
      .Expert()
      .Unit("Bps")
      .Size(8)
      .Default(sk_linkBytesPerSecond)
      .Docu("Speed of the link, in bytes a second.");
  t.Enumeration("DeviceLinkThroughputLimitMode", {{"Off", 0}, {"On", 1}})
      .Expert()
      .Default(1)
      .Docu("Whether the camera keeps to DeviceLinkThroughputLimit.");
  t.Integer("DeviceLinkThroughputLimit")
      .Expert()
      .Unit("Bps")
      .Size(8)
      .Range(sk_minThroughput, sk_maxThroughput)
      .Default(static_cast<int64_t>(m_options.throughputLimit))
      .Docu("Most bytes sent in a second while streaming.");
  t.Integer("DeviceStreamChannelCount")
      .ReadOnly()
      .Expert()
      .Default(1)
      .Docu("Number of stream channels.");
  t.Enumeration("DeviceStreamChannelEndianness", {{"Little", 0}, {"Big", 1}})
      .ReadOnly()
      .Guru()
      .Docu("Byte order of pixels with more than eight bits.");
  t.Enumeration("DeviceRegistersEndianness", {{"Little", 0}, {"Big", 1}})
      .ReadOnly()
      .Guru()
      .Default(1)
      .Docu("Byte order of the registers.");
  t.Enumeration("DeviceCharacterSet", {{"UTF8", 1}, {"ASCII", 2}})
      .ReadOnly()
      .Guru()
      .Docu("Character set of texts.");
  t.Enumeration("DeviceTemperatureSelector", {{"Sensor", 0}, {"Mainboard", 1}})
      .Expert()
      .Selects({"DeviceTemperature"})
      .Docu("Place whose temperature is read.");
  t.Float("DeviceTemperature")
      .ReadOnly()
      .Expert()
      .Unit("C")
      .Volatile()
      .Polled(1000)
      .RealRange(-40, 120)
      .GetReal([this] {
        return Temperature(Now(), F("DeviceTemperatureSelector").Int() == 0 ? 42.0 : 38.5);
      })
      .Docu("Temperature at the selected place.");
  t.Command("DeviceReset")
      .Guru()
      .OnSet([this](int64_t, size_t) { return ResetDevice(), Status::Success; })
      .Docu("Restarts the camera as if it were switched off and on.");
  t.Integer("Timestamp")
      .ReadOnly()
      .Expert()
      .Unit("ns")
      .Size(8)
      .Volatile()
      .Get([this] { return static_cast<int64_t>(Now()); })
      .Docu("The camera's clock now.");
  t.Command("TimestampReset")
      .Expert()
      .OnSet([this](int64_t, size_t) {
        return ResetTimestamp() ? Status::Success : Status::AccessDenied;
      })
      .Docu("Sets the camera's clock to 0.");
  t.Command("TimestampLatch")
      .Expert()
      .OnSet([this](int64_t, size_t) { return m_latched = Now(), Status::Success; })
      .Docu("Copies the clock to TimestampLatchValue.");
  t.Integer("TimestampLatchValue")
      .ReadOnly()
      .Expert()
      .Unit("ns")
      .Size(8)
      .DependsOn({"TimestampLatch"})
      .Get([this] { return static_cast<int64_t>(m_latched); })
      .Docu("The clock at the last TimestampLatch.");

  t.Category("AcquisitionControl", "When frames are taken and how long they are exposed.");
  t.Enumeration("AcquisitionMode", {{"Continuous", 0}, {"SingleFrame", 1}, {"MultiFrame", 2}})
      .Locked()
      .Docu("How many frames one AcquisitionStart gives.");
  t.Command("AcquisitionStart")
      .OnSet([this](int64_t, size_t) { return StartAcquisition(), Status::Success; })
      .Docu("Starts taking frames.");
  t.Command("AcquisitionStop")
      .OnSet([this](int64_t, size_t) { return StopAcquisition(), Status::Success; })
      .Docu("Stops after the frame being taken.");
  t.Command("AcquisitionAbort")
      .Expert()
      .OnSet([this](int64_t, size_t) { return StopAcquisition(), Status::Success; })
      .Docu("Stops at once.");
  t.Integer("AcquisitionFrameCount")
      .Range(1, 65535)
      .Default(10)
      .Docu("Frames of one start in the mode MultiFrame.");
  t.Boolean("AcquisitionFrameRateEnable")
      .Default(1)
      .Docu("Whether AcquisitionFrameRate counts; otherwise frames come as fast as possible.");
  t.Float("AcquisitionFrameRate")
      .Unit("Hz")
      .RealRange(sk_minFrameRate, sk_maxFrameRate)
      .DefaultReal(m_options.frameRate)
      .Docu("Frames a second; longer exposure or a full link lower the rate reached.");
  t.Enumeration("TriggerSelector", {{"FrameStart", 0}})
      .Selects(
          {"TriggerMode", "TriggerSource", "TriggerActivation", "TriggerSoftware", "TriggerDelay"})
      .Docu("Trigger that the following features set.");
  t.Enumeration("TriggerMode", {{"Off", 0}, {"On", 1}})
      .Then([this] { m_changed.notify_all(); })
      .Docu("Whether each frame waits for a trigger.");
  t.Enumeration("TriggerSource", {{"Software", 0},
                                  {"Timer0End", 1},
                                  {"Action0", 2},
                                  {"Action1", 3},
                                  {"Action2", 4},
                                  {"Action3", 5},
                                  {"Line0", sk_lineTrigger}})
      .Docu("Where triggers come from.");
  t.Enumeration("TriggerActivation", {{"RisingEdge", 0}, {"FallingEdge", 1}, {"AnyEdge", 2}})
      .Docu("Edge of the line that triggers.");
  t.Command("TriggerSoftware")
      .AvailableIf([this] { return F("TriggerMode").Bool() && F("TriggerSource").Int() == 0; })
      .DependsOn({"TriggerMode", "TriggerSource"})
      .OnSet([this](int64_t, size_t) { return Trigger(), Status::Success; })
      .Docu("Triggers one frame.");
  t.Float("TriggerDelay").Unit("us").RealRange(0, 1e6).Docu("Time from a trigger to the exposure.");
  t.Enumeration("ExposureMode", {{"Timed", 1}}).Docu("What ends an exposure.");
  t.Float("ExposureTime")
      .Unit("us")
      .RealRange(1, 1e6)
      .DefaultReal(2000)
      .Docu("Length of the exposure.");

  AddInputFeatures();

  t.Category("TestControl", "Checks of the connection.");
  t.Integer("TestPendingAck")
      .Unit("ms")
      .Guru()
      .Range(0, 60000)
      .Transient()
      .OnSet([this](int64_t value, size_t) {
        return DelayAnswer(static_cast<uint32_t>(value)), Status::Success;
      })
      .Docu("Writing makes the camera take that long for its answer.");
  t.Command("TestEventGenerate")
      .Guru()
      .OnSet([this](int64_t, size_t) {
        std::vector<uint8_t> data(8);
        GigEVision::StoreBe64(data.data(), ++m_testEvents);
        return QueueEvent({sk_testEventId, 0, Now(), std::move(data)}), Status::Success;
      })
      .Docu("Makes the test event.");

  t.Category("UserSetControl", "Settings that the camera keeps.");
  const std::vector<EnumEntry> sets = {{"Default", 0}, {"UserSet0", 1}, {"UserSet1", 2}};
  t.Enumeration("UserSetSelector", sets)
      .Transient()
      .Selects({"UserSetLoad", "UserSetSave"})
      .Docu("User set that the commands work on.");
  t.Command("UserSetLoad")
      .OnSet([this](int64_t, size_t) {
        if (TransportLocked()) return Status::AccessDenied;
        return LoadUserSet(F("UserSetSelector").Int()), Status::Success;
      })
      .Docu("Sets all features to the values of the selected set.");
  t.Command("UserSetSave")
      .OnSet([this](int64_t, size_t) { return SaveUserSet(F("UserSetSelector").Int()); })
      .Docu("Keeps the present values in the selected set; Default cannot be changed.");
  t.Enumeration("UserSetDefault", sets)
      .Transient()
      .Then([this] { KeepState(); })
      .Docu("User set that counts after a reset.");
}

void CameraCore::AddSimulatorFeatures() {
  AddFaultFeatures(m_features);
  FeatureTable& t = m_features;
  const auto registers = [&](const char* name, std::vector<AddressRange>& ranges,
                             const char* docu) {
    Feature* feature = &t.String(name, sk_faultListSize).Custom().Expert();
    feature
        ->OnSetText([this](const std::string& text) {
          std::vector<AddressRange> parsed;
          return ParseAddressList(text, m_features, parsed) ? Status::Success
                                                            : Status::InvalidParameter;
        })
        .Then([this, feature, &ranges] { ParseAddressList(feature->Text(), m_features, ranges); })
        .Docu(docu);
  };
  registers("SimDenyRegisters", deniedRegisters,
            "Registers that refuse all access: names of features, addresses, or ranges of them, "
            "separated by commas.");
  registers("SimSlowRegisters", slowRegisters,
            "Registers that take SimSlowTime to answer, listed likewise.");
  t.Boolean("SimLine0")
      .Custom()
      .Expert()
      .Transient()
      .OnSet([this](int64_t level, size_t) { return SetLine(level != 0), Status::Success; })
      .Docu("Level that is put on the input Line0.");
  const auto counter = [&](const char* name, const std::atomic<uint64_t>& count, const char* docu) {
    t.Integer(name)
        .Custom()
        .Expert()
        .ReadOnly()
        .Volatile()
        .Size(8)
        .Get([&count] { return static_cast<int64_t>(count.load()); })
        .Docu(docu);
  };
  counter("SimFramesSent", framesSent, "Frames that were sent to their end.");
  counter("SimResendRequests", resendRequests, "Requests for packets to be sent again.");
  counter("SimPacketsResent", packetsResent, "Packets sent again.");
  t.Integer("SimSilenceTime")
      .Custom()
      .Expert()
      .Unit("ms")
      .Range(1, 3'600'000)
      .Default(5000)
      .Docu("How long SimGoSilent lasts.");
  t.Command("SimGoSilent")
      .Custom()
      .Expert()
      .OnSet([this](int64_t, size_t) {
        silentUntil = Clock::now() + std::chrono::milliseconds(F("SimSilenceTime").Int());
        return Status::Success;
      })
      .Docu(
          "From now on the camera neither hears nor sends anything for a while, as with a pulled "
          "cable.");
  t.Integer("SimNextAddress")
      .Custom()
      .Expert()
      .Representation("IPV4Address")
      .Range(0, 0xFFFFFFFF)
      .Transient()
      .Docu("Address that SimChangeAddress moves to.");
  t.Command("SimChangeAddress")
      .Custom()
      .Expert()
      .OnSet([this](int64_t, size_t) {
        nextAddress = static_cast<uint32_t>(F("SimNextAddress").Int());
        if (wakeControl) wakeControl();
        return Status::Success;
      })
      .Docu(
          "Moves the camera to another address, as a new lease of a DHCP server does; whoever "
          "controls it loses it.");
}

}  // namespace OrvexSim
