// Joined MP3 or FLAC files: each link begins with a head that occurs nowhere else.

#pragma once

#include <cstddef>
#include <memory>

#include "LinkInput.h"

namespace louddesk {

class TaggedLinks : public LinkInput {
 public:
  /// Returns the size of the link head at `bytes`; 0 if there is none. `ahead` bytes may be read:
  /// at least `kLongestLook`, fewer only at the end of the input.
  using HeadFinder = std::size_t (*)(const unsigned char* bytes, std::size_t ahead);
  static constexpr std::size_t kLongestLook = 64;

  /// The links of an input that begins like MP3 or FLAC; null for any other input.
  static std::unique_ptr<LinkInput> Of(ByteInput& input);

  const char* Container() const override { return mContainer; }
  std::size_t Read(unsigned char* bytes, std::size_t count) override;
  bool NextLink() override;

 private:
  TaggedLinks(ByteInput& input, const char* container, const char* firstBytes, HeadFinder findHead)
      : mInput(input), mContainer(container), mFirstBytes(firstBytes), mFindHead(findHead) {}

  void FindNextHead();

  ByteInput& mInput;
  const char* mContainer;
  const char* mFirstBytes;  // that can begin a head
  HeadFinder mFindHead;
  bool mIsAtBegin = true;     // of a link whose own head is still to be read
  std::size_t mRest = 0;      // buffered bytes that belong to the link
  bool mIsLinkAhead = false;  // the input is at the head of the next link
};

}  // namespace louddesk
