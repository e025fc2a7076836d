#pragma once
// SPDX-License-Identifier: Apache-2.0
// Saves the settings of a node map to a text file and restores them: all streamable features, or
// those selected. The file is GenApi's persistence file. The node map stays the caller's and must
// outlive the stream. Not for two threads at once.

#include <GenApi/INodeMap.h>

#include "OrvexExport.h"

namespace Orvex {

struct FeatureStream_t;

class ORVEX_API FeatureStream {
 public:
  FeatureStream();
  explicit FeatureStream(GenApi::INodeMap* pNodeMap);
  FeatureStream(const FeatureStream&) = delete;
  FeatureStream& operator=(const FeatureStream&) = delete;

  // Writes the selected features in the order of their selection, or all when none was selected.
  // An existing file is replaced.
  virtual void Write(GenICam::gcstring fileName);

  // Sets the features named in the file. Features that fail are passed over. Throws what GenApi
  // throws for a file that it did not write.
  virtual void Read(GenICam::gcstring fileName);

  // From the first selection on, only selected features are written. Throws
  // InvalidArgumentException for a feature that is not there, LogicalErrorException for one that
  // cannot be saved (commands, for example).
  virtual void Select(GenICam::gcstring featureName);

  // Select, for chains: stream << "Width" << "Height".
  virtual FeatureStream& operator<<(GenICam::gcstring featureName);
  virtual ~FeatureStream();

 private:
  FeatureStream_t* m_pData;  // owned
};

}  // namespace Orvex
