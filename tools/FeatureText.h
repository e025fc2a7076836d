#pragma once
// SPDX-License-Identifier: Apache-2.0
// A described feature (see DescribeFeature) as people read it. Pure functions, any thread.

#include <span>
#include <string>

#include "tools/Report.h"

namespace OrvexTools {

// Every fact of a feature in the order in which it is shown.
std::span<const Field> FeatureFields();

// The value without its unit; addresses and hexadecimal numbers in their own notation.
std::string FeatureValueText(const Record& feature);

// "ExposureTime = 5000 us  [10 .. 1000000, RW]"
std::string FeatureLine(const Record& feature);

// Why a feature has no value to show.
std::string WhyWithoutValue(const Record& feature);

}  // namespace OrvexTools
