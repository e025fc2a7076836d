#pragma once
// SPDX-License-Identifier: Apache-2.0
// A small virtual camera for the cases of this folder, with the addresses of its features taken
// from its description.

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "simulator/VirtualCamera.h"

class SimulatedCamera {
 public:
  static constexpr uint32_t sk_width = 320, sk_height = 240;

  explicit SimulatedCamera(const std::string& address, uint32_t width = sk_width,
                           uint32_t height = sk_height, double frameRate = 50)
      : SimulatedCamera(Options(address, width, height, frameRate)) {}

  // Another model with its own sizes.
  SimulatedCamera(const std::string& address, const std::string& model)
      : SimulatedCamera(OfModel(address, model)) {}

  void Stop() { m_camera.Stop(); }
  void Start() { m_camera.Start(); }
  unsigned PayloadSize() const { return m_options.width * m_options.height; }

  // Address of a feature's register.
  unsigned Register(const std::string& feature) const {
    const size_t node = m_xml.find("Name=\"" + feature + "_Reg\"");
    const size_t address = node == std::string::npos ? node : m_xml.find("<Address>", node);
    if (address == std::string::npos)
      throw std::runtime_error("the camera has no feature " + feature);
    return static_cast<unsigned>(std::strtoul(m_xml.c_str() + address + 9, nullptr, 16));
  }

 private:
  explicit SimulatedCamera(const OrvexSim::CameraOptions& options)
      : m_options(options), m_camera(m_options), m_xml(m_camera.Description()) {
    m_camera.Start();
  }

  static OrvexSim::CameraOptions OfModel(const std::string& address, const std::string& model) {
    OrvexSim::CameraOptions options;
    options.address = address;
    options.model = model;
    options.frameRate = 50;
    return options;
  }
  static OrvexSim::CameraOptions Options(const std::string& address, uint32_t width,
                                         uint32_t height, double rate) {
    OrvexSim::CameraOptions options;
    options.address = address;
    options.pixelFormat = "Mono8";
    options.width = width;
    options.height = height;
    options.frameRate = rate;
    return options;
  }

  OrvexSim::CameraOptions m_options;
  OrvexSim::VirtualCamera m_camera;
  std::string m_xml;
};
