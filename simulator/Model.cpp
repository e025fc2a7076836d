// SPDX-License-Identifier: Apache-2.0
#include "simulator/Model.h"

#include "simulator/AreaModel.h"
#include "simulator/EventModel.h"
#include "simulator/QoiModel.h"
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

std::unique_ptr<Model> MakeModel(const std::string& name) {
  if (name == "area") return std::make_unique<AreaModel>();
  if (name == "qoi") return std::make_unique<QoiModel>();
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

}  // namespace OrvexSim
