// The links of an Ogg chain (RFC 3533, section 4). Pages whose checksum is wrong are left out, as
// if they were missing.

#pragma once

#include <cstdint>
#include <vector>

#include "LinkInput.h"

namespace louddesk {

class OggLinks : public LinkInput {
 public:
  /// Whether an input begins as Ogg does.
  static bool IsAt(ByteInput& input);

  explicit OggLinks(ByteInput& input) : mInput(input) {}

  const char* Container() const override { return "ogg"; }
  std::size_t Read(unsigned char* bytes, std::size_t count) override;
  bool NextLink() override;

  /// Whether the last page is missing. What is missing between the pages shows in the times of the
  /// audio.
  bool EndsEarly() const override { return mEndsEarly; }

 private:
  bool FindPage();
  void TakePage(std::size_t size);
  bool IsKnownSerial(std::uint32_t serial) const;

  ByteInput& mInput;
  std::size_t mRest = 0;                // bytes of the page that are left to be read
  std::vector<std::uint32_t> mSerials;  // of the streams of the link
  bool mHasData = false;                // the link is behind the pages that begin its streams
  bool mIsLastPage = false;             // the page read last ends its stream
  bool mEndsEarly = false;
  bool mIsLinkAhead = false;  // the input stands at the first page of the next link
};

}  // namespace louddesk
