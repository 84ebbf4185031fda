// The links of an Ogg chain (RFC 3533, section 4). Pages with a wrong checksum are treated as
// missing.

#pragma once

#include <cstdint>
#include <vector>

#include "LinkInput.h"

namespace louddesk {

class OggLinks : public LinkInput {
 public:
  /// Whether an input begins with an Ogg page.
  static bool IsAt(ByteInput& input);

  explicit OggLinks(ByteInput& input) : mInput(input) {}

  const char* Container() const override { return "ogg"; }
  std::size_t Read(unsigned char* bytes, std::size_t count) override;
  bool NextLink() override;

  /// Whether the last page is missing. Missing pages in between show in the times of the audio.
  bool EndsEarly() const override { return mEndsEarly; }

 private:
  bool FindPage();
  void TakePage(std::size_t size);
  bool IsKnownSerial(std::uint32_t serial) const;

  ByteInput& mInput;
  std::size_t mRest = 0;                // bytes of the page that are still to be read
  std::vector<std::uint32_t> mSerials;  // of the link's streams
  bool mHasData = false;                // the pages that begin the link's streams have passed
  bool mIsLastPage = false;             // the last page read ends its stream
  bool mEndsEarly = false;
  bool mIsLinkAhead = false;  // the input is at the first page of the next link
};

}  // namespace louddesk
