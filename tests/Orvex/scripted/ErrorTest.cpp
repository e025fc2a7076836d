// SPDX-License-Identifier: Apache-2.0
// How a producer's status becomes an exception.
#include "Fixture.h"
#include "Orvex/Check.h"
#include "Orvex/Port.h"

namespace {

using namespace Orvex;

struct StatusRow {
  GenTL::GC_ERROR status;
  const char* exceptionClass;
  const char* label;
};

class Statuses : public ScriptedTest, public testing::WithParamInterface<StatusRow> {};

TEST_P(Statuses, HaveTheirClassAndLabel) {
  Open();
  m_world.errorText = "text";
  const auto check = [&] { CHECK_GENTL(GetParam().status, "What failed", "GCFunction"); };
  EXPECT_EQ(Thrown(check), GenTLError(GetParam().exceptionClass, GetParam().label, "What failed",
                                      "ErrorTest.cpp, operator()", "GCFunction") +
                               "text");
}

constexpr StatusRow sk_statuses[] = {
    {-1022, "RuntimeException", "GC_ERR_BUSY"},
    {-1021, "RuntimeException", "GC_ERR_OUT_OF_MEMORY"},
    {-1020, "RuntimeException", "GC_ERR_RESOURCE_EXHAUSTED"},
    {-1019, "InvalidArgumentException", "GC_ERR_INVALID_VALUE"},
    {-1018, "RuntimeException", "GC_ERR_PARSING_CHUNK_DATA"},
    {-1017, "OutOfRangeException", "GC_ERR_INVALID_INDEX"},
    {-1016, "InvalidArgumentException", "GC_ERR_BUFFER_TOO_SMALL"},
    {-1015, "InvalidArgumentException", "GC_ERR_INVALID_ADDRESS"},
    {-1014, "LogicalErrorException", "GC_ERR_NOT_AVAILABLE"},
    {-1013, "InvalidArgumentException", "GC_ERR_INVALID_BUFFER"},
    {-1012, "RuntimeException", "GC_ERR_ABORT"},
    {-1011, "TimeoutException", "GC_ERR_TIMEOUT"},
    {-1010, "RuntimeException", "GC_ERR_IO"},
    {-1009, "InvalidArgumentException", "GC_ERR_INVALID_PARAMETER"},
    {-1008, "RuntimeException", "GC_ERR_NO_DATA"},
    {-1007, "InvalidArgumentException", "GC_ERR_INVALID_ID"},
    {-1006, "InvalidArgumentException", "GC_ERR_INVALID_HANDLE"},
    {-1005, "AccessException", "GC_ERR_ACCESS_DENIED"},
    {-1004, "LogicalErrorException", "GC_ERR_RESOURCE_IN_USE"},
    {-1003, "LogicalErrorException", "GC_ERR_NOT_IMPLEMENTED"},
    {-1002, "LogicalErrorException", "GC_ERR_NOT_INITIALIZED"},
    // All others, whatever they are.
    {-1001, "GenericException", "GC_ERR_ERROR"},
    {-1023, "GenericException", "GC_ERR_ERROR"},
    {-10000, "GenericException", "GC_ERR_ERROR"},
    {1, "GenericException", "GC_ERR_ERROR"},
    {2147483647, "GenericException", "GC_ERR_ERROR"},
    {-2147483647 - 1, "GenericException", "GC_ERR_ERROR"},
};

INSTANTIATE_TEST_SUITE_P(All, Statuses, testing::ValuesIn(sk_statuses),
                         [](const auto& info) { return "Row" + std::to_string(info.index); });

class Errors : public ScriptedTest {
 protected:
  Errors() { Open(); }
  std::string CheckText() {
    return Thrown([] { CHECK_GENTL_FN(GenTL::GC_ERR_IO, "What", "GCFunction", "Operation"); });
  }
};

TEST_F(Errors, AreNotMadeOfSuccess) {
  ForgetCalls();
  CHECK_GENTL(GenTL::GC_ERR_SUCCESS, "What", "GCFunction");
  EXPECT_TRUE(m_world.calls.empty());
}

TEST_F(Errors, SayWhenTheProducerTellsNothing) {
  const std::string head =
      GenTLError("RuntimeException", "GC_ERR_IO", "What", "ErrorTest.cpp, Operation", "GCFunction");
  m_world.errorStatus = GenTL::GC_ERR_ERROR;
  EXPECT_EQ(CheckText(), head + "Unable to get error from GenTL layer.");
  m_world.errorStatus = 0;
  m_world.errorText = std::string(3000, 'x');  // refused by this producer: not asked again
  m_world.calls.clear();
  EXPECT_EQ(CheckText(), head + "Unable to get error from GenTL layer.");
  EXPECT_EQ(m_world.calls, Calls{"GCGetLastError(2048)"});
}

TEST_F(Errors, HaveTheirPlaceAndLine) {
  constexpr unsigned sk_line = __LINE__ + 2;
  try {
    THROW_PLAIN(TimeoutException, "message");
  } catch (const GenICam::TimeoutException& error) {
    EXPECT_STREQ(error.GetDescription(), "TimeoutException: message (ErrorTest.cpp, TestBody)");
    EXPECT_STREQ(error.GetSourceFileName(), "ErrorTest.cpp");
    EXPECT_EQ(error.GetSourceLine(), sk_line);
  }
  EXPECT_EQ(Thrown([] { THROW_DIRECT(RuntimeException, "bare"); }), "RuntimeException | bare");
}

TEST_F(Errors, NameAUnitWithoutFolderAndPart) {
  EXPECT_EQ(UnitName("/a/b/Device.cpp"), "Device.cpp");
  EXPECT_EQ(UnitName("../x/Device_Stream.cpp"), "Device.cpp");
  EXPECT_EQ(UnitName("a_b/Port.cpp"), "Port.cpp");
}

// --- ports

TEST_F(Errors, OfPortsCarryTheProducersTextTwice) {
  OpenCamera();
  TLBase module(static_cast<Scripted::Module*>(&m_world.Camera()));
  Port port(&module);
  EXPECT_EQ(port.GetAccessMode(), GenApi::RW);
  uint8_t byte = 0;
  m_world.FailAlways("GCReadPort", GenTL::GC_ERR_IO);
  EXPECT_EQ(Thrown([&] { port.Read(&byte, 0x1000, 1); }),
            GenTLError("RuntimeException", "GC_ERR_IO", "Unable to read port: GCReadPort refused",
                       "Port.cpp, Read", "GCReadPort") +
                "GCReadPort refused");
  const std::string longText(500, 'x');  // fetched with a second, larger buffer
  m_world.errorText = longText;
  m_world.calls.clear();
  EXPECT_EQ(Thrown([&] { port.Read(&byte, 0x1000, 1); }),
            GenTLError("RuntimeException", "GC_ERR_IO", "Unable to read port: " + longText,
                       "Port.cpp, Read", "GCReadPort") +
                longText);
  EXPECT_EQ(m_world.calls.size(), 4u);
  EXPECT_EQ(m_world.calls.at(1), "GCGetLastError(250)");
  EXPECT_EQ(m_world.calls.at(2), "GCGetLastError(501)");
  m_world.errorStatus = GenTL::GC_ERR_ERROR;
  m_world.FailAlways("GCWritePort", GenTL::GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(Thrown([&] { port.Write(&byte, 0x1000, 1); }),
            GenTLError("AccessException", "GC_ERR_ACCESS_DENIED",
                       "Unable to write port: Couldn't get last error from GenTL!",
                       "Port.cpp, Write", "GCWritePort") +
                "Unable to get error from GenTL layer.");
}

}  // namespace
