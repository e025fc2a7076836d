// SPDX-License-Identifier: Apache-2.0
#include "simulator/Model.h"

#include <cstdio>
#include <stdexcept>

#include "simulator/AreaModel.h"
#include "simulator/CameraOptions.h"
#include "simulator/EventModel.h"
#include "simulator/QoiModel.h"
#include "simulator/ReplayModel.h"
#include "simulator/SampleModel.h"

namespace OrvexSim {
namespace {

// Functions, because the rows of other units must not be read before they are made.
const SampleModelRow* const* SampleRows(size_t& count) {
  static const SampleModelRow* const sk_rows[] = {&sk_polarisedModel, &sk_dualModel, &sk_quadModel,
                                                  &sk_depthModel};
  count = std::size(sk_rows);
  return sk_rows;
}

}  // namespace

std::unique_ptr<Model> MakeModel(const CameraOptions& options) {
  if (options.source) return std::make_unique<ReplayModel>(options.source);
  const std::string& name = options.model;
  std::unique_ptr<PictureFolder> pictures;
  if (!options.pictures.empty()) {
    if (name != "area" && name != "qoi")
      throw std::invalid_argument("only the models area and qoi look at pictures");
    pictures = std::make_unique<PictureFolder>(options.pictures);
  }
  if (name == "area") return std::make_unique<AreaModel>(std::move(pictures));
  if (name == "qoi") return std::make_unique<QoiModel>(std::move(pictures));
  if (name == "event") return std::make_unique<EventModel>();
  size_t count = 0;
  const SampleModelRow* const* rows = SampleRows(count);
  for (size_t i = 0; i < count; ++i) {
    if (name == rows[i]->option) return std::make_unique<SampleModel>(*rows[i]);
  }
  return nullptr;
}

std::vector<std::string> ModelNames() {
  std::vector<std::string> names = {"area", "qoi", "event"};
  size_t count = 0;
  const SampleModelRow* const* rows = SampleRows(count);
  for (size_t i = 0; i < count; ++i) names.push_back(rows[i]->option);
  return names;
}

std::string PixelFormatName(uint32_t value) {
  if (const PixelFormat* format = FindPixelFormat(value)) return std::string(format->name);
  if (const char* name = QoiFormatName(value)) return name;
  size_t count = 0;
  const SampleModelRow* const* rows = SampleRows(count);
  for (size_t i = 0; i < count; ++i) {
    for (const SampleFormat& format : rows[i]->formats()) {
      if (format.value == value) return format.name;
    }
  }
  char text[20];
  std::snprintf(text, sizeof text, "Format%08X", value);
  return text;
}

}  // namespace OrvexSim
