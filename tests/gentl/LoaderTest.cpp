// SPDX-License-Identifier: Apache-2.0
// Finding, loading and binding a producer. A process loads once, so every case runs in a child of
// its own.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "gentl/Producer.h"

namespace {

namespace fs = std::filesystem;

const fs::path sk_fakes = ORVEX_FAKE_FOLDER;

std::string Fake(const char* name) {
  return (sk_fakes / name).string();
}

class Loader : public ::testing::Test {
 protected:
  Loader() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
  // Runs the body in a child and expects it to end with 0; what it prints on failure is shown.
  template <typename Body>
  static void InChild(Body body) {
    EXPECT_EXIT(
        {
          unsetenv("ORVEX_PRODUCER");
          unsetenv("GENICAM_GENTL64_PATH");
          try {
            std::exit(body() ? 0 : 1);
          } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            std::exit(2);
          }
        },
        ::testing::ExitedWithCode(0), "");
  }
  static std::string FailureOfLoading() {
    try {
      GenTL::LoadProducer();
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return {};
  }
  static bool Contains(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) return true;
    std::fprintf(stderr, "\"%s\" lacks \"%s\"\n", text.c_str(), part.c_str());
    return false;
  }
};

TEST_F(Loader, TakesTheFileThatTheVariableNamesBeforeTheSearchPath) {
  InChild([] {
    setenv("ORVEX_PRODUCER", Fake("a_full.cti").c_str(), 1);
    setenv("GENICAM_GENTL64_PATH", Fake("b_old.cti").c_str(), 1);
    return GenTL::LoadProducer().GCInitLib() == 4711 &&
           GenTL::Producer().DSGetNumFlows(nullptr, nullptr) == 4711 &&
           GenTL::ProducerPath() == Fake("a_full.cti");
  });
}

TEST_F(Loader, AnswersForFunctionsThatAnOldProducerLacks) {
  InChild([] {
    setenv("ORVEX_PRODUCER", Fake("b_old.cti").c_str(), 1);
    const GenTL::ProducerApi& api = GenTL::LoadProducer();
    return api.GCReadPortStacked(nullptr, nullptr, nullptr) == 4711 &&
           api.DSGetNumBufferParts(nullptr, nullptr, nullptr) == GenTL::GC_ERR_NOT_IMPLEMENTED &&
           api.IFForceIp(nullptr, 1, 2, 3, 4) == GenTL::GC_ERR_NOT_IMPLEMENTED;
  });
}

TEST_F(Loader, NamesTheFileAndEveryMissingFunction) {
  InChild([] {
    setenv("ORVEX_PRODUCER", Fake("c_broken.cti").c_str(), 1);
    const std::string failure = FailureOfLoading();
    return Contains(failure, "c_broken.cti") && Contains(failure, "TLClose") &&
           Contains(failure, "EventKill") && !failure.empty() &&
           failure.find("GCInitLib") == std::string::npos;
  });
}

TEST_F(Loader, SearchPathTakesFilesAndFoldersAndSkipsWhatIsNotThere) {
  InChild([] {
    setenv("GENICAM_GENTL64_PATH",
           ("/nowhere:" + Fake("b_old.cti") + ":" + sk_fakes.string()).c_str(), 1);
    GenTL::LoadProducer();
    return GenTL::ProducerPath() == Fake("b_old.cti");
  });
  InChild([] {
    setenv("GENICAM_GENTL64_PATH", sk_fakes.c_str(), 1);
    GenTL::LoadProducer();
    return GenTL::ProducerPath() == Fake("a_full.cti");  // first by name
  });
}

TEST_F(Loader, TriesAgainAfterAFailure) {
  InChild([] {
    const bool failed = Contains(FailureOfLoading(), "ORVEX_PRODUCER");
    setenv("ORVEX_PRODUCER", "/nowhere/none.cti", 1);
    const bool named = Contains(FailureOfLoading(), "/nowhere/none.cti");
    bool refused = false;
    try {
      GenTL::Producer();
    } catch (const std::logic_error&) {
      refused = true;
    }
    setenv("ORVEX_PRODUCER", Fake("a_full.cti").c_str(), 1);
    GenTL::LoadProducer();
    return failed && named && refused && GenTL::Producer().TLOpen(nullptr) == 4711;
  });
}

}  // namespace
