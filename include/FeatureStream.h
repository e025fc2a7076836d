#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// Settings of a node map in a file.

#include <GenApi/INodeMap.h>

#include "OrvexExport.h"

namespace Orvex {

struct FeatureStream_t;

/// Saves the settings of a node map to a text file and restores them: all streamable features, or
/// those selected. The file is GenApi's persistence file. The caller owns the stream; the node map
/// stays the caller's and must outlive it. One thread at a time.
///
/// Every operation throws GenICam::InvalidArgumentException when there is no node map, and what the
/// nodes and GenApi throw passes through.
class ORVEX_API FeatureStream {
 public:
  /// A stream without a node map, good for nothing.
  FeatureStream();
  /// A stream of all features.
  /// @param pNodeMap What is saved from and restored into, a camera's for example.
  explicit FeatureStream(GenApi::INodeMap* pNodeMap);
  FeatureStream(const FeatureStream&) = delete;
  FeatureStream& operator=(const FeatureStream&) = delete;

  /// Writes the selected features in the order of their selection, or all when none was selected.
  /// @param fileName An existing file is replaced. That it cannot be opened is not reported.
  virtual void Write(GenICam::gcstring fileName);

  /// Sets the features named in the file, with validation. Features that fail are passed over.
  /// @param fileName A file that Write has written.
  /// @throws GenICam::RuntimeException for any other file.
  virtual void Read(GenICam::gcstring fileName);

  /// Adds a feature to those that are saved. From the first selection on only these are; a
  /// selection that fails changes nothing.
  /// @param featureName Name of the feature.
  /// @throws GenICam::InvalidArgumentException for a feature that is not there.
  /// @throws GenICam::LogicalErrorException for one that cannot be saved, a command for example.
  virtual void Select(GenICam::gcstring featureName);

  /// Select, for chains: stream << "Width" << "Height".
  /// @param featureName Name of the feature.
  /// @return This stream.
  virtual FeatureStream& operator<<(GenICam::gcstring featureName);
  virtual ~FeatureStream();

 private:
  FeatureStream_t* m_pData;  // owned
};

}  // namespace Orvex
