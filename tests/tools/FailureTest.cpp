// SPDX-License-Identifier: Apache-2.0
// One plain line from what the library throws.
#include "tools/Failure.h"

#include <Base/GCException.h>
#include <gtest/gtest.h>

#include <new>

namespace OrvexTools {
namespace {

struct LineCase {
  const char* name;
  const char* description;
  const char* line;
};

class Lines : public testing::TestWithParam<LineCase> {};

TEST_P(Lines, SayItPlainly) {
  EXPECT_EQ(PlainLine(GetParam().description), GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    Descriptions, Lines,
    testing::Values(
        LineCase{"ProducerFailureKeepsItsReason",
                 "RuntimeException (GC_ERR_BUSY): Unable to open device (System.cpp, CreateDevice; "
                 "GenTL::IFOpenDevice); "
                 "Camera is updating its firmware",
                 "Unable to open device: Camera is updating its firmware"},
        LineCase{"ReasonThatIsSaidAlreadyIsNotRepeated",
                 "TimeoutException (GC_ERR_TIMEOUT): Unable to read port: no answer (Port.cpp, "
                 "Read; GenTL::GCReadPort); "
                 "no answer",
                 "Unable to read port: no answer; check that the camera still has power and "
                 "network, then try again"},
        LineCase{"ReasonWithBrackets",
                 "LogicalErrorException (GC_ERR_RESOURCE_IN_USE): Unable to open device "
                 "(System.cpp, CreateDevice; "
                 "GenTL::IFOpenDevice); held by 10.0.0.1 (port 4000)",
                 "Unable to open device: held by 10.0.0.1 (port 4000); close whatever else uses "
                 "the camera and try again"},
        LineCase{"NamespaceInTheStatus",
                 "RuntimeException (GenTL::GC_ERR_RESOURCE_IN_USE): Library already initialized "
                 "(must initialize only once) "
                 "(Orvex.cpp, OpenSystem; GenTL::GCInitLib); Library is initialised",
                 "Library already initialized (must initialize only once): Library is initialised; "
                 "close whatever else uses "
                 "the camera and try again"},
        LineCase{"PlainCheck", "InvalidArgumentException: System is null (Orvex.cpp, CloseSystem)",
                 "System is null"},
        LineCase{"BracketsThatAreNoPlaceStay", "RuntimeException: Bad value (3, not 4 or 5)",
                 "Bad value (3, not 4 or 5)"},
        LineCase{"BareText", "Node Width not implemented", "Node Width not implemented"},
        LineCase{"SeveralLinesBecomeOne",
                 "LogicalErrorException: 'X' is invalid EnumEntry. PixelFormat valid EnumEntries "
                 "are:\nMono8\nMono12\n",
                 "'X' is invalid EnumEntry. PixelFormat valid EnumEntries are: Mono8, Mono12"},
        LineCase{"NoReason",
                 "RuntimeException (GC_ERR_ABORT): Wait ended (Device.cpp, GetBuffer; "
                 "GenTL::EventGetData); ",
                 "Wait ended"},
        LineCase{"CutOffInTheMiddle", "RuntimeException (GC_ERR_AB", "RuntimeException (GC_ERR_AB"},
        LineCase{"Nothing", "", "unknown failure"}),
    [](const auto& info) { return std::string(info.param.name); });

template <typename Thrown>
std::string LineOf(const Thrown& thrown) {
  return PlainLine(std::make_exception_ptr(thrown));
}

TEST(PlainLineOfException, KnowsEveryKindThatMayFly) {
  EXPECT_EQ(LineOf(GenICam::TimeoutException("Too late", "File.cpp", 1)), "Too late");
  EXPECT_EQ(LineOf(std::runtime_error("two\nlines")), "two, lines");
  EXPECT_EQ(LineOf(std::bad_alloc()), "out of memory; use fewer or smaller buffers");
  EXPECT_EQ(LineOf(7), "unknown failure");
}

}  // namespace
}  // namespace OrvexTools
