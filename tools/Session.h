#pragma once
// SPDX-License-Identifier: Apache-2.0
// Owners of what a command opens: the library, a camera, a stream, a frame, a changed setting. Each
// closes what it opened when it goes out of scope, in the reverse order, also when the camera has
// meanwhile gone. Used by one thread.

#include <Orvex.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/DeviceMatcher.h"
#include "tools/Failure.h"

namespace OrvexTools {

using Milliseconds = std::chrono::milliseconds;

// How long discovery listens for answers when the command line says nothing, and how much longer
// when it heard none.
inline constexpr Milliseconds sk_discoveryTime{500};
inline constexpr Milliseconds sk_longDiscoveryTime{1500};

struct FoundCamera {
  CameraFacts facts;
  Orvex::DeviceInfo info;
};

// The library, open from construction to destruction; one at a time.
class Library {
 public:
  // `unicast`: IPv4 addresses that discovery asks besides its broadcasts.
  explicit Library(const std::vector<std::string>& unicast = {});
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  Orvex::ISystem& System() { return *m_pSystem; }

  // Every camera that answers, each once, sorted by address.
  std::vector<FoundCamera> Discover(Milliseconds time);

  // The camera meant by DEVICE. Ends as soon as one answers whose name is exactly that; otherwise
  // listens for `time`, and for sk_longDiscoveryTime while no camera at all answers. Throws Failure
  // as MatchCamera does.
  FoundCamera Find(std::string_view wanted, Milliseconds time);

 private:
  std::vector<FoundCamera> Devices();

  Orvex::ISystem* m_pSystem = nullptr;  // owned
};

// What a command needs of the camera.
enum class Access {
  Read,     // somebody else may hold the camera
  Control,  // Failure when somebody else does
};

// One opened camera.
class Camera {
 public:
  Camera(Library& library, const FoundCamera& found, Access access);
  ~Camera();
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  const CameraFacts& Facts() const { return m_facts; }
  Orvex::IDevice& Device() { return *m_pDevice; }
  GenApi::INodeMap& Nodes();

  // "ReadWrite" or "OpenReadWrite" when this program controls the camera; empty when neither node
  // map tells.
  std::string AccessStatus();

  // False when the camera does not answer any more. Asks the camera itself when the library still
  // believes in it, which takes as long as the library's retries.
  bool Answers() noexcept;

 private:
  Library& m_library;
  CameraFacts m_facts;
  Orvex::IDevice* m_pDevice = nullptr;  // owned by the system
};

// Sets a feature for a while: the text that it had before comes back in the destructor, failures
// ignored. Does nothing when the feature has the wanted value already.
class Setting {
 public:
  Setting(Camera& camera, std::string feature, const std::string& value);
  ~Setting();
  Setting(const Setting&) = delete;
  Setting& operator=(const Setting&) = delete;

 private:
  Camera& m_camera;
  std::string m_feature;
  std::optional<std::string> m_before;
};

// Gives a frame back to its stream.
struct FrameReturner {
  Orvex::IDevice* pDevice = nullptr;
  void operator()(Orvex::IBuffer* pBuffer) const noexcept;
};
using Frame = std::unique_ptr<Orvex::IBuffer, FrameReturner>;

// Frees an image of the factory.
struct ImageDestroyer {
  void operator()(Orvex::IImage* pImage) const noexcept;
};
using OwnedImage = std::unique_ptr<Orvex::IImage, ImageDestroyer>;

// A running stream of a camera. Frames must have been given back before it ends.
class Stream {
 public:
  // Zero buffers: as many as the library thinks right.
  explicit Stream(Camera& camera, std::size_t buffers = 0);
  ~Stream();
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  // The next frame, or none when the time is over.
  Frame Next(Milliseconds timeout);

  // Ends the stream and tells what went wrong; the destructor then has nothing left to do.
  void Stop();

 private:
  Camera& m_camera;
  bool m_running = false;
};

// What to say when Camera::Answers is false.
Failure LostCamera(const CameraFacts& camera);

// Waits for the next frame until it comes, the person stops the program, or the camera is lost or
// silent for `patience`. No frame is returned only when a stop was requested; loss and silence
// throw Failure that says what to do.
Frame NextFrame(Camera& camera, Stream& stream, Milliseconds patience);

}  // namespace OrvexTools
