// SPDX-License-Identifier: Apache-2.0
// A camera behind somebody else's description: plain memory, but for the registers of the features
// that a picture needs. These lead to the camera's own ones, so that it streams.
#include <algorithm>
#include <map>

#include "simulator/CameraCore.h"
#include "simulator/ForeignDescription.h"
#include "simulator/Limits.h"
#include "simulator/PixelFormat.h"

namespace OrvexSim {
namespace {

constexpr uint32_t sk_firstOwnRegister = 0xA000;  // of the manufacturer's space

// The format that an entry stands for: by its name, an older name of it, or its value; 0 for none.
uint32_t FormatOf(const EnumEntry& entry) {
  struct Alias {
    const char* old;
    const char* name;
  };
  constexpr Alias sk_aliases[] = {{"RGB8Packed", "RGB8"},
                                  {"BGR8Packed", "BGR8"},
                                  {"YUV422Packed", "YUV422_8_UYVY"},
                                  {"YUV422YUYVPacked", "YUV422_8"},
                                  {"YUV411Packed", "YUV411_8_UYYVYY"},
                                  {"YUV444Packed", "YUV8_UYV"}};
  std::string name = entry.name;
  for (const Alias& alias : sk_aliases) {
    if (name == alias.old) name = alias.name;
  }
  for (const PixelFormat& format : AllPixelFormats()) {
    if (format.name == name) return format.value;
  }
  const PixelFormat* format = FindPixelFormat(static_cast<uint32_t>(entry.value));
  return format == nullptr ? 0 : format->value;
}

}  // namespace

// Reads and writes the bits of one foreign register.
struct CameraCore::ForeignField {
  ForeignRegister place;
  std::function<int64_t()> get;        // null: the bits keep what is written
  std::function<Status(int64_t)> set;  // null: nothing follows from a write
};

void CameraCore::BindForeign(const ForeignDescription& foreign) {
  std::map<uint32_t, std::vector<ForeignField>> fields;
  const auto bind = [&](const char* name, std::function<int64_t()> get,
                        std::function<Status(int64_t)> set) {
    const auto place = foreign.RegisterOf(name);
    if (!place || place->address < sk_firstOwnRegister) return;
    fields[place->address].push_back({*place, std::move(get), std::move(set)});
  };
  const auto geometry = [&](const char* name, int64_t step) {
    Feature* own = &F(name);
    bind(
        name, [own] { return own->Int(); },
        [this, own, step](int64_t value) {
          if (TransportLocked()) return Status::AccessDenied;
          // A real camera rounds, too; the host reads back what it got.
          const int64_t fitting = std::clamp(value / step * step, own->MinInt(),
                                             std::max(own->MinInt(), own->MaxInt()));
          own->Force(fitting);
          return Status::Success;
        });
  };
  geometry("Width", sk_widthStep);
  geometry("Height", 2);
  geometry("OffsetX", sk_widthStep);
  geometry("OffsetY", 2);
  for (const char* name : {"WidthMax", "HeightMax", "SensorWidth", "SensorHeight"}) {
    Feature* own = &F(name);
    bind(name, [own] { return own->Int(); }, {});
  }
  bind("PayloadSize", [this] { return static_cast<int64_t>(PayloadSize()); }, {});

  std::vector<EnumEntry> formats = foreign.Entries("PixelFormat");
  std::erase_if(formats, [](const EnumEntry& entry) { return FormatOf(entry) == 0; });
  if (!formats.empty()) {
    Feature* own = &F("PixelFormat");
    own->Force(FormatOf(formats.front()));
    bind(
        "PixelFormat",
        [own, formats] {
          const auto it = std::ranges::find_if(
              formats, [&](const EnumEntry& entry) { return FormatOf(entry) == own->Int(); });
          return it == formats.end() ? 0 : it->value;
        },
        [this, own, formats](int64_t value) {
          if (TransportLocked()) return Status::AccessDenied;
          const auto it = std::ranges::find(formats, value, &EnumEntry::value);
          if (it == formats.end()) return Status::InvalidParameter;
          return own->Force(FormatOf(*it)), Status::Success;
        });
  }
  const auto command = [&](const char* name, void (CameraCore::*action)()) {
    const int64_t wanted = foreign.CommandValue(name);
    bind(name, {}, [this, wanted, action](int64_t value) {
      if (value == wanted) (this->*action)();
      return Status::Success;
    });
  };
  command("AcquisitionStart", &CameraCore::StartAcquisition);
  command("AcquisitionStop", &CameraCore::StopAcquisition);
  std::vector<std::pair<ForeignRegister, uint64_t>> start;  // of plain memory
  // Formulas divide by these.
  for (const char* name :
       {"BinningHorizontal", "BinningVertical", "DecimationHorizontal", "DecimationVertical"}) {
    if (const auto place = foreign.RegisterOf(name)) start.emplace_back(*place, 1);
  }
  for (const ForeignRegister& flag : foreign.Flags()) start.emplace_back(flag, 1);
  for (const auto& [place, value] : start) {
    if (place.address < sk_firstOwnRegister || fields.contains(place.address)) continue;
    uint8_t bytes[8];
    const std::span<uint8_t> whole(bytes, place.length);
    ReadPlain(place.address, whole);
    place.Store(whole, (place.Load(whole) & ~place.mask) | value << place.shift);
    WritePlain(place.address, whole);
  }
  for (auto& [address, list] : fields) AddForeignRegister(std::move(list));
}

// One register of possibly several features: bits that no feature leads elsewhere stay memory.
void CameraCore::AddForeignRegister(std::vector<ForeignField> fields) {
  const ForeignRegister first = fields.front().place;
  const auto shared = std::make_shared<std::vector<ForeignField>>(std::move(fields));
  const auto kept = std::make_shared<uint64_t>(0);
  m_registers.Add({first.address, first.length,
                   [shared, kept, first](std::span<uint8_t> out) {
                     uint64_t whole = *kept;
                     for (const ForeignField& field : *shared) {
                       if (!field.get) continue;
                       const auto value = static_cast<uint64_t>(field.get()) << field.place.shift;
                       whole = (whole & ~field.place.mask) | (value & field.place.mask);
                     }
                     first.Store(out, whole);
                   },
                   [shared, kept, first](std::span<const uint8_t> in) {
                     const uint64_t whole = first.Load(in);
                     *kept = whole;
                     for (const ForeignField& field : *shared) {
                       if (!field.set) continue;
                       const auto value =
                           static_cast<int64_t>((whole & field.place.mask) >> field.place.shift);
                       if (const Status status = field.set(value); IsError(status)) return status;
                     }
                     return Status::Success;
                   }});
}

}  // namespace OrvexSim
