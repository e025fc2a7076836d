// SPDX-License-Identifier: Apache-2.0
// The GenTL contract, walked through by a consumer in C; this file only provides the camera and the
// file's name.
#include <gtest/gtest.h>

#include "ContractConsumer.h"
#include "SimulatedCamera.h"

namespace {

class Contract : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const char* failure = ContractLoad(ORVEX_PRODUCER_FILE);
    ASSERT_EQ(failure, nullptr) << failure;
  }
  void TearDown() override { ContractReset(); }
  static void Expect(const char* failure) {
    EXPECT_EQ(failure, nullptr) << (failure == nullptr ? "" : failure);
  }
};

TEST_F(Contract, InitialisesRepeatedlyAndKeepsTheLastError) {
  Expect(ContractInitAndErrors());
}
TEST_F(Contract, AnswersInfoQueriesWithNullAndSmallBuffers) {
  Expect(ContractInfoQueries());
}
TEST_F(Contract, RefusesHandlesItDoesNotKnow) {
  Expect(ContractHandles());
}
TEST_F(Contract, ServesDescriptionsOfItsModules) {
  Expect(ContractModulePorts());
}

TEST_F(Contract, FindsOpensAndReadsACamera) {
  SimulatedCamera camera("127.0.0.41");
  Expect(ContractDevice("127.0.0.41"));
}

TEST_F(Contract, KeepsAnnouncedBuffersInTheirQueues) {
  SimulatedCamera camera("127.0.0.42");
  Expect(ContractBuffers("127.0.0.42"));
}

TEST_F(Contract, StreamsUntilTheGivenNumberOfFrames) {
  SimulatedCamera camera("127.0.0.43");
  Expect(ContractStream("127.0.0.43", camera.PayloadSize(), camera.Register("AcquisitionStart"),
                        camera.Register("AcquisitionStop")));
}

}  // namespace
